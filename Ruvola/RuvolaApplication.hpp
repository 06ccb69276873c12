#pragma once

#include "Ruvola/pad/PadConnection.hpp"
#include "Ruvola/tray/PanelModel.hpp"
#include "RuvolaCore/AppIdentity.hpp"
#include "RuvolaCore/BindingsFile.hpp"

#include <QIcon>
#include <QImage>
#include <QObject>

#include <array>
#include <functional>
#include <map>
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

/// What the host shares with the application once it runs: who we are, where the log goes, and
/// how to reach the host back.
struct ApplicationContext {
    AppIdentity identity;
    Logging* logger = nullptr;
    /// Redraws the tray icon and the panel from the application's state.
    std::function<void()> refreshHost = {};
    /// Puts the status panel away, as actions that open something else ask.
    std::function<void()> hidePanel = {};
    /// Explains to the user how to grant input access.
    std::function<void()> showAccessHelp = {};
};

/// Ties the program together: turns each pad input into the action bound to it, keeps the six
/// screen keys showing the right pictures for the frontmost application, follows the pad, the
/// bindings file, wake from sleep and input access, and supplies the tray's icon, description and
/// panel content. Lives on the main thread.
class RuvolaApplication final : public QObject {
public:
    /// `settings` holds the user's choices ("fineVolumeSteps", "askedForAccess").
    RuvolaApplication(platform::Platform& platform, QSettings& settings,
                      PadConnection::Status previewStatus = PadConnection::Status::searching(),
                      std::optional<BindingsFile> previewBindings = std::nullopt);
    ~RuvolaApplication() override;

    /// Brings everything up: the action runner, the bindings store, the pad connection, then the
    /// watchers of the frontmost application, wake from sleep and input access.
    void start(ApplicationContext context);
    /// Blanks and lets go of the pad and stops watching.
    void stop();

    std::string statusDescription() const;
    QIcon statusIcon() const;
    std::vector<PanelEntry> panelContent();

    /// The pictures the pad's keys were last sent, decoded and upright as the user sees them;
    /// null for a cleared key.
    std::array<QImage, 6> keyImages() const;

    /// The bindings in effect: the store's, else the preview's, else the defaults.
    const BindingsFile& currentBindings() const;
    /// The frontmost application's name and identifier, as "when" lists match them.
    std::vector<std::string> frontmostIdentifiers() const;

    /// Re-reads input access; on a change logs it, and relaunches once access is newly granted.
    void noteAccessChange();
    /// Called on wake from sleep: the pad has lost what it was shown.
    void wokeFromSleep();
    /// Called when another application comes to the front.
    void frontmostChanged();

    const PadConnection::Status& padStatus() const { return padStatus_; }
    const std::optional<PadControl>& lastControl() const { return lastControl_; }
    PadConnection* pad() { return pad_.get(); }
    BindingsStore* store() { return store_.get(); }
    ActionRunner* runner() { return runner_.get(); }

    /// How long after a notice of changed access it is read again.
    static constexpr std::chrono::milliseconds accessRecheckDelay{500};

private:
    void handle(const PadInput& input);
    void padStatusChanged(const PadConnection::Status& status);
    void bindingsChanged();
    void refresh();
    void updateScreens();
    void relaunchToApplyAccess();
    PanelRow controlsGroup();
    void info(const std::string& message) const;

    platform::Platform& platform_;
    QSettings& settings_;
    std::optional<ApplicationContext> context_;
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
    std::map<int, std::string> screensShowing_;
    std::array<std::vector<std::uint8_t>, 6> keyPictures_;
};

} // namespace ruvola
