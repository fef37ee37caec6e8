// The application: owns every long-lived service and window, starts them in order, holds the
// gate that keeps the window list idle until the session can be worked with, relaunches and
// saves state on the way out.
#include "shell/appdelegate.h"

#include "actions/actionrunner.h"
#include "logging.h"
#include "monitor/systemmonitorservice.h"
#include "platform/desktopobserver.h"
#include "platform/linux/relauncher.h"
#include "platform/preferencesstore.h"
#include "platform/scheduler.h"
#include "platform/systemfacts.h"
#include "platform/windowcontrol.h"
#include "services/notificationservice.h"
#include "services/updaterservice.h"
#include "services/usagetracker.h"
#include "settings/appsettings.h"
#include "settings/localizationmanager.h"
#include "shell/panelcontroller.h"
#include "shell/permissionwindow.h"
#include "shell/settingswindow.h"
#include "shell/trayicon.h"
#include "sidebar/whatsnewwindow.h"
#include "tracking/windowmanager.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>

namespace orvella::shell {

using namespace std::chrono_literals;

namespace {

constexpr auto kTrustPollInterval = 1s;
constexpr auto kWhatsNewDelay = 800ms;
constexpr auto kUrgentUpdateCheckDelay = 1s;
constexpr auto kBackgroundUpdateCheckDelay = 5s;
// Smaller than any window a person works in, larger than docks' and tools' slivers.
constexpr double kMinimumUsableSide = 40;

QString text(const char *key)
{
    return settings::LocalizationManager::shared().string(QString::fromLatin1(key));
}

} // namespace

AppDelegate::AppDelegate(AppParts parts, QObject *parent)
    : QObject(parent)
    , m_parts(std::move(parts))
    , m_scheduler(m_parts.scheduler ? *m_parts.scheduler : platform::Scheduler::system())
{
    platform::PreferencesStore &store = *m_parts.store;
    m_appSettings = std::make_unique<settings::AppSettings>(store);
    m_windowManager =
        std::make_unique<tracking::WindowManager>(m_parts.desktop, m_appSettings.get(), &store, m_scheduler);
    m_updaterService =
        std::make_unique<services::UpdaterService>(store, m_parts.updateFeedURL, m_parts.version);
    m_usageTracker = std::make_unique<services::UsageTracker>(store);
    m_telemetryService = std::make_unique<services::TelemetryService>(store, m_parts.telemetry);
    m_notificationService = std::make_unique<services::NotificationService>();
    m_systemMonitor = std::make_unique<monitor::SystemMonitorService>(
        m_parts.systemFacts, m_parts.externalAddressURL, m_scheduler);
    if (m_parts.observer)
        m_windowManager->setObserver(m_parts.observer.get());
    if (m_parts.control)
        actions::ActionRunner::attach(*m_windowManager, m_parts.control);
    if (m_parts.withPanel) {
        m_panel = std::make_unique<PanelController>(*m_windowManager, *m_appSettings, store,
                                                    std::move(m_parts.panelHost), m_scheduler);
        connect(m_panel.get(), &PanelController::visibilityChanged, this, &AppDelegate::setSidebarVisible);
        connect(m_panel.get(), &PanelController::isAutoSplitActiveChanged, this,
                &AppDelegate::isAutoSplitActiveChanged);
    }
}

AppDelegate::~AppDelegate()
{
    if (m_observing)
        m_windowManager->stopObserving();
    m_systemMonitor->stop();
    delete m_permissionWindow;
    delete m_whatsNewWindow;
}

void AppDelegate::applicationDidFinishLaunching()
{
    qCInfo(lcShell) << "[OV] applicationDidFinishLaunching called";
    m_appSettings->applyAppearanceMode();
    m_updaterService->start();
    if (m_panel)
        m_panel->restoreLastScreen();
    qCInfo(lcShell).noquote() << QStringLiteral("[OV] app-launch sidebarScreen=%1 rememberLastScreen=%2")
                                     .arg(m_appSettings->sidebarScreen(), m_appSettings->rememberLastScreen()
                                                                              ? QStringLiteral("true")
                                                                              : QStringLiteral("false"));
    m_windowManager->restoreState();
    if (m_panel) {
        m_panel->setViewObjects(
            {{QStringLiteral("app"), QVariant::fromValue(this)},
             {QStringLiteral("notifications"), QVariant::fromValue(m_notificationService.get())}});
        m_panel->launchSidebar();
    }
    followSystemMonitorDisplay();
    if (m_parts.withTray) {
        TrayActions actions;
        actions.toggleSidebar = [this] { toggleSidebar(); };
        actions.showDesktop = [this] { m_windowManager->toggleShowDesktop(); };
        actions.openSettings = [this] { openSettings(); };
        actions.openWhatsNew = [this] { openWhatsNew(); };
        actions.relaunch = [this] { relaunchApp(false); };
        actions.quit = [this] { quit(0); };
        m_trayIcon = std::make_unique<TrayIcon>(*m_appSettings, *m_systemMonitor, actions);
        m_trayIcon->setSidebarVisible(m_sidebarVisible);
    }
    connect(m_windowManager.get(), &tracking::WindowManager::relaunchRequested, this, [this] {
        qCInfo(lcShell) << "[OV] received ovRequestRelaunch; relaunching";
        relaunchApp(false);
    });
    m_usageTracker->recordLaunch();
    m_telemetryService->recordLifecycleEvents();

    if (shouldPresentWhatsNewOnLaunch()) {
        m_pendingWhatsNewPresentation = true;
        m_scheduler.schedule(kWhatsNewDelay, this, [this] {
            if (m_pendingWhatsNewPresentation && !m_permissionWindow)
                presentWhatsNewIfPending();
        });
    }
    announceMilestone();

    m_updaterService->clearPendingUrgentUpdateIfInstalled();
    if (m_updaterService->pendingUrgentUpdateVersion())
        m_scheduler.schedule(kUrgentUpdateCheckDelay, this, [this] { m_updaterService->checkForUpdates(); });
    else
        m_scheduler.schedule(kBackgroundUpdateCheckDelay, this,
                             [this] { m_updaterService->checkForUpdatesInBackground(); });

    subscribe();
    checkAccessibilityWithRetry(6, 1500ms, 1);
}

void AppDelegate::announceMilestone()
{
    if (const std::optional<int> days = m_usageTracker->checkMilestone()) {
        const QString title =
            settings::LocalizationManager::shared().string(services::UsageTracker::milestoneKey(*days));
        const QString body = QStringLiteral("%1: %2").arg(
            text("usage.daysUsed"), QString::number(m_usageTracker->daysSinceFirstLaunch()));
        m_notificationService->showSystemNotification(title, body, QStringLiteral("milestone_%1").arg(*days));
    }
    if (m_usageTracker->shouldSuggestShare()) {
        m_usageTracker->markShareSuggested();
        // Sharing on a Linux desktop means a line to paste where the user likes.
        m_notificationService->showBanner(
            text("share.suggestion"), services::NotificationService::BannerType::Milestone,
            text("share.text"), text("share.button"),
            [] { QGuiApplication::clipboard()->setText(text("share.message")); });
    }
}

void AppDelegate::subscribe()
{
    tracking::WindowManager *manager = m_windowManager.get();
    settings::AppSettings *settings = m_appSettings.get();
    connect(m_updaterService.get(), &services::UpdaterService::updateAvailableChanged, this, [this] {
        if (!m_updaterService->updateAvailable())
            return;
        m_notificationService->showBanner(
            settings::LocalizationManager::shared().formatted(QStringLiteral("update.available"),
                                                              {m_updaterService->availableVersion()}),
            services::NotificationService::BannerType::Update, text("update.clickToInstall"),
            text("update.button"), [this] { m_updaterService->openReleasePage(); });
    });
    connect(settings, &settings::AppSettings::showAllWindowsInAppSectionChanged, manager,
            &tracking::WindowManager::buildCategories);
    connect(settings, &settings::AppSettings::showClosedShelfAppsChanged, manager,
            &tracking::WindowManager::buildCategories);
    connect(manager, &tracking::WindowManager::windowsChanged, this,
            [this] { maybeRevealSidebarAfterLaunch(m_windowManager->windows()); });
    connect(settings, &settings::AppSettings::systemMonitorIntervalChanged, this, [this] {
        if (m_systemMonitor->isRunning())
            m_systemMonitor->restart(m_appSettings->systemMonitorInterval());
    });
    connect(settings, &settings::AppSettings::systemMonitorDisplayChanged, this,
            &AppDelegate::followSystemMonitorDisplay);
    connect(manager, &tracking::WindowManager::showsTrustBannerChanged, this,
            &AppDelegate::followTrustBanner);
    if (m_parts.observer) {
        connect(m_parts.observer.get(), &platform::DesktopObserver::desktopEvent, this,
                [this](const platform::DesktopEvent &event) {
                    if (event.kind == platform::DesktopEvent::Kind::WindowManagerChanged)
                        accessibilitySettingsChanged();
                });
    }
    followTrustBanner();
}

void AppDelegate::followSystemMonitorDisplay()
{
    const bool wanted = m_appSettings->systemMonitorDisplay() != QLatin1String("off");
    if (wanted && !m_systemMonitor->isRunning())
        m_systemMonitor->start(m_appSettings->systemMonitorInterval());
    else if (!wanted && m_systemMonitor->isRunning())
        m_systemMonitor->stop();
    updateSystemMonitorPauseState();
}

void AppDelegate::followTrustBanner()
{
    using Type = services::NotificationService::BannerType;
    if (m_windowManager->showsTrustBanner()) {
        m_notificationService->showBanner(text("banner.x11Required"), Type::Warning,
                                          text("banner.x11Required.subtitle"));
    } else if (m_notificationService->currentBannerType() == Type::Warning) {
        m_notificationService->dismissBanner();
    }
}

// --- the trust gate ---------------------------------------------------------------------

void AppDelegate::checkAccessibilityWithRetry(int attempts, std::chrono::milliseconds interval, int attempt)
{
    m_scheduler.schedule(interval, this, [this, attempts, interval, attempt] {
        if (m_parts.desktop->isTrusted()) {
            onAccessibilityBecameTrusted();
            return;
        }
        if (attempt < attempts) {
            checkAccessibilityWithRetry(attempts, interval, attempt + 1);
            return;
        }
        m_windowManager->refresh(); // counts what the window server has, and raises the banner
        if (m_parts.store->boolValue(QStringLiteral("axWasGrantedBefore")).value_or(false)) {
            qCInfo(lcShell) << "[OV] AX not trusted after update — requesting silently";
            qCInfo(lcShell)
                << "[OV] there is nothing to request from an X session; waiting for a window manager";
        } else {
            showPermissionOnboarding();
        }
        startAXPolling();
    });
}

void AppDelegate::startAXPolling()
{
    m_pollGeneration = ++m_pollCount;
    pollTrust(m_pollGeneration);
}

void AppDelegate::pollTrust(quint64 generation)
{
    m_scheduler.schedule(kTrustPollInterval, this, [this, generation] {
        if (m_pollGeneration != generation)
            return;
        if (m_parts.desktop->isTrusted())
            onAccessibilityBecameTrusted();
        else
            pollTrust(generation);
    });
}

void AppDelegate::accessibilitySettingsChanged()
{
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (m_parts.desktop->isTrusted())
                onAccessibilityBecameTrusted();
        },
        Qt::QueuedConnection);
}

