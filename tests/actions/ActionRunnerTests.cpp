#include "Ruvola/actions/ActionRunner.hpp"
#include "Ruvola/platform/SystemVolume.hpp"
#include "RuvolaCore/BindingsFile.hpp"
#include "fakes/TestPlatform.hpp"
#include "support/EventLoop.hpp"
#include "support/HttpRecorder.hpp"
#include "support/RecordingLogger.hpp"
#include "support/Servers.hpp"

#include <QDir>
#include <QFile>
#include <QNetworkProxy>
#include <QProcess>
#include <QSslConfiguration>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

namespace ruvola {
namespace {

using namespace std::chrono_literals;
using testing::RecordingLogger;
using testing::waitUntil;
using Key = SystemKey;
using Tap = platform::SystemKeys::Tap;
using Press = testing::RecordingSystemKeys::Press;

class ActionRunnerTest : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("HOME", home_.path().toLocal8Bit().constData(), 1);
        platform_.inputAccessOverride = &access_;
        platform_.systemKeysOverride = &keys_;
    }

    ActionRunner& runner() {
        if (!runner_) {
            runner_ = std::make_unique<ActionRunner>(logger_, platform_, 3s);
        }
        return *runner_;
    }

    void press(const PadAction& action, const std::string& name = "Run",
               const BindingsFile& file = {}) {
        runner().run(action, {PadControl::key(1), name, {}, action}, file);
    }

    bool logged(const std::string& line, std::chrono::milliseconds bound = 10s) {
        return waitUntil([&] { return logger_.contains(line); }, bound);
    }

    std::string path(const char* name) const { return home_.filePath(name).toStdString(); }

    QTemporaryDir home_;
    RecordingLogger logger_;
    testing::FakeInputAccess access_;
    testing::RecordingSystemKeys keys_;
    testing::TestPlatform platform_;
    std::unique_ptr<ActionRunner> runner_;
};

TEST_F(ActionRunnerTest, LocalWorkRunsOnThreadsOfItsOwnAndLogsEachOutcome) {
    // Still sleeping when everything after it has finished: nothing waits behind it.
    press(PadAction::shell("echo $$ > \"$HOME/long.pid\"; exec sleep 60"), "Long");
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(path("long.pid")); }));

    const std::filesystem::path shortcuts = path(".local/share/ruvola/shortcuts");
    std::filesystem::create_directories(shortcuts);
    std::ofstream(shortcuts / "Hello") << "#!/bin/sh\ntouch \"$HOME/hello\"\n";
    std::ofstream(shortcuts / "Fails") << "#!/bin/sh\nexit 2\n";
    for (const char* name : {"Hello", "Fails"}) {
        std::filesystem::permissions(shortcuts / name, std::filesystem::perms::owner_all);
    }

    const std::vector<std::pair<PadAction, std::string>> cases{
        {PadAction::shell("touch \"$HOME/touched\""), "INFO Key 1 (Run): action completed"},
        {PadAction::shell("exit 3"), "INFO Key 1 (Run): action failed — exited with status 3"},
        {PadAction::shell("kill -9 $$"), "INFO Key 1 (Run): action failed — terminated by SIGKILL"},
        {PadAction::shell("kill -30 $$"),
         "INFO Key 1 (Run): action failed — terminated by signal 30"},
        {PadAction::shortcut("Hello"), "INFO Key 1 (Run): shortcut \"Hello\" ran"},
        {PadAction::shortcut("Fails"),
         "INFO Key 1 (Run): shortcut \"Fails\" failed — exited with status 2"},
        {PadAction::shortcut("Missing"), "INFO Key 1 (Run): shortcut \"Missing\" failed — could "
                                         "not launch: No such file or directory"},
        {PadAction::shortcut("../Hello"), "INFO Key 1 (Run): shortcut \"../Hello\" failed — could "
                                          "not launch: no shortcut can be called \"../Hello\""},
    };
    for (const auto& [action, line] : cases) {
        press(action);
        EXPECT_TRUE(logged(line)) << line;
    }
    EXPECT_TRUE(std::filesystem::exists(path("touched")));
    EXPECT_TRUE(std::filesystem::exists(path("hello")));
    EXPECT_EQ(logger_.count(), cases.size());

    pid_t pid = 0;
    std::ifstream(path("long.pid")) >> pid;
    ASSERT_GT(pid, 0);
    kill(pid, SIGTERM);
    EXPECT_TRUE(logged("INFO Key 1 (Long): action failed — terminated by SIGTERM"));
}

