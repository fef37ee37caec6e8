// The application: owns every long-lived service and window, starts them in order, holds the
// gate that keeps the window list idle until the session can be worked with, relaunches and
// saves state on the way out.
#pragma once

#include "platform/desktop.h"
#include "platform/panelhost.h"
#include "services/telemetryservice.h"

#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QWidget>

#include <chrono>
#include <memory>

namespace orvella::platform {
class DesktopObserver;
class PreferencesStore;
class Scheduler;
class SystemFacts;
class WindowControl;
} // namespace orvella::platform
namespace orvella::settings {
class AppSettings;
}
namespace orvella::tracking {
class WindowManager;
struct WindowItem;
} // namespace orvella::tracking
namespace orvella::monitor {
class SystemMonitorService;
}
namespace orvella::services {
class NotificationService;
class UpdaterService;
class UsageTracker;
} // namespace orvella::services

namespace orvella::shell {

class PanelController;
class SettingsWindow;
class TrayIcon;

/// What the application runs on: the real session in main(), a simulated one in tests.
struct AppParts
{
    std::shared_ptr<platform::Desktop> desktop;
    std::unique_ptr<platform::DesktopObserver> observer; ///< may be absent: no live updates
    std::shared_ptr<platform::WindowControl> control;    ///< may be absent: window verbs refused
    std::unique_ptr<platform::PreferencesStore> store;
    std::shared_ptr<const platform::SystemFacts> systemFacts;
    QUrl externalAddressURL;
    QUrl updateFeedURL;
    services::TelemetryOptions telemetry;
    platform::Scheduler *scheduler = nullptr; ///< null: real time
    QString version = QStringLiteral(ORVELLA_VERSION);
    /// Where to start the program again and with which arguments; empty: relaunch refused.
    QString executable;
    QStringList arguments;
    /// Show the tray icon (tests run without one).
    bool withTray = true;
    /// Build the sidebar panel (tests of the start-up alone run without one).
    bool withPanel = true;
    /// Docks the panel; may be absent: the panel is then a plain window.
    std::unique_ptr<platform::PanelHost> panelHost;
};

class AppDelegate : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isAutoSplitActive READ isAutoSplitActive NOTIFY isAutoSplitActiveChanged)
    Q_PROPERTY(bool sidebarVisible READ isSidebarVisible NOTIFY sidebarVisibleChanged)
    /// The drag hint under the shelves was closed for good.
    Q_PROPERTY(bool dragHintDismissed READ dragHintDismissed WRITE setDragHintDismissed NOTIFY
                   dragHintDismissedChanged)
