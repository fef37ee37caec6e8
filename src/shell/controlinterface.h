// The running application's control interface on the session bus, org.orvella.Orvella1.
#pragma once

#include "shell/windowcommand.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QTimer>

namespace orvella::shell {

class AppDelegate;

/// The bus names the application and its command line meet at.
namespace control {
inline constexpr char kServiceName[] = "org.orvella.Orvella";
inline constexpr char kObjectPath[] = "/org/orvella/Orvella";
inline constexpr char kInterface[] = "org.orvella.Orvella1";
/// The request named nothing that exists: exit status 2 on the command line.
inline constexpr char kErrorNotFound[] = "org.orvella.Orvella1.Error.NotFound";
/// The request was understood but did not take effect: exit status 1.
inline constexpr char kErrorFailed[] = "org.orvella.Orvella1.Error.Failed";
} // namespace control

/**
 * A thin adaptor over the window manager's and the application's verbs; the command line
 * is its client, and its replies carry what the one-shot commands would print or exit
 * with. Window verbs reply once the action has settled and been checked. Calls beyond
 * a bound on those in flight are refused at once, so a flood cannot queue work for minutes.
 */
class ControlInterface : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.orvella.Orvella1")
public:
    explicit ControlInterface(AppDelegate &app, QObject *parent = nullptr);

public slots:
    Q_SCRIPTABLE void Focus(const QString &windowID);
    Q_SCRIPTABLE void Close(const QString &windowID);
    Q_SCRIPTABLE void Minimize(const QString &windowID);
    Q_SCRIPTABLE void TileWindow(const QString &windowID, const QString &position);
    Q_SCRIPTABLE void TileShelf(const QString &shelfID, const QString &alignment, double widthFraction);
    Q_SCRIPTABLE void MinimizeAll();
    Q_SCRIPTABLE void NewWindow(const QString &bundleID);
    Q_SCRIPTABLE void ToggleShowDesktop();
    Q_SCRIPTABLE void ShowSidebar();
    Q_SCRIPTABLE void HideSidebar();
    Q_SCRIPTABLE void ToggleSidebar();
    Q_SCRIPTABLE QString AddShelf(const QString &name);
    Q_SCRIPTABLE void MoveToShelf(const QString &windowID, const QString &shelfID);
    Q_SCRIPTABLE void RemoveFromShelf(const QString &windowID);
    Q_SCRIPTABLE void OpenSettings();
    Q_SCRIPTABLE void Relaunch();
    Q_SCRIPTABLE void Quit();
    /// The document `orvella list --json` prints, after a fresh read of the desktop.
    Q_SCRIPTABLE QString List();
    /// The text `orvella list` prints.
    Q_SCRIPTABLE QString ListText();
    /// The application's own state as JSON: trusted, sidebarVisible, banner.
    Q_SCRIPTABLE QString State();

signals:
    /// The windows, the sections or the active window changed (coalesced).
    Q_SCRIPTABLE void Changed();

private:
    void run(const QString &verb, const QStringList &operands);
    void runWindowCommand(WindowCommand command);
    QString queueList(bool json);
    void answerLists(bool read);

    AppDelegate &m_app;
    int m_inFlight = 0;
    struct PendingList
    {
        QDBusConnection bus;
        QDBusMessage call;
        bool json = true;
    };
    QList<PendingList> m_pendingLists;
    QTimer m_changed;
    QTimer m_listDeadline;
};

} // namespace orvella::shell
