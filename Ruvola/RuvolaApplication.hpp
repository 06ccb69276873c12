#pragma once

#include "Ruvola/pad/KeyScreens.hpp"
#include "Ruvola/pad/PadConnection.hpp"
#include "RuvolaCore/BindingsFile.hpp"

#include <QObject>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QSettings;

namespace ruvola {

class ActionRunner;
class BindingsStore;
class Logging;

namespace platform {
class FrontmostWatcher;
class Notifier;
class Platform;
} // namespace platform

/// Ties the program together: turns each pad input into the action bound to it, keeps the six
/// screen keys showing the right pictures for the frontmost application, and follows the pad, the
/// bindings file, wake from sleep and input access. Lives on the main thread.
class RuvolaApplication final : public QObject {
    Q_OBJECT

public:
    /// `settings` holds the user's choice of "fineVolumeSteps".
    RuvolaApplication(platform::Platform& platform, QSettings& settings,
                      PadConnection::Status previewStatus = PadConnection::Status::searching(),
                      std::optional<BindingsFile> previewBindings = std::nullopt);
    ~RuvolaApplication() override;

    /// Brings everything up: the action runner, the bindings store, the pad connection, then the
    /// watchers of the frontmost application, wake from sleep and input access.
    void start(Logging& logger);
    /// Blanks and lets go of the pad and stops watching.
    void stop();

    /// The bindings in effect: the store's, else the preview's, else the defaults.
    const BindingsFile& currentBindings() const;
    /// The frontmost application's name and identifier, as "when" lists match them; read when
    /// it changes, not on each press.
    const std::vector<std::string>& frontmostIdentifiers() const { return frontmost_; }

    /// Whether a volume knob moves a quarter step per click; remembered in the settings.
    bool fineVolumeSteps() const;
    void setFineVolumeSteps(bool fine);
    /// Opens the bindings file for editing.
    void editBindings();

    /// Re-reads input access; on a change logs it, and relaunches once access is newly granted.
    void noteAccessChange();
    /// Called on wake from sleep: the pad has lost what it was shown.
    void wokeFromSleep();
    /// Called when another application comes to the front.
    void frontmostChanged();

    const PadConnection::Status& padStatus() const { return padStatus_; }
    const std::optional<PadControl>& lastControl() const { return lastControl_; }
    const KeyScreens& keyScreens() const { return screens_; }
    PadConnection* pad() { return pad_.get(); }
    BindingsStore* store() { return store_.get(); }
    ActionRunner* runner() { return runner_.get(); }

    /// How long after a notice of changed access it is read again.
    static constexpr std::chrono::milliseconds accessRecheckDelay{500};

signals:
    /// What the tray shows has changed: the pad, the bindings, the frontmost application, input
    /// access, the last touched control or a setting.
    void changed();

private:
    void handle(const PadInput& input);
    void padStatusChanged(const PadConnection::Status& status);
    void bindingsChanged();
    void updateScreens();
    void readFrontmost();
    void relaunchToApplyAccess();
    void info(const std::string& message) const;

    platform::Platform& platform_;
    QSettings& settings_;
    Logging* logger_ = nullptr;
    PadConnection::Status padStatus_;
    std::optional<BindingsFile> previewBindings_;
    std::unique_ptr<ActionRunner> runner_;
    std::unique_ptr<BindingsStore> store_;
    std::unique_ptr<PadConnection> pad_;
    std::unique_ptr<platform::FrontmostWatcher> frontmostWatcher_;
    std::unique_ptr<platform::Notifier> wakeWatcher_;
    std::unique_ptr<platform::Notifier> accessWatcher_;
    std::optional<bool> lastKnownAccess_;
    std::optional<PadControl> lastControl_;
    std::vector<std::string> frontmost_;
    KeyScreens screens_;
};

} // namespace ruvola
