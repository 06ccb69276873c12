// Runs the real ruvola executable, as a user would, in a temporary home with no display.
#include "RuvolaCore/StarterBindings.hpp"

#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace ruvola {
namespace {

namespace fs = std::filesystem;

struct Outcome {
    int exitCode;
    std::string out;
    std::string err;
    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& run, std::ostream* out) {
    *out << "exit " << run.exitCode << ", stdout \"" << run.out << "\", stderr \"" << run.err
         << "\"";
}

const std::string helpText =
    "ruvola \u2014 Drive a Soomfon control pad from the menu bar, no vendor software.\n\n"
    "  version  print the bundled product version\n"
    "  doctor   check universal and product prerequisites\n"
    "  help     show this help\n"
    "  watch    print every key, button and knob by its bindings.json name; ctrl-C stops\n"
    "  check    validate ~/.config/ruvola/bindings.json\n\n"
    "With no arguments, launches the menubar app.\n";

class CommandLine : public ::testing::Test {
protected:
    Outcome ruvola(const QStringList& arguments) {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", home_.path());
        environment.insert("XDG_STATE_HOME", home_.filePath("state"));
        environment.remove("DISPLAY");
        environment.remove("WAYLAND_DISPLAY");
        process.setProcessEnvironment(environment);
        process.start(RUVOLA_EXECUTABLE, arguments);
        process.closeWriteChannel();
        EXPECT_TRUE(process.waitForFinished(30000));
        return {process.exitCode(), process.readAllStandardOutput().toStdString(),
                process.readAllStandardError().toStdString()};
    }

    fs::path bindings() const {
        return fs::path(home_.path().toStdString()) / ".config/ruvola/bindings.json";
    }

    void writeBindings(const std::string& text) {
        fs::create_directories(bindings().parent_path());
        std::ofstream(bindings(), std::ios::binary | std::ios::trunc) << text;
    }

    QTemporaryDir home_;
};

TEST_F(CommandLine, AnswersHelpVersionAndUnknownCommands) {
    const Outcome help{0, helpText, ""};
    for (const QStringList& arguments : {QStringList{"help"}, {"--help"}, {"-h", "ignored"}}) {
        EXPECT_EQ(ruvola(arguments), help) << arguments.join(' ').toStdString();
    }
    for (const QStringList& arguments : {QStringList{"version"}, {"--version", "x"}, {"-v"}}) {
        const Outcome run = ruvola(arguments);
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_TRUE(run.out.starts_with("Ruvola 0.4.0 (")) << run.out;
        EXPECT_TRUE(run.out.ends_with(")\n")) << run.out;
        EXPECT_EQ(run.err, "");
    }
    EXPECT_EQ(ruvola({"Help"}), (Outcome{2, helpText, "error: unknown command: Help\n"}));
    EXPECT_EQ(ruvola({""}), (Outcome{2, helpText, "error: unknown command: \n"}));
}

TEST_F(CommandLine, ChecksTheBindingsFile) {
    const std::string path = bindings().string();
    EXPECT_EQ(ruvola({"check"}), (Outcome{0, "no " + path + "; using the defaults\n", ""}));

    writeBindings(std::string(starterBindings::text()));
    EXPECT_EQ(ruvola({"check"}), (Outcome{0, "9 bindings\n", ""}));

    writeBindings(R"({"bindings": []})");
    EXPECT_EQ(ruvola({"check", "extra"}), (Outcome{0, "0 bindings\n", ""}));

    writeBindings(R"({"settings": {"rotation": 45}, "bindings": [
        {"control": "key 1", "shell": "ok"}, {"control": "key 9", "shell": "x"},
        {"control": "key 2", "keystroke": "cmd c, cmd v"}]})");
    EXPECT_EQ(ruvola({"check"}),
              (Outcome{1, "1 bindings\n",
                       "\u2717 settings: rotation is 0, 90, 180 or 270\n"
                       "\u2717 key 9: isn't a control (key 1\u20136, button 1\u20133, "
                       "left/middle/right knob)\n"
                       "\u2717 key 2: \"cmd c, cmd v\" isn't a single key chord\n"}));

    writeBindings("\x89PNG\r\n\x1a\n\xff\xfe binary");
    EXPECT_EQ(ruvola({"check"}),
              (Outcome{1, "0 bindings\n", "\u2717 bindings.json isn't valid JSON\n"}));

    fs::remove(bindings());
    fs::create_directory(bindings());
    EXPECT_EQ(ruvola({"check"}), (Outcome{0, "9 bindings\n", ""}));
}

TEST_F(CommandLine, DoctorReportsEveryCheck) {
    const Outcome run = ruvola({"doctor"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "");
    // The build tree's copy isn't the installed one, and no display or uinput is offered here.
    EXPECT_TRUE(run.out.starts_with("\u2717 bundle: ")) << run.out;
    EXPECT_NE(run.out.find("\n\u2717 pad: "), std::string::npos) << run.out;
    EXPECT_TRUE(run.out.ends_with("\n")) << run.out;
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 3) << run.out;
}

TEST_F(CommandLine, InstalledCopyPassesTheBundleCheck) {
    QTemporaryDir prefix;
    QProcess install;
    install.start(CMAKE_COMMAND, {"--install", RUVOLA_BUILD_DIR, "--prefix", prefix.path()});
    ASSERT_TRUE(install.waitForFinished(60000));
    ASSERT_EQ(install.exitCode(), 0) << install.readAllStandardError().toStdString();
    ASSERT_TRUE(
        fs::exists(prefix.filePath("share/applications/ltd.fennick.ruvola.desktop").toStdString()));

    QProcess doctor;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", home_.path());
    environment.remove("DISPLAY");
    doctor.setProcessEnvironment(environment);
    doctor.start(prefix.filePath("bin/ruvola"), {"doctor"});
    ASSERT_TRUE(doctor.waitForFinished(30000));
    EXPECT_TRUE(doctor.readAllStandardOutput().startsWith(
        "\u2713 bundle identifier is ltd.fennick.ruvola\n"));
}

} // namespace
} // namespace ruvola