TEST_F(ActionRunnerTest, KeysAndTextNeedAccessAndWarnOnlyOnce) {
    access_.trusted = false;
    press(PadAction::keystroke("cmd c"));
    press(PadAction::text("hi"), "Type");
    press(PadAction::system(SystemKey::playpause), "Play");
    EXPECT_EQ(logger_.lines(), std::vector<std::string>{"WARNING Key 1 (Run): needs input access"});
    EXPECT_TRUE(keys_.presses.empty());

    access_.trusted = true;
    unsetenv("DISPLAY"); // the keystroke goes through, but finds nowhere to go
    press(PadAction::keystroke("cmd c, cmd v"));
    press(PadAction::keystroke("cmd nosuchkey"));
    press(PadAction::keystroke("cmd c"), "Copy");
    press(PadAction::system(SystemKey::playpause), "Play");
    press(PadAction::system(SystemKey::brightnessdown), "Dim");
    EXPECT_TRUE(logged("INFO Key 1 (Copy): action failed — could not create synthetic input"));
    EXPECT_TRUE(logger_.contains("WARNING Key 1 (Run): \"cmd c, cmd v\" isn't a single chord"));
    EXPECT_TRUE(logger_.contains("WARNING Key 1 (Run): \"cmd nosuchkey\" isn't a single chord"));
    EXPECT_EQ(keys_.presses, (std::vector<Press>{{Key::playpause, false, Tap::hid},
                                                 {Key::brightnessdown, false, Tap::hid}}));
}

TEST_F(ActionRunnerTest, WebRequestsGoOutAndUnbuildableOnesAreWarned) {
    testing::HttpRecorder server(200);
    const std::string address = "127.0.0.1:" + std::to_string(server.server.serverPort());
    const BindingsFile file =
        BindingsFile::parse(R"({"settings": {"roku": ")" + address +
                            R"(", "homeassistant": "http://)" + address + R"("}, "bindings": []})");
    ASSERT_TRUE(file.problems.empty()) << file.problems.front();

    press(PadAction::roku(RokuCommand::key("Home")), "Roku", file);
    press(PadAction::homeAssistant("lights"), "Lights", file);
    press(PadAction::roku(RokuCommand::key("Home")), "Roku"); // no settings
    press(PadAction::http({"http://nowhere.invalid/"}), "Nowhere");
    ASSERT_TRUE(waitUntil([&] { return server.received.size() == 2; }));
    EXPECT_EQ(server.received[0].method + " " + server.received[0].path, "POST /keypress/Home");
    EXPECT_EQ(server.received[1].method + " " + server.received[1].path,
              "POST /api/webhook/lights");
    EXPECT_TRUE(logged("INFO Key 1 (Roku): POST 127.0.0.1 → 200"));
    EXPECT_TRUE(logged("INFO Key 1 (Lights): POST 127.0.0.1 → 200"));
    EXPECT_TRUE(logger_.contains("WARNING Key 1 (Roku): no Roku address in the settings"));
    EXPECT_TRUE(logged("WARNING Key 1 (Nowhere): GET nowhere.invalid failed — Host "
                       "nowhere.invalid not found"));
}

// ntfy.sh is reached through a loopback proxy that plays the service with a certificate of its
// own, trusted for this process only.
TEST_F(ActionRunnerTest, NtfyPostsReachTheServiceWithTheirTitle) {
    if (!QSslSocket::supportsSsl() || QStandardPaths::findExecutable("openssl").isEmpty()) {
        GTEST_SKIP() << "no TLS support or no openssl to make a certificate";
    }
    QProcess openssl;
    openssl.start("openssl",
                  {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "1", "-subj",
                   "/CN=ntfy.sh", "-addext", "subjectAltName=DNS:ntfy.sh", "-keyout",
                   home_.filePath("key.pem"), "-out", home_.filePath("cert.pem")});
    ASSERT_TRUE(openssl.waitForFinished(30000) && openssl.exitCode() == 0);
    QFile certificateFile(home_.filePath("cert.pem")), keyFile(home_.filePath("key.pem"));
    ASSERT_TRUE(certificateFile.open(QIODevice::ReadOnly) && keyFile.open(QIODevice::ReadOnly));
    const QSslCertificate certificate(&certificateFile);
    QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    trusting.addCaCertificate(certificate);
    QSslConfiguration::setDefaultConfiguration(trusting);
    testing::TlsTunnelRecorder proxy(certificate, QSslKey(&keyFile, QSsl::Rsa));
    QNetworkProxy::setApplicationProxy({QNetworkProxy::HttpProxy, "127.0.0.1", proxy.serverPort()});

    const BindingsFile file =
        BindingsFile::parse(R"({"settings": {"ntfy": "ruvola-test"}, "bindings": []})");
    press(PadAction::ntfy("Hello from Ruvola"), "Buzz", file);
    EXPECT_TRUE(logged("INFO Key 1 (Buzz): POST ntfy.sh → 200"))
        << (logger_.count() > 0 ? logger_.lines().back() : "nothing logged");
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
    ASSERT_EQ(proxy.received.size(), 1U);
    EXPECT_EQ(proxy.tunnels, std::vector<std::string>{"ntfy.sh:443"});
    const testing::Received& post = proxy.received.front();
    EXPECT_EQ(post.method + " " + post.path + " " + post.body,
              "POST /ruvola-test Hello from Ruvola");
    EXPECT_EQ(post.headers.at("title"), "Ruvola");
}

