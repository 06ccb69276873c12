#pragma once

#include "Ruvola/RuvolaApplication.hpp"
#include "Ruvola/tray/PanelModel.hpp"
#include "Ruvola/tray/StatusPanel.hpp"
#include "RuvolaCore/AppIdentity.hpp"

#include <QObject>
#include <QPointer>
#include <QSystemTrayIcon>
#include <QTimer>

#include <chrono>
#include <memory>
#include <vector>

class QDialog;
class QMenu;
class QSettings;

namespace ruvola {

class Logging;
class PanelContentView;

namespace platform {
class LaunchAtLogin;
class Platform;
} // namespace platform

/// The tray face of the program: the icon, its panel on a left click and a small menu on a
/// right click, the About window, launch at login, and hiding and restoring the icon. Owns the
/// application's start and stop.
class MenubarHost final : public QObject {
public:
    /// `settings` remembers the icon's visibility; `loginLaunch` says the desktop started us at
    /// login, when a hidden icon stays hidden.
    MenubarHost(RuvolaApplication& application, Logging& logger, AppIdentity identity,
                platform::Platform& platform, QSettings& settings, bool loginLaunch);
    ~MenubarHost() override;

    /// Shows the icon and starts the application; without a tray, opens the panel as a window.
    void launch();
    /// Another launch of the program while this one runs: shows a hidden icon again, and the
    /// panel as a window where there is no tray.
    void reopen();
    /// Stops the application; the last thing before the process ends.
    void terminate();

    /// Redraws the icon and, while it is open, the panel.
    void refreshStatusItem();
    void showStatus();
    /// The panel's lines, from the application's current state.
    std::vector<PanelEntry> panelContent();
    void showAbout();
    /// The right click's menu, built from the current state.
    std::unique_ptr<QMenu> contextMenu();
    void hideIcon();
    void togglePanel();
    void showPanelWindow();

    /// Null until a tray is there to show it.
    QSystemTrayIcon* trayIcon() const { return tray_.get(); }
    StatusPanelController& panel() { return panel_; }
    PanelContentView* panelView() const { return view_; }

private:
    PanelContentView* statusPanel();
    void showAccessHelp();
    void setIconVisible(bool visible);
    /// Makes the icon if a tray is there now; whether there is one.
    bool dockIcon();

    RuvolaApplication& application_;
    Logging& logger_;
    const AppIdentity identity_;
    platform::Platform& platform_;
    QSettings& settings_;
    const bool loginLaunch_;
    std::unique_ptr<QSystemTrayIcon> tray_;
    StatusPanelController panel_;
    QPointer<PanelContentView> view_;
    std::unique_ptr<QDialog> about_;
    /// Looks for a tray while there is none; stopped for good once there is one.
    QTimer trayWatch_;
    static constexpr std::chrono::seconds trayCheckInterval{2};
    bool started_ = false;
};

} // namespace ruvola
