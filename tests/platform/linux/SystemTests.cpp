#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/platform/Processes.hpp"
#include "Ruvola/platform/linux/HidrawDevice.hpp"
#include "Ruvola/platform/linux/LinuxInstallation.hpp"
#include "Ruvola/platform/linux/PulseSystemVolume.hpp"
#include "Ruvola/platform/linux/Session.hpp"
#include "Ruvola/platform/linux/UdevHidDiscovery.hpp"
#include "Ruvola/platform/linux/UinputAccessWatcher.hpp"
#include "Ruvola/platform/linux/XdgLaunchAtLogin.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/Repeat.hpp"
#include "tests/support/Servers.hpp"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <glib.h>
#include <map>
#include <numeric>
#include <sys/socket.h>
#include <unistd.h>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace ruvola::platform {
namespace {

using testing::PulseServer;
using testing::waitUntil;
using Bytes = std::vector<std::uint8_t>;

TEST(Session, IsTakenFromTheSessionTypeElseFromTheDisplaysSet) {
    using Kind = Session::Kind;
    using Variables = std::map<std::string, std::string>;
    const std::vector<std::pair<Variables, Session>> cases{
        {{{"WAYLAND_DISPLAY", "wayland-0"}, {"XDG_CURRENT_DESKTOP", "sway"}},
         {Kind::wayland, "sway", false}},
        // XWayland: a Wayland session whose X display the X11 backends serve.
        {{{"XDG_SESSION_TYPE", "wayland"}, {"DISPLAY", ":0"}, {"XDG_CURRENT_DESKTOP", "GNOME"}},
         {Kind::wayland, "GNOME", true}},
        // A text console with a forwarded X display.
        {{{"XDG_SESSION_TYPE", "tty"}, {"DISPLAY", "localhost:10"}}, {Kind::x11, "", true}},
        {{{"XDG_SESSION_TYPE", "tty"}, {"XDG_CURRENT_DESKTOP", "KDE"}}, {Kind::none, "", false}},
    };
    for (const auto& [variables, expected] : cases) {
        const Session session = Session::detect([&](const char* name) {
            const auto found = variables.find(name);
            return found == variables.end() ? std::nullopt : std::optional(found->second);
        });
        EXPECT_EQ(session, expected) << ::testing::PrintToString(variables);
    }
}

// Real processes through /bin/sh, judged and described the way action failures are logged.
TEST(Processes, JudgesHowEachProcessEnded) {
    const auto platform = makePlatform();
    const std::vector<std::pair<std::string, std::string>> cases{
        {"exit 3", "exited with status 3"},
        {"kill -TERM $$", "terminated by SIGTERM"},
        {"kill -30 $$", "terminated by signal 30"},
        // Megabytes of output go nowhere instead of filling a pipe.
        {"head -c 20000000 /dev/zero; cat; echo done >&2", ""},
    };
    for (const auto& [command, failure] : cases) {
        const ActionCompletion completion = platform->processes().run("/bin/sh", {"-c", command});
        EXPECT_EQ(completion.failure() ? completion.failure()->description() : "", failure)
            << command;
    }
    EXPECT_EQ(platform->processes().run("/nonexistent/tool", {}).failure()->description(),
              "could not launch: No such file or directory");
}

Bytes pattern(std::size_t size, std::uint8_t seed) {
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), seed);
    return bytes;
}

