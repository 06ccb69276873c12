#pragma once

#include "Ruvola/platform/Applications.hpp"
#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "Ruvola/platform/HidManager.hpp"
#include "Ruvola/platform/InputAccess.hpp"
#include "Ruvola/platform/LaunchAtLogin.hpp"
#include "Ruvola/platform/Notifier.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/platform/SystemKeys.hpp"

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
        Key key;
        bool fine;
        Tap tap;
        bool operator==(const Press&) const = default;
    };
    std::vector<Press> presses;
    std::function<void(const Press&)> effect;

    void press(Key key, bool fine, Tap tap) override {
        presses.push_back({key, fine, tap});
        if (effect) {
            effect(presses.back());
        }
    }
    std::string systemName() const override { return "The desktop"; }
};

/// Applications as a test sets them: one frontmost, nothing else running.
class FakeApplications final : public platform::Applications {
public:
    std::optional<platform::RunningApplication> front;

    std::optional<platform::RunningApplication> frontmost() override { return front; }
    std::vector<platform::RunningApplication> running() override {
        return front ? std::vector{*front} : std::vector<platform::RunningApplication>{};
    }
    bool hide(const platform::RunningApplication&) override { return false; }
    bool activate(const platform::RunningApplication&) override { return false; }
    bool hasVisibleWindow(const platform::RunningApplication&) override { return false; }
    bool isFileManager(const platform::RunningApplication&) override { return false; }
    ActionCompletion launch(const std::string&, const platform::ApplicationMatch&) override {
        return ActionCompletion::succeeded();
    }
    ActionCompletion reopen(const platform::RunningApplication&) override {
        return ActionCompletion::succeeded();
    }
};

/// The real platform, with some of its parts replaced by a test's own.
class TestPlatform final : public platform::Platform {
public:
    platform::InputAccess* inputAccessOverride = nullptr;
    platform::SystemKeys* systemKeysOverride = nullptr;
    platform::Applications* applicationsOverride = nullptr;
    /// Makes the HID managers, e.g. a virtual pad's.
    std::function<std::unique_ptr<platform::HidManager>()> hidManagers;
    platform::LaunchAtLogin* launchAtLoginOverride = nullptr;
    /// Make the wake and access watchers, e.g. ones a test fires itself.
    std::function<std::unique_ptr<platform::Notifier>()> wakeWatchers;
    std::function<std::unique_ptr<platform::Notifier>()> accessWatchers;

    std::unique_ptr<platform::DirectoryWatcher> makeDirectoryWatcher() override {
        return real_->makeDirectoryWatcher();
    }
    std::unique_ptr<platform::HidManager> makeHidManager() override {
        return hidManagers ? hidManagers() : real_->makeHidManager();
    }
    std::unique_ptr<platform::FrontmostWatcher> makeFrontmostWatcher() override {
        return real_->makeFrontmostWatcher();
    }
    std::unique_ptr<platform::Notifier> makeWakeWatcher() override {
        return wakeWatchers ? wakeWatchers() : real_->makeWakeWatcher();
    }
    std::unique_ptr<platform::Notifier> makeAccessWatcher() override {
        return accessWatchers ? accessWatchers() : real_->makeAccessWatcher();
    }
    std::unique_ptr<platform::Notifier> makeStopWatcher() override {
        return real_->makeStopWatcher();
    }
    platform::Applications& applications() override {
        return applicationsOverride != nullptr ? *applicationsOverride : real_->applications();
    }
    platform::Desktop& desktop() override { return real_->desktop(); }
    platform::InputAccess& inputAccess() override {
        return inputAccessOverride != nullptr ? *inputAccessOverride : real_->inputAccess();
    }
    const platform::Installation& installation() const override { return real_->installation(); }
    platform::LaunchAtLogin& launchAtLogin() override {
        return launchAtLoginOverride != nullptr ? *launchAtLoginOverride : real_->launchAtLogin();
    }
    platform::Processes& processes() override { return real_->processes(); }
    platform::SystemKeys& systemKeys() override {
        return systemKeysOverride != nullptr ? *systemKeysOverride : real_->systemKeys();
    }
    platform::SystemVolume& systemVolume() override { return real_->systemVolume(); }
    platform::SyntheticInput& syntheticInput() override { return real_->syntheticInput(); }
    const platform::HidDiscovery& hidDiscovery() const override { return real_->hidDiscovery(); }

private:
    std::unique_ptr<platform::Platform> real_ = platform::makePlatform();
};

} // namespace ruvola::testing
