#include "Ruvola/tray/MenubarHost.hpp"

#include "Ruvola/bindings/BindingsStore.hpp"
#include "Ruvola/host/Logging.hpp"
#include "Ruvola/platform/DesktopSession.hpp"
#include "Ruvola/platform/InputAccess.hpp"
#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/LaunchAtLogin.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/tray/PanelContent.hpp"
#include "Ruvola/tray/PanelContentView.hpp"
#include "Ruvola/tray/RuvolaMark.hpp"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QSettings>
#include <QVBoxLayout>

namespace ruvola {

namespace {

// Where the icon's visibility is kept between runs.
constexpr const char* iconVisibleKey = "RuvolaStatusItem/visible";
constexpr const char* askedForAccessKey = "askedForAccess";

QPixmap markPicture(int size) {
    QPixmap picture(size, size);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x2c, 0x2c, 0x2e));
    painter.drawPath(RuvolaMark::path(QRectF(0, 0, size, size)));
    return picture;
}

QLabel* centredLabel(const QString& text, int points, QFont::Weight weight, bool secondary) {
    auto* label = new QLabel(text);
    QFont font = label->font();
    font.setPointSize(points);
    font.setWeight(weight);
    label->setFont(font);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    if (secondary) {
        label->setForegroundRole(QPalette::PlaceholderText);
    }
    return label;
}

} // namespace

MenubarHost::MenubarHost(RuvolaApplication& application, Logging& logger, AppIdentity identity,
                         platform::Platform& platform, QSettings& settings, bool loginLaunch)
    : application_(application), logger_(logger), identity_(std::move(identity)),
      platform_(platform), settings_(settings), loginLaunch_(loginLaunch) {
    panel_.onHidden = [] {};
    connect(&application_, &RuvolaApplication::changed, this, &MenubarHost::refreshStatusItem);
}

MenubarHost::~MenubarHost() {
    // Until the panel first shows it, the view belongs to no window that would delete it.
    if (view_ && view_->parent() == nullptr) {
        delete view_;
    }
}

void MenubarHost::launch() {
    logger_.info("Starting " + identity_.name + " " + identity_.version + " (" + identity_.build +
                 ")");
    // A login launch leaves an icon the user hid hidden; any other launch brings it back.
    if (!settings_.value(iconVisibleKey, true).toBool() && !loginLaunch_) {
        settings_.setValue(iconVisibleKey, true);
    }
    // Made once a tray is there: the toolkit settles how it talks to a tray when an icon is
    // made, and never again, so an icon made before any tray would never show.
    trayWatch_.setInterval(trayCheckInterval);
    trayWatch_.callOnTimeout(this, [this] {
        if (dockIcon()) {
            trayWatch_.stop();
        }
    });
    if (!dockIcon()) {
        trayWatch_.start();
    }

    application_.start(logger_);
    started_ = true;
    refreshStatusItem();
    // Without a tray the panel is the only way in: it opens as a window.
    if (!tray_) {
        logger_.info("No tray on this desktop; the panel opens as a window");
        showPanelWindow();
    }
}

bool MenubarHost::dockIcon() {
    if (tray_) {
        return true;
    }
    if (!platform_.session().hasTray()) {
        return false;
    }
    tray_ = std::make_unique<QSystemTrayIcon>();
    connect(tray_.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Context) {
                    // Built anew each time, so it shows the current state.
                    std::unique_ptr<QMenu> menu = contextMenu();
                    QMenu* shown = menu.release();
                    shown->setAttribute(Qt::WA_DeleteOnClose);
                    shown->popup(QCursor::pos());
                } else if (reason == QSystemTrayIcon::Trigger) {
                    togglePanel();
                }
            });
    showStatus();
    tray_->setVisible(settings_.value(iconVisibleKey, true).toBool());
    return true;
}

void MenubarHost::reopen() {
    if (!settings_.value(iconVisibleKey, true).toBool()) {
        setIconVisible(true);
        logger_.info("Status item restored on reopen");
    }
    if (!tray_) {
        showPanelWindow();
    }
}

void MenubarHost::showPanelWindow() {
    if (!started_) {
        return;
    }
    PanelContentView* view = statusPanel();
    view->setKeyImages(application_.keyScreens().images());
    panel_.showAsWindow(view);
    // With no icon to right-click, the window's own right click offers the icon's menu.
    QWidget* window = panel_.window();
    if (window->contextMenuPolicy() != Qt::CustomContextMenu) {
        window->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(window, &QWidget::customContextMenuRequested, this, [this, window] {
            QMenu* shown = contextMenu().release();
            // A child of the window, which Wayland needs to place a popup.
            shown->setParent(window, shown->windowFlags());
            shown->setAttribute(Qt::WA_DeleteOnClose);
            shown->popup(QCursor::pos());
        });
    }
}

void MenubarHost::terminate() {
    panel_.hide();
    if (started_) {
        application_.stop();
        started_ = false;
    }
    logger_.info("Stopped " + identity_.name);
}

void MenubarHost::showStatus() {
    if (!tray_) {
        return;
    }
    tray_->setIcon(PanelContent::statusIcon(application_.padStatus()));
    tray_->setToolTip(QString::fromStdString(
        PanelContent::statusDescription(identity_.name, application_.padStatus())));
}