// A sequenced-packet socket keeps report boundaries the way a hidraw node does.
TEST(HidrawDevice, CarriesReportsBothWaysUntilThePadGoes) {
    std::signal(SIGPIPE, SIG_IGN); // a write to a closed peer must fail, not end the test
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
    HidrawDevice device(ends[0], 0x1500, 0x3001);
    std::vector<Bytes> reports;
    device.setInputHandler([&](std::span<const std::uint8_t> report) {
        reports.emplace_back(report.begin(), report.end());
    });
    // A write is report ID 0 then the report, in one write.
    const Bytes report = pattern(1024, 7);
    ASSERT_EQ(device.write(report), 0);
    Bytes received(2048);
    ASSERT_EQ(::recv(ends[1], received.data(), received.size(), 0), 1025);
    EXPECT_EQ(received[0], 0);
    EXPECT_TRUE(std::equal(report.begin(), report.end(), received.begin() + 1));

    // Queued input reports arrive one by one; the end of the node is read in the same pass as the
    // last of them, since a notifier left on would fire at once.
    const std::vector<Bytes> sent = {pattern(1, 1), pattern(64, 2), pattern(512, 3)};
    for (const auto& input : sent) {
        ASSERT_EQ(::send(ends[1], input.data(), input.size(), 0), std::ssize(input));
    }
    ::close(ends[1]);
    ASSERT_TRUE(waitUntil([&] { return reports.size() >= sent.size(); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(reports, sent) << "no empty report for the end of the node";
    EXPECT_EQ(device.write(pattern(1024, 0)), EPIPE);
    // A socket refuses the feature request the way a node without the report does.
    EXPECT_EQ(device.featureReport(1, 20), std::nullopt);
}

TEST(HidIdentity, ParsesTheHidIDProperty) {
    const auto pad = parseHidIdentity("0003:00001500:0000B01a");
    ASSERT_TRUE(pad.has_value());
    EXPECT_EQ(std::tuple(pad->bus, pad->vendorID, pad->productID), std::tuple(3, 0x1500, 0xB01A));
    for (const char* bad :
         {"", "0003:00001500", "0003:00001500:", "0003:00001500:00003001:1", "0003:00001500:3001x",
          "0003;00001500;00003001", "0003:-1:2", "0003:FFFFFFFF:00003001"}) {
        EXPECT_FALSE(parseHidIdentity(bad).has_value()) << bad;
    }
}

TEST(ReportDescriptor, PrimaryUsagePageIsTheFirstUsagePageItem) {
    const std::vector<std::pair<Bytes, std::optional<int>>> cases = {
        {{0x05, 0x01, 0x09, 0x06, 0xA1, 0x01, 0x06, 0xA0, 0xFF}, 0x01},
        // Other short items of each size first, then a long item.
        {{0x09, 0x01, 0x15, 0x00, 0x26, 0xFF, 0x00, 0x27, 1,    2,
          3,    4,    0xFE, 2,    0x10, 0xAA, 0xBB, 0x06, 0xA0, 0xFF},
         0xFFA0},
        {{0x09, 0x01, 0xA1, 0x01, 0xC0}, std::nullopt},
        {{0x06, 0xA0}, std::nullopt},
        {{0xFE, 4, 0x10, 0xAA}, std::nullopt},
        {{0xFE}, std::nullopt},
    };
    for (const auto& [descriptor, page] : cases) {
        EXPECT_EQ(primaryUsagePage(descriptor), page)
            << "descriptor of " << descriptor.size() << " bytes";
    }
}

using Changes = std::vector<std::tuple<const char*, std::function<void()>, bool>>;

// Makes each change in turn and expects it reported through `calls`, or not, as its row says.
void expectReports(int& calls, const Changes& changes) {
    for (const auto& [name, change, reported] : changes) {
        calls = 0;
        change();
        EXPECT_EQ(waitUntil([&] { return calls > 0; }, reported ? 5s : 100ms), reported) << name;
    }
}

// Saves in their usual styles and a removed directory are followed through the bindings store.
TEST(DirectoryWatcher, ReportsChangesInTheDirectoryItHasTheNameOf) {
    QTemporaryDir root;
    const fs::path parent = root.path().toStdString(), directory = parent / "ruvola",
                   old = parent / "old";
    const auto platform = makePlatform();
    const auto before = testing::openDescriptors();
    std::ofstream(parent / "file") << "";
    for (const fs::path& path : {parent / "missing", parent / "file"}) {
        EXPECT_FALSE(platform->makeDirectoryWatcher()->start(path, [] {})) << path;
    }
    EXPECT_EQ(testing::openDescriptors(), before);

    fs::create_directory(directory);
    auto watcher = platform->makeDirectoryWatcher();
    int calls = 0;
    ASSERT_TRUE(watcher->start(directory, [&] { ++calls; }));
    const Changes changes{
        {"create", [&] { std::ofstream(directory / "a") << "{}"; }, true},
        {"attributes", [&] { fs::permissions(directory / "a", fs::perms::owner_read); }, true},
        {"rename out", [&] { fs::rename(directory / "a", parent / "a"); }, true},
        // An atomic save from another folder.
        {"rename in", [&] { fs::rename(parent / "a", directory / "a"); }, true},
        {"a sibling", [&] { fs::create_directory(parent / "ruvolas"); }, false},
        {"moved away", [&] { fs::rename(directory, old); }, true},
        {"another moved in",
         [&] { fs::create_directory(parent / "new"), fs::rename(parent / "new", directory); },
         true},
        {"write in the old", [&] { std::ofstream(old / "b") << "{}"; }, false},
        {"write in the new", [&] { std::ofstream(directory / "b") << "{}"; }, true},
        {"removed", [&] { fs::remove_all(directory); }, true},
        {"created again", [&] { fs::create_directory(directory); }, true},
    };
    expectReports(calls, changes);
    calls = 0;
    std::ofstream(directory / "c") << "{}"; // queued but not yet read
    watcher.reset();
    testing::runEventLoop(100ms);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(testing::openDescriptors(), before);
}

// The uinput node's watcher follows the node, not its neighbours, through the same queue.
TEST(AccessWatcher, ReportsTheNodeComingGoingAndChangingMode) {
    QTemporaryDir root;
    const fs::path folder = root.path().toStdString(), node = folder / "uinput";
    EXPECT_FALSE(UinputAccessWatcher(folder / "missing" / "uinput").start([] {}));
    UinputAccessWatcher watcher(node);
    int calls = 0;
    ASSERT_TRUE(watcher.start([&] { ++calls; }));
    const Changes changes{
        {"created", [&] { std::ofstream(node) << ""; }, true},
        {"mode changed", [&] { fs::permissions(node, fs::perms::owner_read); }, true},
        {"a neighbour", [&] { std::ofstream(folder / "other") << ""; }, false},
        {"removed", [&] { fs::remove(node); }, true},
        {"renamed into place", [&] { fs::rename(folder / "other", node); }, true},
    };
    expectReports(calls, changes);
}

// The entry is read back as GIO runs it: the value unescaped, "%%" made "%", then split.
std::vector<std::string> launchedCommand(const fs::path& entry) {
    g_autoptr(GKeyFile) file = g_key_file_new();
    g_key_file_load_from_file(file, entry.c_str(), G_KEY_FILE_NONE, nullptr);
    g_autofree gchar* exec = g_key_file_get_string(file, "Desktop Entry", "Exec", nullptr);
    const QByteArray expanded = QByteArray(exec).replace("%%", "%");
    g_auto(GStrv) argv = nullptr;
    if (exec == nullptr || !g_shell_parse_argv(expanded.constData(), nullptr, &argv, nullptr)) {
        return {};
    }
    return {argv, argv + g_strv_length(argv)};
}

TEST(LaunchAtLogin, WritesAnAutostartEntryThatRunsTheProgramAndRemovesIt) {
    QTemporaryDir dir;
    const fs::path config = fs::path(dir.path().toStdString()) / "config";
    const fs::path entry = config / "autostart" / "ltd.fennick.ruvola.desktop";
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(config.string()));
    const LinuxInstallation installation;

    for (const std::string executable :
         {"/usr/bin/ruvola", "/opt/My Apps/ruvola", R"(/tmp/a"b$c`d\e%f'g#h\)", "/tmp/new\nline"}) {
        XdgLaunchAtLogin launch(installation, executable);
        EXPECT_EQ(launch.setEnabled(true), std::nullopt) << executable;
        EXPECT_TRUE(launch.isEnabled()) << executable;
        EXPECT_EQ(launchedCommand(entry), (std::vector<std::string>{executable, "--login-launch"}));
        EXPECT_EQ(launch.setEnabled(false), std::nullopt) << executable;
        EXPECT_FALSE(launch.isEnabled() || fs::exists(entry)) << executable;
    }
}

// A private PulseAudio daemon with one null sink, checked from outside with pactl.
class SystemVolumeTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const std::string missing = PulseServer::missing(); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
        ASSERT_TRUE(server_.start(dir_.path()));
    }

    // How many channels pactl shows at that level.
    static qsizetype channelsAt(const QString& sink, int percent) {
        const QString line = PulseServer::pactl({"get-sink-volume", sink}).section('\n', 0, 0);
        return line.count(QString(" %1% ").arg(percent));
    }

    QTemporaryDir dir_;
    PulseServer server_;
    PulseSystemVolume volume_;
};

TEST_F(SystemVolumeTest, ReadsSetsAndMutesOnlyTheCurrentDefaultSink) {
    for (const auto& [levels, expected] : std::vector<std::pair<QStringList, double>>{
             {{"40%"}, 0.40}, {{"20%", "60%"}, 0.40}, {{"150%"}, 1.0}}) {
        PulseServer::pactl(QStringList{"set-sink-volume", "@DEFAULT_SINK@"} + levels);
        EXPECT_NEAR(volume_.volume().value_or(-1), expected, 0.005)
            << levels.join(' ').toStdString();
    }
    for (const auto& [level, percent] : {std::pair{0.75, 75}, {1.7, 100}, {-0.2, 0}}) {
        EXPECT_TRUE(volume_.setVolume(level)) << level;
        EXPECT_EQ(channelsAt("@DEFAULT_SINK@", percent), 2) << level;
    }

    EXPECT_TRUE(volume_.setMuted(true));
    EXPECT_EQ(PulseServer::pactl({"get-sink-mute", "test"}).trimmed(), "Mute: yes");
    EXPECT_EQ(volume_.isMuted(), true);
    PulseServer::pactl({"set-sink-mute", "test", "0"});
    EXPECT_EQ(volume_.isMuted(), false);

    PulseServer::pactl({"load-module", "module-null-sink", "sink_name=other"});
    PulseServer::pactl({"set-default-sink", "other"});
    EXPECT_TRUE(volume_.setVolume(0.3));
    EXPECT_TRUE(volume_.setMuted(true));
    EXPECT_EQ(channelsAt("other", 30), 2);
    EXPECT_EQ(channelsAt("test", 0), 2);
    EXPECT_EQ(PulseServer::pactl({"get-sink-mute", "test"}).trimmed(), "Mute: no");
}

} // namespace
} // namespace ruvola::platform
