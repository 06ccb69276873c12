#include "Ruvola/platform/linux/MprisMediaPlayers.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/Servers.hpp"

#include <QDBusVirtualObject>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>

using ruvola::SystemKey;
using ruvola::testing::waitUntil;

namespace {

const QString path = "/org/mpris/MediaPlayer2";

// A media player owning its MPRIS name on a connection of its own: it answers GetAll, announces
// changes of its properties, and records every other call as "Interface.Method".
class StandInPlayer final : public QDBusVirtualObject {
public:
    StandInPlayer(const QString& address, const QString& id, QVariantMap properties)
        : bus_(QDBusConnection::connectToBus(address, id)), properties_(std::move(properties)) {
        bus_.registerVirtualObject(path, this);
        bus_.registerService("org.mpris.MediaPlayer2." + id);
    }
    ~StandInPlayer() override { QDBusConnection::disconnectFromBus(bus_.name()); }

    void set(const QVariantMap& changed) {
        properties_.insert(changed);
        bus_.send(
            QDBusMessage::createSignal(path, "org.freedesktop.DBus.Properties", "PropertiesChanged")
            << "org.mpris.MediaPlayer2.Player" << changed << QStringList());
    }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() == "GetAll") {
            const bool player = message.arguments().value(0) == "org.mpris.MediaPlayer2.Player";
            connection.send(message.createReply(player ? properties_ : QVariantMap()));
        } else {
            calls.push_back(message.interface().section('.', -1) + '.' + message.member());
        }
        return true;
    }

    QStringList calls;

private:
    QDBusConnection bus_;
    QVariantMap properties_;
};

// Players on a private session bus, and the object under test on a connection of its own.
TEST(MediaPlayers, ChoosesThePlayingOneThenTheLastPlayedThenTheFirstThatCan) {
    if (const std::string missing = ruvola::testing::Buses::missing(); !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    EXPECT_FALSE(
        ruvola::platform::MprisMediaPlayers(QDBusConnection("none")).send(SystemKey::next));
    QTemporaryDir dir;
    ruvola::testing::Buses buses;
    buses.start(dir.path());
    const QString address = "unix:path=" + dir.filePath("session.sock");
    ASSERT_TRUE(waitUntil([&] {
        QDBusConnection::disconnectFromBus("watcher"); // a failed try is kept under its name
        return QDBusConnection::connectToBus(address, "watcher").isConnected();
    }));
    std::map<QString, std::unique_ptr<StandInPlayer>> players;
    const auto add = [&](const QString& id, const QVariantMap& properties) {
        players[id] = std::make_unique<StandInPlayer>(address, id, properties);
    };
    add("a", {{"PlaybackStatus", "Paused"}, {"CanGoNext", false}});
    add("b", {{"PlaybackStatus", "Playing"}});
    add("c", {{"PlaybackStatus", "Stopped"}});
    ruvola::platform::MprisMediaPlayers media(QDBusConnection("watcher"));
    int changes = 0;
    QObject::connect(&media, &ruvola::platform::MprisMediaPlayers::changed, [&] { ++changes; });
    ASSERT_TRUE(waitUntil([&] { return media.count() == 3; }));

    // Makes a change and waits until the object under test has heard of it.
    const auto await = [&](const std::function<void()>& change) {
        const int before = changes;
        change();
        EXPECT_TRUE(waitUntil([&] { return changes > before; }));
    };
    // Sends the key and gives the calls it caused, as "player Interface.Method".
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
    EXPECT_EQ(sent(SystemKey::playpause), "b Player.PlayPause") << "the playing one";
    await([&] { players["a"]->set({{"PlaybackStatus", "Playing"}}); });
    EXPECT_EQ(sent(SystemKey::previous), "a Player.Previous") << "of two, the last to start";
    EXPECT_EQ(sent(SystemKey::next), "b Player.Next") << "passing over one that cannot go next";
    await([&] { players["a"]->set({{"PlaybackStatus", "Paused"}}); });
    EXPECT_EQ(sent(SystemKey::playpause), "b Player.PlayPause") << "over one that stopped since";
    await([&] { players["b"]->set({{"PlaybackStatus", "Paused"}}); });
    EXPECT_EQ(sent(SystemKey::previous), "b Player.Previous") << "the last seen playing";

    await([&] { players.erase("a"); });
    await([&] { players.erase("b"); });
    await([&] { add("d", {{"PlaybackStatus", "Paused"}, {"CanGoPrevious", false}}); });
    EXPECT_EQ(media.count(), 2);
    EXPECT_EQ(sent(SystemKey::next), "c Player.Next") << "the first of those never seen playing";
    for (const SystemKey key : {SystemKey::volumeup, SystemKey::volumedown, SystemKey::mute,
                                SystemKey::brightnessup, SystemKey::brightnessdown}) {
        EXPECT_EQ(sent(key), "nothing") << ruvola::systemKeys::rawValue(key);
    }
    await([&] { players["d"]->set({{"PlaybackStatus", "Playing"}}); });
    EXPECT_EQ(sent(SystemKey::playpause), "d Player.PlayPause") << "one that came later";
    await([&] { players.erase("c"); });
    EXPECT_EQ(sent(SystemKey::previous), "nothing") << "none that can go back";
    await([&] { players.erase("d"); });
    EXPECT_EQ(sent(SystemKey::playpause), "nothing") << "no players";
    EXPECT_EQ(media.count(), 0);
}

} // namespace
