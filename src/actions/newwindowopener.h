// Opening a new window of an application and bringing it to the sidebar's screen.
#pragma once

#include "actions/actioncontext.h"
#include "platform/desktop.h"
#include "platform/windowcontrol.h"
#include "tracking/windowitem.h"

#include <QObject>

#include <QSet>

#include <memory>
#include <optional>

namespace orvella::actions {

/**
 * Opens a new window of an application and moves it onto the sidebar's screen when it
 * opened elsewhere. A running application whose desktop entry declares a new-window
 * action gets that action; otherwise it is activated and its own "new window" shortcut
 * is typed into it, which an application that ignores it answers with no window. An
 * application that is not running is started, and its first window, once it maps, is
 * the new one: no shortcut goes to a window that is still coming, and a second request
 * while it starts asks for nothing. A launched window is known by the startup id the
 * launch handed over, also when another process maps it, else by its application or
 * process; it is awaited for 20 s. Every failure is logged and ends the operation quietly.
 */
class NewWindowOpener : public QObject
{
    Q_OBJECT
public:
    NewWindowOpener(ActionContext context, QObject *parent);

    void openNewWindowForItem(const tracking::WindowItem &item, Completion completion);
    void openNewWindow(const QString &bundleID, Completion completion);
    void relaunchClosedApp(const QString &bundleID);

    /// The sidebar's screen when the window manager's recorded QScreen is not the
    /// authority (no GUI, or a test); absent: use the recorded screen.
    void setSidebarScreen(std::optional<platform::ScreenInfo> screen) { m_sidebarScreen = std::move(screen); }

private:
    std::optional<platform::ScreenInfo> sidebarScreen() const;
    void afterLaunch(const QString &bundleID, qint32 pid, int countBefore, Completion completion);
    void sendNewWindowShortcut(const QString &bundleID, Completion then);
    void moveNewestWindow(const QString &bundleID, qint32 pid, int countBefore, Completion completion);
    /// A launch waiting for its window; the watch is held until the wait ends.
    struct PendingLaunch
    {
        QString bundleID;
        platform::LaunchedProcess started;
        /// The application's windows before the launch.
        QSet<qint64> known;
        platform::LaunchWatch watch;
    };
    /// Waits, polling, for the window of `launch` (by its startup id, else a window of
    /// the application or of the process started that is not among the known ones), then
    /// moves it; gives up after `attemptsLeft` more looks.
    void awaitNewWindow(std::shared_ptr<const PendingLaunch> launch, int attemptsLeft, Completion completion);

    ActionContext m_context;
    std::optional<platform::ScreenInfo> m_sidebarScreen;
    /// Applications a request may be starting, and those started here whose first
    /// window has not appeared yet.
    QSet<QString> m_starting;
};

} // namespace orvella::actions