void AppDelegate::onAccessibilityBecameTrusted()
{
    m_pollGeneration = 0;
    m_parts.store->setBool(QStringLiteral("axWasGrantedBefore"), true);
    qCInfo(lcShell) << "[OV] AX trusted — activating sidebar";
    m_windowManager->refresh(false);
    startObserving();
    if (m_permissionWindow) {
        m_permissionWindow->close();
        delete m_permissionWindow;
    }
    showSidebar();
    if (m_pendingWhatsNewPresentation && !m_permissionWindow)
        presentWhatsNewIfPending();
}

void AppDelegate::startObserving()
{
    if (m_observing || !m_parts.observer)
        return;
    m_observing = true;
    m_windowManager->startObserving();
}

void AppDelegate::showPermissionOnboarding()
{
    if (m_permissionWindow)
        return;
    // A Wayland session lends X only to the applications that run through XWayland.
    const bool wayland = qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland")
                         || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
    auto *window = new PermissionWindow(wayland ? PermissionWindow::Reason::WaylandOnly
                                                : PermissionWindow::Reason::NoWindowManager,
                                        [this] { relaunchApp(false); });
    window->setAttribute(Qt::WA_DeleteOnClose);
    m_permissionWindow = window;
    window->show();
}

// --- What's New ------------------------------------------------------------------------