TEST_F(ActionRunnerTest, TextIsCutIntoChunksWithoutSplittingACharacter) {
    // One character of 19 units: four people with skin tones, joined.
    const std::string family = "\U0001F468\U0001F3FB\u200D\U0001F469\U0001F3FB\u200D"
                               "\U0001F467\U0001F3FB\u200D\U0001F466\U0001F3FB";
    const std::vector<std::pair<std::string, std::vector<std::size_t>>> cases{
        {"", {}},
        {std::string(40, 'a'), {16, 16, 8}},
        {std::string(15, 'a') + "🎵", {15, 2}},
        {"ab" + family + "c", {2, 19, 1}},
        {"é\u0301🎵", {4}},
    };
    for (const auto& [text, sizes] : cases) {
        std::vector<std::size_t> got;
        std::u16string joined;
        for (const std::u16string& chunk : HouseActions::unicodeChunks(text)) {
            got.push_back(chunk.size());
            joined += chunk;
        }
        EXPECT_EQ(got, sizes) << text;
        EXPECT_EQ(QString::fromStdU16String(joined).toStdString(), text);
    }
}

TEST_F(ActionRunnerTest, TargetsNameApplicationsByNameIdOrDesktopEntry) {
    const std::string entry = "/usr/share/applications/org.gnome.gedit.desktop";
    const std::vector<std::tuple<std::string, bool>> cases{
        {"gedit", true},
        {"  GEDIT\n", true},
        {"Gédit", true},
        {"org.gnome.gedit", true},
        {"org.gnome.gedit.desktop", true},
        {"gedit.desktop.desktop", false},
        {"ged", false},
        {"https://gedit", false},
        {entry, true},
        {"/usr/share/applications/../applications/org.gnome.gedit.desktop", true},
        {"/usr/bin/gedit", false},
        {"~/org.gnome.gedit.desktop", false},
    };
    for (const auto& [target, matches] : cases) {
        EXPECT_EQ(HouseActions::openTarget(target, "Gedit", entry), matches) << target;
    }
    EXPECT_FALSE(HouseActions::openTarget("/x/a.desktop", "a", ""));
}

