#pragma once

#include "Ruvola/platform/Brightness.hpp"
#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "Ruvola/platform/HidManager.hpp"
#include "Ruvola/platform/InputAccess.hpp"
#include "Ruvola/platform/MediaPlayers.hpp"
#include "Ruvola/platform/Notifier.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/platform/SystemKeys.hpp"
#include "Ruvola/platform/Windows.hpp"

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

namespace ruvola::testing {

/// Input access that is granted or not, as a test says.
class FakeInputAccess final : public platform::InputAccess {
public:
    bool trusted = true;
    bool isTrusted() override { return trusted; }
    std::string remedy() const override { return "grant it"; }
    std::string refusal() const override { return "needs input access"; }
};

/// System keys that are only recorded; `effect` stands in for a desktop that reacts to them.
class RecordingSystemKeys final : public platform::SystemKeys {
public:
    struct Press {
        SystemKey key;
        bool fine;
        Tap tap;
        bool operator==(const Press&) const = default;
    };
    std::vector<Press> presses;
    std::function<void(const Press&)> effect;
    std::vector<Tap> posting{Tap::hid, Tap::session}; ///< the taps that can post

    void press(SystemKey key, bool fine, Tap tap) override {
        presses.push_back({key, fine, tap});
        if (effect) {
            effect(presses.back());
        }
    }
    bool canPost(Tap tap) override { return std::ranges::count(posting, tap) > 0; }
    std::string describe(Tap tap) const override { return std::string(name(tap)) + " keys"; }
    std::string systemName() const override { return "The desktop"; }
};

/// Media players and a brightness service that record what they are told, while there are any.
class RecordingMediaAndBrightness final : public platform::MediaPlayers,
                                          public platform::Brightness {
public:
    int players = 0;
    bool service = false;
    std::vector<std::string> told;

    bool send(SystemKey key) override {
        return players > 0 && record("media " + std::string(systemKeys::rawValue(key)));
    }
    int count() const override { return players; }
    std::string_view name() const override { return "MPRIS"; }
    bool step(bool up) override { return service && record(up ? "brighter" : "darker"); }
    std::string route() override { return service ? "the desktop's service" : ""; }

private:
    bool record(std::string what) {
        told.push_back(std::move(what));
        return true;
    }
};

/// Windows as a test sets them: one application in front, nothing else running.
class FakeWindows final : public platform::Windows {
public:
    std::optional<platform::RunningApplication> front;

    std::optional<platform::RunningApplication> frontmost() override { return front; }
    std::vector<platform::RunningApplication> running() override {
        return front ? std::vector{*front} : std::vector<platform::RunningApplication>{};
    }
    bool hide(const platform::RunningApplication&) override { return false; }
    bool activate(const platform::RunningApplication&) override { return false; }
    bool hasVisibleWindow(const platform::RunningApplication&) override { return false; }
};

/// The real platform, with some of its parts replaced by a test's own. The real one is made on
/// first use, so that it finds the session a test has set up by then.
class TestPlatform final : public platform::Platform {
public:
    platform::InputAccess* inputAccessOverride = nullptr;
    platform::SystemKeys* systemKeysOverride = nullptr;
    platform::Windows* windowsOverride = nullptr;
    /// Stand in for the session's own unless a test clears them.
    RecordingMediaAndBrightness desktopServices;
    platform::MediaPlayers* mediaPlayersOverride = &desktopServices;
    platform::Brightness* brightnessOverride = &desktopServices;
    /// Makes the HID managers, e.g. a virtual pad's.
    std::function<std::unique_ptr<platform::HidManager>()> hidManagers;

    std::unique_ptr<platform::DirectoryWatcher> makeDirectoryWatcher() override {
        return real().makeDirectoryWatcher();
    }
    std::unique_ptr<platform::HidManager> makeHidManager() override {
        return hidManagers ? hidManagers() : real().makeHidManager();
    }
    std::unique_ptr<platform::FrontmostWatcher> makeFrontmostWatcher() override {
        return real().makeFrontmostWatcher();
    }
    std::unique_ptr<platform::Notifier> makeWakeWatcher() override {
        return real().makeWakeWatcher();
    }
    std::unique_ptr<platform::Notifier> makeAccessWatcher() override {
        return real().makeAccessWatcher();
    }
    std::unique_ptr<platform::Notifier> makeStopWatcher() override {
        return real().makeStopWatcher();
    }
    platform::Windows& windows() override {
        return windowsOverride != nullptr ? *windowsOverride : real().windows();
    }
    platform::Launcher& launcher() override { return real().launcher(); }
    platform::Desktop& desktop() override { return real().desktop(); }
    platform::DesktopSession& session() override { return real().session(); }
    platform::InputAccess& inputAccess() override {
        return inputAccessOverride != nullptr ? *inputAccessOverride : real().inputAccess();
    }
    const platform::Installation& installation() const override { return real().installation(); }
    platform::LaunchAtLogin& launchAtLogin() override { return real().launchAtLogin(); }
    platform::Processes& processes() override { return real().processes(); }
    platform::SystemKeys& systemKeys() override {
        return systemKeysOverride != nullptr ? *systemKeysOverride : real().systemKeys();
    }
    platform::MediaPlayers& mediaPlayers() override {
        return mediaPlayersOverride != nullptr ? *mediaPlayersOverride : real().mediaPlayers();
    }
    platform::Brightness& brightness() override {
        return brightnessOverride != nullptr ? *brightnessOverride : real().brightness();
    }
    platform::SystemVolume& systemVolume() override { return real().systemVolume(); }
    platform::SyntheticInput& syntheticInput() override { return real().syntheticInput(); }
    const platform::HidDiscovery& hidDiscovery() const override { return real().hidDiscovery(); }

private:
    platform::Platform& real() const {
        if (!real_) {
            real_ = platform::makePlatform();
        }
        return *real_;
    }

    mutable std::unique_ptr<platform::Platform> real_;
};

} // namespace ruvola::testing
