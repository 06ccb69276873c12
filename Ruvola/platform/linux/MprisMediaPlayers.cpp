#include "Ruvola/platform/linux/MprisMediaPlayers.hpp"

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>

#include <algorithm>
#include <utility>

namespace ruvola::platform {

namespace {

const QString prefix = QStringLiteral("org.mpris.MediaPlayer2.");
const QString path = QStringLiteral("/org/mpris/MediaPlayer2");
const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

// The player's method for a key; empty for the keys players don't take.
QString method(SystemKey key) {
    switch (key) {
    case SystemKey::playpause:
        return QStringLiteral("PlayPause");
    case SystemKey::next:
        return QStringLiteral("Next");
    case SystemKey::previous:
        return QStringLiteral("Previous");
    default:
        return {};
    }
}

bool playing(const QVariantMap& properties) {
    return properties.value(QStringLiteral("PlaybackStatus")).toString() == "Playing";
}

// What a player doesn't say it can't do, it is taken to do.
bool able(const QVariantMap& properties, SystemKey key) {
    const auto says = [&](const QString& name) { return properties.value(name, true).toBool(); };
    if (!says(QStringLiteral("CanControl"))) {
        return false;
    }
    switch (key) {
    case SystemKey::playpause:
        return says(playing(properties) ? QStringLiteral("CanPause") : QStringLiteral("CanPlay"));
    case SystemKey::next:
        return says(QStringLiteral("CanGoNext"));
    case SystemKey::previous:
        return says(QStringLiteral("CanGoPrevious"));
    default:
        return false;
    }
}

} // namespace

MprisMediaPlayers::MprisMediaPlayers(QDBusConnection bus) : bus_(std::move(bus)) {
    if (!bus_.isConnected()) {
        return;
    }
    // "org.mpris.MediaPlayer2*": the bus sends only the changes of names in that namespace (a
    // namespace is whole: the pattern may not end in a dot).
    auto* names = new QDBusServiceWatcher(prefix.chopped(1) + '*', bus_,
                                          QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(names, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString& name, const QString&, const QString& newOwner) {
                ownerChanged(name, newOwner);
            });
    // From every sender, so that no owner has to be looked up; the sender tells the player.
    bus_.connect(QString(), path, propertiesInterface, QStringLiteral("PropertiesChanged"),
                 {playerInterface}, QString(), this,
                 SLOT(propertiesChanged(QString, QVariantMap, QStringList, QDBusMessage)));
    // Asked after subscribing, so a player appearing meanwhile is either in the answer or
    // announced before it.
    const QDBusMessage list = QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ListNames");
    auto* call = new QDBusPendingCallWatcher(bus_.asyncCall(list), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* done) {
        done->deleteLater();
        const QDBusMessage reply = done->reply();
        if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()) {
            listed(reply.arguments().constFirst().toStringList());
        }
    });
}

bool MprisMediaPlayers::send(SystemKey key) {
    const Player* player = choose(key);
    return player != nullptr && bus_.send(QDBusMessage::createMethodCall(
                                    player->name, path, playerInterface, method(key)));
}

int MprisMediaPlayers::count() const {
    return static_cast<int>(std::count_if(players_.begin(), players_.end(),
                                          [](const Player& player) { return player.known; }));
}

void MprisMediaPlayers::propertiesChanged(const QString&, const QVariantMap& values,
                                          const QStringList& invalidated,
                                          const QDBusMessage& message) {
    for (Player& player : players_) {
        if (player.owner != message.service()) {
            continue;
        }
        update(player, values);
        if (!invalidated.isEmpty()) {
            for (const QString& name : invalidated) {
                player.properties.remove(name);
            }
            readProperties(player);
        }
        emit changed();
    }
}

void MprisMediaPlayers::ownerChanged(const QString& name, const QString& newOwner) {
    if (!name.startsWith(prefix)) {
        return;
    }
    // A new owner is another program, or the same one started again: a new player.
    if (std::erase_if(players_, [&](const Player& player) { return player.name == name; }) > 0) {
        emit changed();
    }
    if (!newOwner.isEmpty()) {
        add(name, newOwner);
    }
}

void MprisMediaPlayers::listed(QStringList names) {
    // The bus lists names in no set order: sorted, the first player stays the first.
    names.sort();
    for (const QString& name : names) {
        const bool known = std::any_of(players_.begin(), players_.end(),
                                       [&](const Player& player) { return player.name == name; });
        if (name.startsWith(prefix) && !known) {
            add(name, QString());
        }
    }
}

void MprisMediaPlayers::add(const QString& name, const QString& owner) {
    players_.push_back({++lastId_, name, owner, {}, 0, false});
    readProperties(players_.back());
}

void MprisMediaPlayers::readProperties(const Player& player) {
    const QDBusMessage get = QDBusMessage::createMethodCall(player.name, path, propertiesInterface,
                                                            QStringLiteral("GetAll"))
                             << playerInterface;
    auto* call = new QDBusPendingCallWatcher(bus_.asyncCall(get), this);
    connect(call, &QDBusPendingCallWatcher::finished, this,
            [this, id = player.id](QDBusPendingCallWatcher* done) {
                done->deleteLater();
                const auto found = std::find_if(players_.begin(), players_.end(),
                                                [&](const Player& p) { return p.id == id; });
                if (found == players_.end()) {
                    return; // gone, or its name has another owner by now
                }
                const QDBusMessage reply = done->reply();
                if (reply.type() == QDBusMessage::ReplyMessage) {
                    // Players found by the listing learn their owner here, from who answered.
                    found->owner = reply.service();
                    update(*found, qdbus_cast<QVariantMap>(reply.arguments().value(0)));
                }
                found->known = true;
                emit changed();
            });
}

void MprisMediaPlayers::update(Player& player, const QVariantMap& values) {
    const bool wasPlaying = playing(player.properties);
    player.properties.insert(values);
    if (playing(player.properties) != wasPlaying) {
        player.lastPlayed = ++clock_;
    }
}

const MprisMediaPlayers::Player* MprisMediaPlayers::choose(SystemKey key) const {
    const Player* chosen = nullptr;
    const auto rank = [](const Player& player) {
        return std::pair(playing(player.properties), player.lastPlayed);
    };
    for (const Player& player : players_) {
        // Strictly better only, so that among players never seen playing the first one stays.
        if (player.known && able(player.properties, key) &&
            (chosen == nullptr || rank(player) > rank(*chosen))) {
            chosen = &player;
        }
    }
    return chosen;
}

} // namespace ruvola::platform