public:
    /// Builds the window manager, settings and updater, in that order, and the other services.
    explicit AppDelegate(AppParts parts, QObject *parent = nullptr);
    ~AppDelegate() override;

    tracking::WindowManager &windowManager() { return *m_windowManager; }
    settings::AppSettings &appSettings() { return *m_appSettings; }
    services::NotificationService &notificationService() { return *m_notificationService; }
    services::UpdaterService &updaterService() { return *m_updaterService; }
    services::UsageTracker &usageTracker() { return *m_usageTracker; }
    monitor::SystemMonitorService &systemMonitor() { return *m_systemMonitor; }
    services::TelemetryService &telemetryService() { return *m_telemetryService; }
    platform::PreferencesStore &store() { return *m_parts.store; }
    /// Absent when the session offers no way to act on windows.
    platform::WindowControl *windowControl() const { return m_parts.control.get(); }

    /// The start-up sequence, once the event loop runs.
    void applicationDidFinishLaunching();
    /// Saves what must outlive the process; called once on every way out.
    void applicationWillTerminate();
    /// Saves and leaves the event loop with `status`.
    void quit(int status = 0);
    /// Starts the same program again shortly after this one has gone, and ends this one.
    Q_INVOKABLE void relaunchApp(bool resetAX);

    // The gate: nothing reads windows until the X session has a window manager Orvella can use.
    void checkAccessibilityWithRetry(int attempts, std::chrono::milliseconds interval, int attempt);
    void startAXPolling();
    void onAccessibilityBecameTrusted();
    void accessibilitySettingsChanged();
    bool isPollingTrust() const { return m_pollGeneration != 0; }
    QWidget *permissionWindow() const { return m_permissionWindow; }
    QWidget *whatsNewWindow() const { return m_whatsNewWindow; }

    bool shouldPresentWhatsNewOnLaunch() const;
    void markWhatsNewShownForCurrentVersion();
    void openWhatsNew();
    /// The settings window, built on first use and raised after.
    Q_INVOKABLE void openSettings();
    /// Null until the settings window is first opened.
    SettingsWindow *settingsWindow() const { return m_settingsWindow.get(); }

    void maybeRevealSidebarAfterLaunch(const QList<tracking::WindowItem> &windows);
    /// Whether another process shows a window of a usable size on the current desktop.
    /// Reads the whole desktop: call it from a worker, not from the main thread.
    bool hasVisibleUserWindows() const;
    static bool hasVisibleUserWindows(const std::optional<QList<platform::ServerWindow>> &windows,
                                      qint32 ownPid);
    void updateSystemMonitorPauseState();

    bool isSidebarVisible() const { return m_sidebarVisible; }
    Q_INVOKABLE void showSidebar();
    /// The user's hide; windows moved out of the sidebar's way go back.
    Q_INVOKABLE void hideSidebar();
    Q_INVOKABLE void toggleSidebar();
    bool dragHintDismissed() const;
    void setDragHintDismissed(bool dismissed);
    Q_INVOKABLE void cycleSidebarToNextScreen();
    /// A click on the sidebar's header bar outside its buttons: a double click minimises every
    /// window, a single one brings them back; clicks while one runs are ignored.
    Q_INVOKABLE void headerBarClicked(bool doubleClick);
    /// The sidebar's refresh button: a hard refresh and, a second later, what it found.
    Q_INVOKABLE void refreshFromSidebar();
    bool isAutoSplitActive() const;
    /// Absent when the application runs without a panel.
    PanelController *panel() const { return m_panel.get(); }
    bool isInitialSidebarRevealPending() const { return m_pendingInitialSidebarReveal; }
    /// Whether the detail panel of the system monitor is on screen (it comes with the panel).
    bool isSystemDetailPanelVisible() const { return false; }

signals:
    void isAutoSplitActiveChanged();
    void sidebarVisibleChanged();
    void dragHintDismissedChanged();
    /// Just before a relaunch ends this process: whoever holds the session's single-instance
    /// name lets go of it now, so that the new process can take it.
    void relaunching();

private:
    void subscribe();
    void setSidebarVisible(bool visible);
    void pollTrust(quint64 generation);
    void startObserving();
    void showPermissionOnboarding();
    void followTrustBanner();
    void followSystemMonitorDisplay();
    void presentWhatsNewIfPending();
    void announceMilestone();

    AppParts m_parts;
    platform::Scheduler &m_scheduler;
    std::unique_ptr<tracking::WindowManager> m_windowManager;
    std::unique_ptr<settings::AppSettings> m_appSettings;
    std::unique_ptr<services::UpdaterService> m_updaterService;
    std::unique_ptr<services::UsageTracker> m_usageTracker;
    std::unique_ptr<services::TelemetryService> m_telemetryService;
    std::unique_ptr<services::NotificationService> m_notificationService;
    std::unique_ptr<monitor::SystemMonitorService> m_systemMonitor;
    std::unique_ptr<TrayIcon> m_trayIcon;
    std::unique_ptr<PanelController> m_panel;
    std::unique_ptr<SettingsWindow> m_settingsWindow;
    QPointer<QWidget> m_permissionWindow;
    QPointer<QWidget> m_whatsNewWindow;
    quint64 m_pollGeneration = 0; ///< 0: not polling; a new value cancels the running poll
    quint64 m_pollCount = 0;
    bool m_observing = false;
    bool m_sidebarVisible = false;
    bool m_pendingInitialSidebarReveal = true;
    bool m_pendingWhatsNewPresentation = false;
    bool m_terminated = false;
    bool m_headerCooldown = false;
};

} // namespace orvella::shell
