#include "Ruvola/platform/Desktop.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "tests/support/EventLoop.hpp"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <sstream>

using namespace std::chrono_literals;
using ruvola::testing::waitUntil;
namespace fs = std::filesystem;

namespace {

void writeFile(const fs::path& file, const std::string& text) {
    std::ofstream(file) << text;
}

std::string read(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

/// A private desktop with two editors: one for JSON, the default for plain text. Each records the
/// file it was asked to open in BASE/NAME.opened.
class FakeDesktop : public ::testing::Environment {
public:
    static inline fs::path base;

    void SetUp() override {
        root_ = std::make_unique<QTemporaryDir>();
        ASSERT_TRUE(root_->isValid());
        base = root_->path().toStdString();
        for (const char* folder :
             {"home", "data/applications", "config", "system-data", "system-config"}) {
            fs::create_directories(base / folder);
        }
        // The MIME database without the machine's own desktop entries.
        fs::create_directory_symlink("/usr/share/mime", base / "system-data" / "mime");

        const fs::path record = base / "record";
        writeFile(record, "#!/bin/sh\nprintf '%s\\n' \"$2\" > \"" + base.string() +
                              "/$1.tmp\" && mv \"" + base.string() + "/$1.tmp\" \"" +
                              base.string() + "/$1.opened\"\n");
        fs::permissions(record, fs::perms::owner_all);
        for (const auto& [name, type] :
             {std::pair{"json", "application/json"}, std::pair{"text", "text/plain"}}) {
            writeFile(
                base / "data/applications" / (std::string("ruvola-test-") + name + ".desktop"),
                std::string("[Desktop Entry]\nType=Application\nName=") + name + " editor\nExec=" +
                    record.string() + " " + name + " %f\nMimeType=" + type + ";\n");
        }
        writeFile(base / "config/mimeapps.list", "[Default Applications]\n"
                                                 "application/json=ruvola-test-json.desktop\n"
                                                 "text/plain=ruvola-test-text.desktop\n");

        setenv("HOME", (base / "home").c_str(), 1);
        setenv("XDG_DATA_HOME", (base / "data").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (base / "config").c_str(), 1);
        setenv("XDG_DATA_DIRS", (base / "system-data").c_str(), 1);
        setenv("XDG_CONFIG_DIRS", (base / "system-config").c_str(), 1);
        setenv("XDG_RUNTIME_DIR", base.c_str(), 1);
        // No session bus: GIO's launch notice must fail at once instead of starting one.
        setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + (base / "no-bus").string()).c_str(), 1);
        unsetenv("XDG_CURRENT_DESKTOP");
    }

    void TearDown() override { root_.reset(); }

private:
    std::unique_ptr<QTemporaryDir> root_;
};

// Before any test runs, so before GIO reads the desktop's configuration.
[[maybe_unused]] const auto* const fakeDesktop =
    ::testing::AddGlobalTestEnvironment(new FakeDesktop);

/// Opens `name` in the home folder and returns what each editor was asked to open.
std::pair<std::string, std::string> openWithDesktop(const std::string& name,
                                                    const std::string& contents) {
    const fs::path file = FakeDesktop::base / "home" / name;
    writeFile(file, contents);
    const fs::path json = FakeDesktop::base / "json.opened";
    const fs::path text = FakeDesktop::base / "text.opened";
    fs::remove(json);
    fs::remove(text);
    const auto platform = ruvola::platform::makePlatform();
    platform->desktop().openInEditor(file);
    EXPECT_TRUE(waitUntil([&] { return fs::exists(json) || fs::exists(text); }, 10s)) << name;
    return {fs::exists(json) ? read(json) : "", fs::exists(text) ? read(text) : ""};
}

TEST(Desktop, OpensAFileWithTheApplicationForItsType) {
    if (!fs::exists("/usr/share/mime/mime.cache")) {
        GTEST_SKIP() << "no MIME database to tell a file's type by its name (shared-mime-info)";
    }
    const auto [json, text] = openWithDesktop("bindings.json", "{}\n");
    EXPECT_EQ(json, (FakeDesktop::base / "home" / "bindings.json").string() + "\n");
    EXPECT_EQ(text, "");
}

TEST(Desktop, OpensAFileOfAnUnhandledTypeInThePlainTextEditor) {
    // Binary, so that only the editor fallback, not a look at the contents, finds the text editor.
    const auto [json, text] = openWithDesktop("layout.ruvola-layout", std::string("\0\1\2", 3));
    EXPECT_EQ(json, "");
    EXPECT_EQ(text, (FakeDesktop::base / "home" / "layout.ruvola-layout").string() + "\n");
}

} // namespace
