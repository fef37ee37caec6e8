// Opening a new window of an application and bringing it to the sidebar's screen.
#pragma once

#include "actions/actioncontext.h"
#include "platform/windowcontrol.h"
#include "tracking/windowitem.h"

#include <QObject>

#include <optional>

namespace orvella::actions {

/**
 * Launches or activates the application, types its own "new window" shortcut into it
 * and moves the window that appears onto the sidebar's screen when it opened elsewhere.
 * An application that ignores the shortcut simply gets no new window. Every failure is
 * logged and ends the operation quietly.
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

    ActionContext m_context;
    std::optional<platform::ScreenInfo> m_sidebarScreen;
};

} // namespace orvella::actions
