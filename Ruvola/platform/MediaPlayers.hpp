#pragma once

#include "RuvolaCore/PadAction.hpp"

#include <string_view>

namespace ruvola::platform {

/// The media players of the user's session, told directly to play, pause or skip: no key is
/// posted, so no permission is needed and every desktop works alike.
///
/// Contract:
/// - `send` hands playpause, next or previous to one player and returns at once, without waiting
///   for the player's answer; true means the request left, not that the player obeyed it.
/// - The player is the one playing now (of several, the one that started last); else the one
///   seen playing last while this object has existed; else the first, in the order they appeared.
///   A player that says it cannot do that now (pause, play, go next or previous) is passed over;
///   one that doesn't say counts as able.
/// - `send` is false, and nothing is sent, for the other keys and when no player can take the
///   key: the caller then posts the key instead.
/// - What is known of the players follows their own announcements on the event loop; `send` and
///   `count` never ask the players anything. Both are called on the main thread.
/// - Without a session to reach players through, there are none.
class MediaPlayers {
public:
    virtual ~MediaPlayers() = default;

    virtual bool send(SystemKey key) = 0;

    /// How many players there are now.
    virtual int count() const = 0;

    /// What players are reached through, for reports: "MPRIS".
    virtual std::string_view name() const = 0;
};

} // namespace ruvola::platform
