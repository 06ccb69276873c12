#include "Ruvola/platform/linux/LinuxBrightness.hpp"
#include "Ruvola/platform/linux/MprisMediaPlayers.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/Servers.hpp"

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>

namespace fs = std::filesystem;
using ruvola::SystemKey;
using ruvola::platform::LinuxBrightness;
using ruvola::testing::waitUntil;

namespace {

// A desktop service or media player on a connection of its own: owns its name while present,
// answers calls on its interface at one object with `answer`, recording them as
// "Member(argument, …)", and Properties.GetAll with `properties`, whose changes it announces.
class StandIn final : public QDBusVirtualObject {
public:
    using Answer = std::function<QVariantList(const QDBusMessage&)>;

    StandIn(const QString& address, const QString& name, const QString& path, QString interface,
            Answer answer = {})
        : connection_(QDBusConnection::connectToBus(address, name)), name_(name), path_(path),
          interface_(std::move(interface)), answer_(std::move(answer)) {
        connection_.registerVirtualObject(path, this);
    }
    ~StandIn() override { QDBusConnection::disconnectFromBus(name_); }

    void setPresent(bool present) {
        present ? connection_.registerService(name_) : connection_.unregisterService(name_);
    }
    void set(const QVariantMap& changed) {
        properties.insert(changed);
        connection_.send(QDBusMessage::createSignal(path_, "org.freedesktop.DBus.Properties",
                                                    "PropertiesChanged")
                         << interface_ << changed << QStringList());
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() == "GetAll") {
            const bool ours = message.arguments().value(0) == interface_;
            return connection.send(message.createReply(ours ? properties : QVariantMap()));
        }
        if (message.interface() != interface_) {
            return false;
        }
        QStringList arguments;
        for (const QVariant& argument : message.arguments()) {
            arguments << argument.toString();
        }
        calls << message.member() + "(" + arguments.join(", ") + ")";
        return connection.send(message.createReply(answer_ ? answer_(message) : QVariantList()));
    }
    QString introspect(const QString&) const override { return {}; }

    QVariantMap properties;
    QStringList calls;

private:
    QDBusConnection connection_;
    QString name_;
    QString path_;
    QString interface_;
    Answer answer_;
};

