#pragma once

#include "Ruvola/platform/MediaPlayers.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>

#include <cstdint>
#include <vector>

namespace ruvola::platform {

/// The session's MPRIS players (bus names `org.mpris.MediaPlayer2.*`). They are followed as the bus
/// announces their names coming and going, and their PlaybackStatus and Can* properties by their
/// PropertiesChanged signals; each is read in full once, when it appears, and only counts (and
/// can be chosen) from then on. Those there at the start are in the order of their names.
class MprisMediaPlayers final : public QObject, public MediaPlayers {
    Q_OBJECT

public:
    /// Lists the players already there; until the answer comes there are none.
    explicit MprisMediaPlayers(QDBusConnection bus = QDBusConnection::sessionBus());

    bool send(SystemKey key) override;
    int count() const override;
    std::string_view name() const override { return "MPRIS"; }

    /// What is known of the players changed: one was read, changed its properties or went away.
    Q_SIGNAL void changed();

private:
    struct Player {
        /// Tells this player's answers from those meant for an earlier owner of its name.
        std::uint64_t id;
        QString name;
        /// The unique name of its connection, which its signals come from; empty until known.
        QString owner;
        /// Its `org.mpris.MediaPlayer2.Player` properties as last announced.
        QVariantMap properties;
        /// When it was last seen to start or stop playing, on this object's clock; 0 if never.
        std::uint64_t lastPlayed = 0;
        /// Whether its properties have been read (or could not be).
        bool known = false;
    };

    Q_SLOT void propertiesChanged(const QString& interface, const QVariantMap& values,
                                  const QStringList& invalidated, const QDBusMessage& message);
    void ownerChanged(const QString& name, const QString& newOwner);
    void listed(QStringList names);
    void add(const QString& name, const QString& owner);
    void readProperties(const Player& player);
    void update(Player& player, const QVariantMap& values);
    const Player* choose(SystemKey key) const;

    QDBusConnection bus_;
    std::vector<Player> players_; // in the order they appeared, those listed at start by name
    std::uint64_t clock_ = 0;
    std::uint64_t lastId_ = 0;
};

} // namespace ruvola::platform