static QString whatsNewKey(const QString &version)
{
    return QStringLiteral("ov_whatsNewShown_") + (version.isEmpty() ? QStringLiteral("0") : version);
}

bool AppDelegate::shouldPresentWhatsNewOnLaunch() const
{
    return !m_parts.store->boolValue(whatsNewKey(m_parts.version)).value_or(false);
}

void AppDelegate::markWhatsNewShownForCurrentVersion()
{
    m_parts.store->setBool(whatsNewKey(m_parts.version), true);
}

void AppDelegate::presentWhatsNewIfPending()
{
    m_pendingWhatsNewPresentation = false;
    markWhatsNewShownForCurrentVersion();
    openWhatsNew();
}

void AppDelegate::openWhatsNew()
{
    if (!m_whatsNewWindow) {
        auto *window = new sidebar::WhatsNewWindow;
        window->setAttribute(Qt::WA_DeleteOnClose);
        m_whatsNewWindow = window;
    }
    m_whatsNewWindow->show();
    m_whatsNewWindow->raise();
}

void AppDelegate::openSettings()
{
    if (!m_settingsWindow)
        m_settingsWindow = std::make_unique<SettingsWindow>(*this);
    m_settingsWindow->open();
}

// --- the sidebar and the monitor ---------------------------------------------------------

