// An in-memory desktop for deterministic tests of the tracking core.
#pragma once

#include "platform/desktop.h"
#include "platform/windowcontrol.h"

#include <QMutex>
#include <QWaitCondition>

namespace orvella::platform::sim {

/**
 * Applications, their windows (topmost first), focus and the window-server list, all
 * set by the test. Failure switches reproduce what real desktops do: an application
 * whose window list cannot be read, a window that vanishes between the two lists, a
 * window-server list that cannot be read, and reads held back so that refreshes
 * overlap. As the write seam it applies changes at once, except where a window
 * refuses them (a minimum size, ignoring close requests), and notes each call in a
 * log. Thread-safe: readSnapshot() runs on the refresh pool, the writes on the action lane.
 */
class SimulatedDesktop final : public Desktop, public WindowControl
{
public:
    struct Window
    {
        qint64 number = 0;
        QString title;
        QRectF frame{100, 100, 800, 600};
        bool minimized = false;
        /// False: the application does not report the number (matched by title or frame).
        bool reportsNumber = true;
        /// The window-server side of the window.
        int layer = 0;
        double alpha = 1.0;
        bool onScreen = true;
        /// False: the window server does not report the name (no title-map entry).
        bool serverKnowsName = true;
        /// Window-server bounds when they differ from the application's frame.
        std::optional<QRectF> serverBounds;
        /// The application refuses to make the window smaller than this.
        QSizeF minSize{0, 0};
        /// False: close requests are ignored (the application asks to save first).
        bool closesOnRequest = true;
        /// This many moves are lost, as with a window manager that is busy elsewhere.
        int ignoredMoves = 0;
        /// Maximised or full screen: moves and sizes are ignored until unmaximize().
        bool maximized = false;
        /// Mapping order, set by the desktop: earlier windows of an app have smaller values.
        qint64 mappedSerial = 0;
    };
    struct App
    {
        qint32 pid = 0;
        QString name;
        std::optional<QString> bundleID;
        bool regular = true;
        QList<Window> windows;
        /// The application's window list cannot be read.
        bool windowsUnreadable = false;
        /// Process start time; a restarted app gets a new one even when its pid is reused.
        quint64 startTime = 0;
    };

    void setTrusted(bool trusted);
    void setOwnPid(qint32 pid);
    /// The app's windows are listed topmost first and were mapped in that order.
    void addApp(App app);
    void removeApp(qint32 pid);
    /// Adds a window on top of its application's others.
    void addWindow(qint32 pid, Window window);
    void removeWindow(qint64 number);
    void setTitle(qint64 number, const QString &title);
    void setWindowsUnreadable(qint32 pid, bool unreadable);
    /// The active window; 0 for none.
    void setFocus(qint64 number);
    void setServerListUnreadable(bool unreadable);
    /// The window stays in the window-server list but is gone from its application's
    /// list, as when it closes between the two reads.
    void vanishFromAppList(qint64 number);

    /// While held, readSnapshot() captures the desktop and then waits until its read
    /// (numbered from 1 in call order) is released, or until the hold ends.
    void holdReads(bool hold);
    void releaseRead(int readNumber);
    int readsWaiting() const;
    int readCount() const;

    bool isTrusted() const override;
    DesktopSnapshot readSnapshot() override;
    qint32 ownPid() const override;
    /// Simulated windows carry no startup ids: the watch changes nothing.
    LaunchWatch watchForLaunch() override;

    void setScreens(QList<ScreenInfo> screens);
    /// The desktop-file ids launch() knows.
    void setInstalledApps(QStringList bundleIDs);
    /// The window's frame as the application has it; absent when there is no such window.
    std::optional<QRectF> frameOf(qint64 number) const;
    std::optional<bool> minimizedOf(qint64 number) const;
    /// The active window; 0 for none.
    qint64 focus() const;
    /// Every write so far, one line each ("setMinimized 3 1", "raise 3", "close 3").
    QStringList controlLog() const;
    void clearControlLog();
    /// The next shortcut typed into one of `pid`'s windows opens `window` on top of them.
    void setShortcutOpens(qint32 pid, Window window);

    std::optional<QRectF> frame(qint64 window) override;
    bool setSize(qint64 window, const QSizeF &size) override;
    bool setPosition(qint64 window, const QPointF &topLeft) override;
    bool setMinimized(qint64 window, bool minimized) override;
    bool unmaximize(qint64 window) override;
    bool raise(qint64 window) override;
    bool activate(qint64 window) override;
    bool close(qint64 window) override;
    bool sendShortcut(qint64 window, const KeyShortcut &shortcut) override;
    QList<ScreenInfo> screens() override;
    bool hasApplication(const QString &bundleID) override;
    std::optional<QString> newWindowAction(const QString &bundleID) override;
    LaunchOutcome launch(const QString &bundleID, const QString &action, QString *error,
                         LaunchedProcess *started) override;

private:
    void setMinimizedLocked(Window &w, bool minimized);
    void raiseLocked(qint64 number);
    Window *find(qint64 number);

    mutable QMutex m_mutex;
    QWaitCondition m_released;
    QList<App> m_apps;
    qint64 m_mappedSerial = 0;
    QList<qint64> m_vanished;
    qint64 m_focus = 0;
    qint32 m_ownPid = 1;
    bool m_trusted = true;
    bool m_serverListUnreadable = false;
    bool m_hold = false;
    QList<int> m_releasedReads;
    int m_waiting = 0;
    int m_reads = 0;
    QList<ScreenInfo> m_screens;
    QStringList m_installed;
    QStringList m_controlLog;
    std::optional<std::pair<qint32, Window>> m_shortcutOpens;
};

} // namespace orvella::platform::sim