void MenubarHost::refreshStatusItem() {
    if (!started_) {
        return;
    }
    showStatus();
    PanelContentView* view = statusPanel();
    if (panel_.isVisible()) {
        panel_.setContent(view);
        view->refresh();
        view->setKeyImages(application_.keyScreens().images());
        panel_.position(panel_.anchor(), false);
    }
}

PanelContentView* MenubarHost::statusPanel() {
    if (!view_) {
        QPointer<MenubarHost> self(this);
        view_ = new PanelContentView(
            [self] { return self ? self->panelContent() : std::vector<PanelEntry>{}; },
            [this](bool animated) {
                if (panel_.isVisible()) {
                    panel_.position(panel_.anchor(), animated);
                }
            });
    }
    application_.noteAccessChange();
    return view_;
}

std::vector<PanelEntry> MenubarHost::panelContent() {
    platform::InputAccess& access = platform_.inputAccess();
    const PanelState state{
        .appName = identity_.name,
        .pad = application_.padStatus(),
        .bindings = application_.currentBindings(),
        .frontmost = application_.frontmostIdentifiers(),
        .lastControl = application_.lastControl(),
        .accessRemedy = access.isTrusted() ? std::nullopt : std::optional(access.remedy()),
        .fineVolumeSteps = application_.fineVolumeSteps(),
        .bindingsPath = BindingsStore::url(platform_.installation().homeDirectory()).string(),
    };
    QPointer<MenubarHost> self(this);
    PanelActions actions;
    actions.grantAccess = [self] {
        if (!self || !self->started_) {
            return;
        }
        self->settings_.setValue(askedForAccessKey, true);
        self->showAccessHelp();
        self->panel_.hide();
    };
    actions.toggleFineVolumeSteps = [self] {
        if (self) {
            self->application_.setFineVolumeSteps(!self->application_.fineVolumeSteps());
        }
    };
    actions.editBindings = [self] {
        if (self) {
            self->panel_.hide();
            self->application_.editBindings();
        }
    };
    return PanelContent::entries(state, actions);
}

void MenubarHost::togglePanel() {
    if (!started_) {
        return;
    }
    PanelContentView* view = statusPanel();
    view->setKeyImages(application_.keyScreens().images());
    panel_.toggle(view, tray_ ? tray_->geometry() : QRect());
}

std::unique_ptr<QMenu> MenubarHost::contextMenu() {
    auto menu = std::make_unique<QMenu>();
    platform::LaunchAtLogin& login = platform_.launchAtLogin();
    QAction* atLogin = menu->addAction("Launch at Login");
    atLogin->setCheckable(true);
    atLogin->setChecked(login.isEnabled());
    connect(atLogin, &QAction::triggered, this, [this, &login] {
        if (const auto error = login.setEnabled(!login.isEnabled())) {
            logger_.warning("Could not change Launch at Login: " + *error);
        }
    });
    menu->addSeparator();
    connect(menu->addAction("Hide Menu Bar Icon"), &QAction::triggered, this,
            [this] { hideIcon(); });
    const QString name = QString::fromStdString(identity_.name);
    connect(menu->addAction("About " + name), &QAction::triggered, this, [this] { showAbout(); });
    connect(menu->addAction("Quit " + name), &QAction::triggered, qApp, &QCoreApplication::quit);
    return menu;
}

void MenubarHost::hideIcon() {
    panel_.hide();
    setIconVisible(false);
    logger_.info("Status item hidden from the menu");
}

void MenubarHost::setIconVisible(bool visible) {
    settings_.setValue(iconVisibleKey, visible);
    if (tray_) {
        tray_->setVisible(visible);
    }
}

void MenubarHost::showAbout() {
    if (!about_) {
        about_ = std::make_unique<QDialog>();
        about_->setWindowTitle(QString::fromStdString("About " + identity_.name));
        about_->setFixedSize(430, 400);
        auto* layout = new QVBoxLayout(about_.get());
        layout->setContentsMargins(28, 24, 28, 24);
        layout->setSpacing(9);
        layout->addStretch();
        auto* icon = new QLabel;
        icon->setPixmap(markPicture(80));
        icon->setAlignment(Qt::AlignCenter);
        layout->addWidget(icon);
        layout->addWidget(
            centredLabel(QString::fromStdString(identity_.name), 24, QFont::DemiBold, false));
        layout->addWidget(centredLabel(
            QString::fromStdString("Version " + identity_.version + " (" + identity_.build + ")"),
            12, QFont::Normal, true));
        layout->addWidget(
            centredLabel(QString::fromStdString(identity_.tagline), 13, QFont::Normal, false));
        layout->addSpacing(7);
        layout->addWidget(centredLabel("Made to be installed once and forgotten.\nLight, quiet, "
                                       "and never in the way.",
                                       12, QFont::Normal, true));
        layout->addStretch();
    }
    about_->show();
    about_->raise();
    about_->activateWindow();
}

void MenubarHost::showAccessHelp() {
    // Not modal: the pad keeps working while it is open.
    auto* box = new QMessageBox(
        QMessageBox::Information, QString::fromStdString(identity_.name + ": input access"),
        QString::fromStdString("Volume keys with the desktop's own overlay, media keys, "
                               "keystrokes and typed text need input access. To grant it, " +
                               platform_.inputAccess().remedy() + "."));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->show();
}

} // namespace ruvola