void AppDelegate::maybeRevealSidebarAfterLaunch(const QList<tracking::WindowItem> &windows)
{
    if (!m_pendingInitialSidebarReveal || m_permissionWindow)
        return;
    for (const tracking::WindowItem &w : windows) {
        if (w.isMinimized || w.id.endsWith(QLatin1String("-ghost")))
            continue;
        m_pendingInitialSidebarReveal = false;
        showSidebar();
        return;
    }
}

bool AppDelegate::hasVisibleUserWindows() const
{
    return hasVisibleUserWindows(m_parts.desktop->readSnapshot().serverWindows, m_parts.desktop->ownPid());
}

bool AppDelegate::hasVisibleUserWindows(const std::optional<QList<platform::ServerWindow>> &windows,
                                        qint32 ownPid)
{
    if (!windows)
        return false;
    return std::any_of(windows->begin(), windows->end(), [ownPid](const platform::ServerWindow &w) {
        return w.onScreen && w.layer == 0 && w.ownerPid != ownPid && w.bounds.width() >= kMinimumUsableSide
               && w.bounds.height() >= kMinimumUsableSide;
    });
}

void AppDelegate::updateSystemMonitorPauseState()
{
    const QString display = m_appSettings->systemMonitorDisplay();
    if (display == QLatin1String("off"))
        return;
    if (display == QLatin1String("menubar") || display == QLatin1String("both")) {
        m_systemMonitor->setPaused(false);
        return;
    }
    m_systemMonitor->setPaused(!m_sidebarVisible && !isSystemDetailPanelVisible());
}

void AppDelegate::showSidebar()
{
    if (m_panel)
        m_panel->showSidebar();
    else
        setSidebarVisible(true);
}

void AppDelegate::hideSidebar()
{
    if (m_panel)
        m_panel->hideSidebar();
    else
        setSidebarVisible(false);
}

bool AppDelegate::dragHintDismissed() const
{
    return m_parts.store->boolValue(QStringLiteral("ov.dragHintDismissed")).value_or(false);
}

void AppDelegate::setDragHintDismissed(bool dismissed)
{
    if (dismissed == dragHintDismissed())
        return;
    m_parts.store->setBool(QStringLiteral("ov.dragHintDismissed"), dismissed);
    emit dragHintDismissedChanged();
}

void AppDelegate::cycleSidebarToNextScreen()
{
    if (m_panel)
        m_panel->cycleSidebarToNextScreen();
}