// Private buses with stand-ins for the desktops' brightness services.
class DesktopServices : public ::testing::Test {
protected:
    void SetUp() override {
        if (const std::string missing = ruvola::testing::Buses::missing(); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
        buses.start(dir.path());
        for (auto [connection, bus] : {std::pair{&session, "session"}, {&system, "system"}}) {
            // The daemon listens a moment after it has started.
            ASSERT_TRUE(waitUntil([&] {
                *connection = QDBusConnection::connectToBus(address(bus), bus);
                if (!connection->isConnected()) {
                    QDBusConnection::disconnectFromBus(bus);
                }
                return connection->isConnected();
            }));
        }
        const auto answer = [this](const QDBusMessage& call) -> QVariantList {
            const QVariantList arguments = call.arguments();
            if (call.member() == "SetBrightness") { // written, as logind does, before it answers
                std::ofstream(backlights / arguments.value(1).toString().toStdString() /
                              "brightness")
                    << arguments.value(2).toUInt();
                return {};
            }
            if (call.member() == "setBrightness") {
                kdeValue = arguments.value(0).toInt();
            }
            return {call.member() == "brightnessMax" ? kdeMax : kdeValue};
        };
        gnome = std::make_unique<StandIn>(address("session"), "org.gnome.SettingsDaemon.Power",
                                          "/org/gnome/SettingsDaemon/Power",
                                          "org.gnome.SettingsDaemon.Power.Screen", answer);
        kde = std::make_unique<StandIn>(address("session"), "org.kde.Solid.PowerManagement",
                                        "/org/kde/Solid/PowerManagement/Actions/BrightnessControl",
                                        "org.kde.Solid.PowerManagement.Actions.BrightnessControl",
                                        answer);
        logind = std::make_unique<StandIn>(address("system"), "org.freedesktop.login1",
                                           "/org/freedesktop/login1/session/auto",
                                           "org.freedesktop.login1.Session", answer);
    }

    void TearDown() override {
        QDBusConnection::disconnectFromBus("session");
        QDBusConnection::disconnectFromBus("system");
    }

    QString address(const QString& bus) const { return "unix:path=" + dir.filePath(bus + ".sock"); }

    // Devices as "type/name", each at 500 of 1000.
    void makeBacklights(const QStringList& devices) {
        fs::remove_all(backlights);
        for (const QString& device : devices) {
            const fs::path folder = backlights / device.section('/', 1).toStdString();
            fs::create_directories(folder);
            std::ofstream(folder / "type") << device.section('/', 0, 0).toStdString() << "\n";
            std::ofstream(folder / "brightness") << "500\n";
            std::ofstream(folder / "max_brightness") << "1000\n";
        }
    }

    QTemporaryDir dir;
    ruvola::testing::Buses buses;
    QDBusConnection session{""};
    QDBusConnection system{""};
    fs::path backlights = fs::path(dir.path().toStdString()) / "backlight";
    std::unique_ptr<StandIn> gnome, kde, logind;
    int kdeValue = 50, kdeMax = 160;
};

TEST_F(DesktopServices, BrightnessTakesTheFirstRouteThereIsAndFollowsServicesComingAndGoing) {
    makeBacklights({"raw/intel_backlight"});
    LinuxBrightness brightness(session, system, backlights);
    EXPECT_EQ(brightness.route(), "");
    EXPECT_FALSE(brightness.step(true));

    for (StandIn* service : {logind.get(), kde.get(), gnome.get()}) {
        service->setPresent(true);
    }
    EXPECT_TRUE(waitUntil([&] { return brightness.route() == "GNOME power service"; }));
    EXPECT_EQ(LinuxBrightness(session, system, backlights).route(), "GNOME power service")
        << "a new one asks who is there";
    const std::vector<std::tuple<StandIn*, std::string, StandIn*, bool, QString>> routes{
        {nullptr, "GNOME power service", gnome.get(), true, "StepUp()"},
        {nullptr, "GNOME power service", gnome.get(), false, "StepDown()"},
        {gnome.get(), "KDE power management", kde.get(), true, "setBrightness(60)"},
        {kde.get(), "logind (intel_backlight)", logind.get(), false,
         "SetBrightness(backlight, intel_backlight, 438)"},
    };
    for (const auto& [leaving, route, taking, up, call] : routes) {
        if (leaving != nullptr) {
            leaving->setPresent(false);
        }
        EXPECT_TRUE(waitUntil([&] { return brightness.route() == route; })) << route;
        EXPECT_TRUE(brightness.step(up)) << route;
        EXPECT_TRUE(waitUntil([&] { return taking->calls.contains(call); })) << call.toStdString();
    }
    EXPECT_EQ(gnome->calls.size(), 2) << "only its own steps";
    EXPECT_EQ(kde->calls.size(), 3) << "one step: read the maximum and the value, set";

    logind->setPresent(false);
    EXPECT_TRUE(waitUntil([&] { return brightness.route().empty(); }));
    EXPECT_FALSE(brightness.step(true));
}

TEST_F(DesktopServices, BrightnessKdeStepsBySixteenthsWithinTheRange) {
    kde->setPresent(true);
    LinuxBrightness brightness(session, system, backlights);
    for (const auto& [value, max, up, expected] : {std::tuple{50, 160, true, 60},
                                                   {155, 160, true, 160},
                                                   {5, 160, false, 0},
                                                   {3, 10, true, 4}}) {
        kdeValue = value;
        kdeMax = max;
        kde->calls.clear();
        ASSERT_TRUE(brightness.step(up));
        EXPECT_TRUE(waitUntil([&] { return kde->calls.size() == 3; })) << value;
        EXPECT_EQ(kde->calls.value(2), QString("setBrightness(%1)").arg(expected)) << value;
    }
}

TEST_F(DesktopServices, BrightnessLogindSetsTheBacklightDesktopsChooseAndLosesNoStep) {
    logind->setPresent(true);
    for (const auto& [devices, chosen] : std::vector<std::pair<QStringList, QString>>{
             {{"raw/intel_backlight", "platform/dell_backlight", "firmware/acpi_video0"},
              "acpi_video0"},
             {{"raw/intel_backlight", "platform/dell_backlight"}, "dell_backlight"},
             {{"raw/amdgpu_bl1", "raw/amdgpu_bl0", "other/usb"}, "amdgpu_bl0"},
             {{"other/usb"}, ""},
         }) {
        makeBacklights(devices);
        LinuxBrightness brightness(session, system, backlights);
        EXPECT_EQ(QString::fromStdString(brightness.route()),
                  chosen.isEmpty() ? "" : "logind (" + chosen + ")");
        EXPECT_EQ(brightness.step(true), !chosen.isEmpty()) << chosen.toStdString();
        if (chosen.isEmpty()) {
            continue;
        }
        // Three quick steps: the last two wait for the first to be written, then go as one.
        brightness.step(true);
        brightness.step(true);
        EXPECT_TRUE(waitUntil([&] { return logind->calls.size() == 2; })) << chosen.toStdString();
        EXPECT_EQ(logind->calls.value(1), "SetBrightness(backlight, " + chosen + ", 686)");
        logind->calls.clear();
    }
}

// Players come, play, stop and go; the one chosen is the playing one, else the last played,
// else the first that can.
TEST_F(DesktopServices, MediaPlayersChoosesThePlayingOneThenTheLastPlayedThenTheFirstThatCan) {
    EXPECT_FALSE(
        ruvola::platform::MprisMediaPlayers(QDBusConnection("none")).send(SystemKey::next));
    std::map<QString, std::unique_ptr<StandIn>> players;
    const auto add = [&](const QString& id, const QVariantMap& properties) {
        players[id] =
            std::make_unique<StandIn>(address("session"), "org.mpris.MediaPlayer2." + id,
                                      "/org/mpris/MediaPlayer2", "org.mpris.MediaPlayer2.Player");
        players[id]->properties = properties;
        players[id]->setPresent(true);
    };
    add("a", {{"PlaybackStatus", "Paused"}, {"CanGoNext", false}});
    add("b", {{"PlaybackStatus", "Playing"}});
    add("c", {{"PlaybackStatus", "Stopped"}});
    ruvola::platform::MprisMediaPlayers media(session);
    int changes = 0;
    QObject::connect(&media, &ruvola::platform::MprisMediaPlayers::changed, [&] { ++changes; });
    ASSERT_TRUE(waitUntil([&] { return media.count() == 3; }));

    // Makes a change and waits until the object under test has heard of it.
    const auto await = [&](const std::function<void()>& change) {
        const int before = changes;
        change();
        EXPECT_TRUE(waitUntil([&] { return changes > before; }));
    };
    // Sends the key and gives the calls it caused, as "player Method()".
    const auto sent = [&](SystemKey key) {
        QStringList calls;
        if (!media.send(key)) {
            return std::string("nothing");
        }
        waitUntil([&] {
            for (const auto& [id, player] : players) {
                for (const QString& call : std::exchange(player->calls, {})) {
                    calls.push_back(id + ' ' + call);
                }
            }
            return !calls.isEmpty();
        });
        return calls.join(", ").toStdString();
    };
    EXPECT_EQ(sent(SystemKey::playpause), "b PlayPause()") << "the playing one";
    await([&] { players["a"]->set({{"PlaybackStatus", "Playing"}}); });
    EXPECT_EQ(sent(SystemKey::previous), "a Previous()") << "of two, the last to start";
    EXPECT_EQ(sent(SystemKey::next), "b Next()") << "passing over one that cannot go next";
    await([&] { players["a"]->set({{"PlaybackStatus", "Paused"}}); });
    EXPECT_EQ(sent(SystemKey::playpause), "b PlayPause()") << "over one that stopped since";
    await([&] { players["b"]->set({{"PlaybackStatus", "Paused"}}); });
    EXPECT_EQ(sent(SystemKey::previous), "b Previous()") << "the last seen playing";

    await([&] { players.erase("a"); });
    await([&] { players.erase("b"); });
    await([&] { add("d", {{"PlaybackStatus", "Paused"}, {"CanGoPrevious", false}}); });
    EXPECT_EQ(media.count(), 2);
    EXPECT_EQ(sent(SystemKey::next), "c Next()") << "the first of those never seen playing";
    await([&] { players["d"]->set({{"PlaybackStatus", "Playing"}}); });
    EXPECT_EQ(sent(SystemKey::playpause), "d PlayPause()") << "one that came later";
    await([&] { players.erase("c"); });
    EXPECT_EQ(sent(SystemKey::previous), "nothing") << "none that can go back";
    await([&] { players.erase("d"); });
    EXPECT_EQ(sent(SystemKey::playpause), "nothing") << "no players";
    EXPECT_EQ(media.count(), 0);
}

} // namespace