// A private X server with openbox, and a window of an application called "Notes" that prints
// each key it receives.
class DesktopTest : public ActionRunnerTest {
protected:
    void SetUp() override {
        ActionRunnerTest::SetUp();
        if (const std::string missing = testing::XServer::missing(true); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
        ASSERT_TRUE(display_.start(true));
        platform_.inputAccessOverride = nullptr;
        useDesktopEntries();
        window_.start(RUVOLA_TEST_WINDOW, {"--class", "Notes", "--instance", "notes"});
        QByteArray said;
        ASSERT_TRUE(waitUntil(
            [&] {
                poke();
                return (said += window_.readAll()).contains("ready");
            },
            10s));
        ASSERT_TRUE(frontmostIs("Notes"));
    }

    void TearDown() override {
        window_.kill();
        window_.waitForFinished();
    }

    // The desktop knows one application of ours, RvFiles, which opens folders. Desktop entries are
    // read once per process, so every test shares the same ones.
    static void useDesktopEntries() {
        static const QTemporaryDir folder;
        static const bool written = [] {
            QDir(folder.path()).mkpath("applications");
            std::ofstream(folder.filePath("applications/rvfiles.desktop").toStdString())
                << "[Desktop Entry]\nType=Application\nName=RvFiles\nExec=" RUVOLA_TEST_WINDOW
                   " --class Files --instance files\nMimeType=inode/directory;\n";
            std::ofstream(folder.filePath("mimeapps.list").toStdString())
                << "[Default Applications]\ninode/directory=rvfiles.desktop\n";
            return true;
        }();
        (void)written;
        for (const char* name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME"}) {
            setenv(name, folder.path().toLocal8Bit().constData(), 1);
        }
        setenv("XDG_DATA_DIRS", "/usr/share", 1); // where openbox finds its theme
    }

    // openbox may not have looked at its queue yet: a root property change wakes it.
    static void poke() {
        QProcess::execute("xprop",
                          {"-root", "-f", "RUVOLA_POKE", "8s", "-set", "RUVOLA_POKE", "x"});
    }

    bool frontmostIs(const std::string& name) {
        return waitUntil([&] {
            poke();
            const auto front = platform_.windows().frontmost();
            return front && front->name == name;
        });
    }

    bool visible() {
        for (const auto& application : platform_.windows().running()) {
            if (application.name == "Notes") {
                return platform_.windows().hasVisibleWindow(application);
            }
        }
        return false;
    }

    // The keys other than modifiers the window reported, as "KEYSYM STATE".
    std::vector<std::string> keys(std::size_t count) {
        std::vector<std::string> got;
        waitUntil([&] {
            while (window_.canReadLine()) {
                const QString line = QString::fromUtf8(window_.readLine()).trimmed();
                if (line.startsWith("key ") && !line.contains("_L ") && !line.contains("_R ")) {
                    got.push_back(line.mid(4).toStdString());
                }
            }
            return got.size() >= count;
        });
        return got;
    }

    testing::XServer display_;
    QProcess window_;
};

TEST_F(DesktopTest, OpenPutsTheFrontmostApplicationAwayAndBringsItBack) {
    press(PadAction::open(" NOTES "));
    EXPECT_TRUE(waitUntil([&] { return !visible(); }));
    press(PadAction::open("notes.desktop"));
    EXPECT_TRUE(waitUntil([&] { return visible(); }));
    EXPECT_TRUE(frontmostIs("Notes"));
    press(PadAction::open("No Such App"));
    EXPECT_TRUE(logged("INFO Key 1 (Run): action failed — could not launch: no application "
                       "called \"No Such App\""));
    EXPECT_TRUE(waitUntil([&] { return logger_.count() == 3; }));
}

TEST_F(DesktopTest, PathsAndAddressesGoToTheDesktopAndAFolderPutsTheFileManagerAway) {
    const std::filesystem::path browser = path("browser");
    std::ofstream(browser) << "#!/bin/sh\nprintf '%s' \"$1\" > \"$HOME/opened\"\n";
    std::filesystem::permissions(browser, std::filesystem::perms::owner_all);
    setenv("BROWSER", browser.c_str(), 1);
    const auto opened = [&] {
        std::ifstream file(path("opened"));
        return std::string((std::istreambuf_iterator<char>(file)), {});
    };
    for (const std::string target : {"https://example.invalid/a b?c='d'", "~/My 'Notes' \"1\""}) {
        std::filesystem::remove(path("opened"));
        std::ofstream(path("My 'Notes' \"1\""));
        press(PadAction::open(target));
        EXPECT_TRUE(logged("INFO Key 1 (Run): action completed"));
        EXPECT_TRUE(waitUntil([&] { return !opened().empty(); }));
        EXPECT_EQ(opened(), target.starts_with('~') ? path("") + target.substr(1) : target);
    }

    QProcess files;
    files.start(RUVOLA_TEST_WINDOW, {"--class", "RvFiles", "--instance", "rvfiles"});
    ASSERT_TRUE(frontmostIs("RvFiles"));

    press(PadAction::open("~"));
    EXPECT_TRUE(waitUntil([&] {
        const auto front = platform_.windows().frontmost();
        return !front || front->name != "RvFiles";
    }));
    unsetenv("BROWSER");
    files.kill();
    files.waitForFinished();
}

TEST_F(DesktopTest, KeystrokesAndTextArriveAtTheFocusedWindow) {
    const auto started = std::chrono::steady_clock::now();
    press(PadAction::keystroke("cmd shift 4"));
    EXPECT_EQ(keys(1), std::vector<std::string>{"dollar 65"}); // Shift and Super (Mod4)
    ::testing::Test::RecordProperty(
        "runToKeyMicroseconds",
        static_cast<int>(std::chrono::duration_cast<std::chrono::microseconds>(
                             std::chrono::steady_clock::now() - started)
                             .count()));
    press(PadAction::text("héllo 🎵\t"));
    EXPECT_EQ(keys(8), (std::vector<std::string>{"h 0", "eacute 0", "l 0", "l 0", "o 0", "space 0",
                                                 "U0001F3B5 0", "Tab 0"}));
    EXPECT_TRUE(waitUntil([&] { return logger_.count() == 2; })); // both actions finished
}

// A private PulseAudio daemon whose default sink the runner steps, checked with pactl.
class VolumeTest : public ActionRunnerTest {
protected:
    void SetUp() override {
        ActionRunnerTest::SetUp();
        if (const std::string missing = testing::PulseServer::missing(); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
        ASSERT_TRUE(pulse_.start(home_.path()));
        setLevel("50%");
    }

    static void setLevel(const QString& level) {
        testing::PulseServer::pactl({"set-sink-volume", "test", level});
    }
    static QString level() {
        return testing::PulseServer::pactl({"get-sink-volume", "test"})
            .section('/', 1, 1)
            .trimmed();
    }
    static bool muted() {
        return testing::PulseServer::pactl({"get-sink-mute", "test"}).contains("yes");
    }

    testing::PulseServer pulse_;
};

TEST_F(VolumeTest, IgnoredKeysFallBackTapByTapThenStepTheLevelDirectly) {
    if (const std::string missing = testing::XServer::missing(false); !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    testing::XServer display;
    ASSERT_TRUE(display.start(false));
    platform_.systemKeysOverride = nullptr; // the real keys, which nothing on this display hears

    press(PadAction::system(SystemKey::mute), "Mute");
    EXPECT_TRUE(logged("WARNING The desktop ignored the system mute key; muting directly instead"));
    EXPECT_TRUE(waitUntil(muted));

    press(PadAction::system(SystemKey::volumeup), "Up");
    EXPECT_TRUE(logged("WARNING The desktop ignored the system volume keys; setting the level "
                       "directly instead"));
    EXPECT_EQ(logger_.lines(), (std::vector<std::string>{
                                   "WARNING The desktop ignored the system mute key; muting "
                                   "directly instead",
                                   "WARNING The desktop ignored the volume key via the hid tap; "
                                   "trying session",
                                   "WARNING The desktop ignored the system volume keys; setting "
                                   "the level directly instead",
                               }));
    EXPECT_EQ(runner().volumeKeysWork(), false);
    EXPECT_EQ(level(), "56%"); // 0.5625, and raising it unmuted
    EXPECT_FALSE(muted());

    // Known not to work: each later press steps at once, by a quarter with fine steps.
    runner().setFineVolumeSteps(true);
    press(PadAction::system(SystemKey::volumedown), "Down");
    EXPECT_EQ(level(), "55%"); // 0.546875
    press(PadAction::system(SystemKey::mute), "Mute");
    EXPECT_TRUE(muted());
    EXPECT_EQ(logger_.count(), 3U);
}

TEST_F(VolumeTest, AWorkingTapIsLearntAndUsedWithoutFurtherChecks) {
    platform::SystemVolume& volume = platform_.systemVolume();
    keys_.effect = [&](const Press& press) {
        if (press.tap == Tap::session) {
            volume.setVolume(*volume.volume() + (press.key == Key::volumeup ? 0.25 : -0.25));
        }
    };
    setLevel("100%");
    press(PadAction::system(SystemKey::volumeup)); // at the top: nothing to learn from
    setLevel("50%");
    press(PadAction::system(SystemKey::volumedown));
    EXPECT_TRUE(logged("INFO System volume keys work via the session tap: the system's own "
                       "overlay shows"));
    press(PadAction::system(SystemKey::volumeup));
    EXPECT_EQ(logger_.lines(),
              (std::vector<std::string>{
                  "WARNING The desktop ignored the volume key via the hid tap; trying session",
                  "INFO System volume keys work via the session tap: the system's own overlay "
                  "shows"}));
    EXPECT_EQ(keys_.presses, (std::vector<Press>{{Key::volumeup, false, Tap::hid},
                                                 {Key::volumedown, false, Tap::hid},
                                                 {Key::volumedown, false, Tap::session},
                                                 {Key::volumeup, false, Tap::session}}));
    EXPECT_EQ(level(), "50%");
}

TEST_F(VolumeTest, WithoutAccessVolumeAndMuteGoStraightToTheSoundServer) {
    access_.trusted = false;
    setLevel("3%");
    press(PadAction::system(SystemKey::volumedown));
    EXPECT_EQ(level(), "0%");
    press(PadAction::system(SystemKey::mute));
    EXPECT_TRUE(muted());
    press(PadAction::system(SystemKey::volumeup));
    EXPECT_EQ(level(), "6%");
    EXPECT_FALSE(muted());
    pulse_.stop(); // a server that has gone: nothing happens, nothing blocks for long
    press(PadAction::system(SystemKey::volumeup));
    press(PadAction::system(SystemKey::mute));
    EXPECT_TRUE(keys_.presses.empty());
    EXPECT_EQ(logger_.count(), 0U);
}

} // namespace
} // namespace ruvola