void AppDelegate::headerBarClicked(bool doubleClick)
{
    if (m_headerCooldown)
        return;
    m_headerCooldown = true;
    QPointer<AppDelegate> self(this);
    const auto done = [self] {
        if (self)
            self->m_headerCooldown = false;
    };
    const bool started = doubleClick ? m_windowManager->showDesktopSaveAndMinimize(done)
                                     : m_windowManager->showDesktopRestore(done);
    if (!started)
        m_headerCooldown = false;
}

void AppDelegate::refreshFromSidebar()
{
    const bool trusted = m_parts.desktop->isTrusted();
    const QString state = trusted ? QStringLiteral("on") : QStringLiteral("off");
    qCInfo(lcShell).noquote() << "[OV] Refresh clicked — AX trusted="
                                     + QString::fromLatin1(trusted ? "true" : "false");
    const auto &strings = settings::LocalizationManager::shared();
    m_notificationService->showBanner(strings.formatted(QStringLiteral("banner.refreshing"), {state}),
                                      services::NotificationService::BannerType::Info);
    if (!trusted) {
        // Without a window manager there is nothing to scan: the warning says what is missing.
        followTrustBanner();
        return;
    }
    qCInfo(lcShell) << "[OV] Refresh → AX trusted; hardRefresh()";
    m_windowManager->hardRefresh();
    m_scheduler.schedule(1s, this, [this, state] {
        const int windows = int(m_windowManager->windows().size());
        const int likely = m_windowManager->lastLikelyCGWindowCount();
        m_notificationService->showBanner(settings::LocalizationManager::shared().formatted(
                                              QStringLiteral("banner.refreshResult"),
                                              {state, QString::number(windows), QString::number(likely)}),
                                          services::NotificationService::BannerType::Info);
        if (windows == 0 && likely >= 1) {
            qCInfo(lcShell) << "[OV] Refresh → still empty but CG sees windows; relaunching";
            relaunchApp(false);
        }
    });
}

bool AppDelegate::isAutoSplitActive() const
{
    return m_panel && m_panel->isAutoSplitActive();
}

void AppDelegate::setSidebarVisible(bool visible)
{
    if (m_sidebarVisible == visible)
        return;
    m_sidebarVisible = visible;
    // A hidden sidebar needs the window list less often.
    const tracking::TrackingState &state = m_windowManager->state();
    m_windowManager->setRefreshInterval(visible ? state.fastRefreshInterval : state.hiddenRefreshInterval);
    if (m_trayIcon)
        m_trayIcon->setSidebarVisible(visible);
    updateSystemMonitorPauseState();
    emit sidebarVisibleChanged();
}

void AppDelegate::toggleSidebar()
{
    m_sidebarVisible ? hideSidebar() : showSidebar();
}

// --- leaving -----------------------------------------------------------------------------

void AppDelegate::applicationWillTerminate()
{
    if (m_terminated)
        return;
    m_terminated = true;
    if (m_panel)
        m_panel->saveCurrentScreen();
    m_windowManager->persistState();
    m_parts.store->flush();
    qCInfo(lcShell) << "[OV] state saved; leaving";
}

void AppDelegate::quit(int status)
{
    applicationWillTerminate();
    QCoreApplication::exit(status);
}

void AppDelegate::relaunchApp(bool resetAX)
{
    qCInfo(lcShell).noquote() << QStringLiteral("[OV] relaunchApp(resetAX: %1) — scheduling relaunch for: %2")
                                     .arg(resetAX ? QStringLiteral("true") : QStringLiteral("false"),
                                          m_parts.executable);
    if (resetAX)
        qCInfo(lcShell) << "[OV] an X session grants no access to reset; relaunching only";
    if (m_parts.executable.isEmpty()) {
        qCWarning(lcShell) << "[OV] relaunchApp() — no program to start again; staying";
        return;
    }
    if (!platform::relauncher::startDetached(
            platform::relauncher::relaunchCommand(m_parts.executable, m_parts.arguments)))
        return;
    emit relaunching();
    qCInfo(lcShell) << "[OV] relaunchApp() — terminating current instance";
    quit(0);
}

} // namespace orvella::shell
