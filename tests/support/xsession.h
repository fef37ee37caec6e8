// A private X server with a window manager, started for real-X tests and torn down after them.
#pragma once

#include <QDeadlineTimer>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>

class QProcess;
class QTemporaryDir;
struct xcb_connection_t;

namespace orvella::testsupport {

/// Runs Xvfb with Openbox on a display number the server picks itself, so that parallel
/// tests never collide and never touch the developer's own display. Every process it
/// starts is killed when the starting thread ends, even if the harness is SIGKILLed.
class XSession
{
public:
    XSession();
    ~XSession();
    XSession(const XSession &) = delete;
    XSession &operator=(const XSession &) = delete;

    /// Starts the server and the window manager and returns once the window manager has
    /// announced itself (_NET_SUPPORTING_WM_CHECK) and finished starting, so that the
    /// next window mapped is managed. On failure returns false, describes why in *error
    /// (with the tail of the failing child's log) and cleans up.
    bool start(QString *error);

    /// Starts a second Openbox with --replace, as a user switching window managers does,
    /// and returns once it manages windows; the first one exits on its own.
    bool replaceWindowManager(QString *error);

    /// Ends the window manager and leaves the server without one, as a crash would;
    /// replaceWindowManager() starts a new one.
    void stopWindowManager();

    /// Ends the window manager, then the server. Safe to call more than once.
    void stop();

    /// The display name, ":N"; empty while not running.
    QString display() const { return m_display; }

    /// The environment for clients of this session: the current one with DISPLAY (and
    /// ORVELLA_XSESSION_DISPLAY) pointing here, XAUTHORITY and WAYLAND_DISPLAY removed and
    /// Qt forced onto xcb.
    QStringList clientEnvironment() const;

    /// Makes process, once started, receive SIGKILL when the calling thread ends, and start
    /// with no signals blocked. keepFd, if set, stays open across exec; ownGroup puts the
    /// child in its own process group, out of reach of a terminal's Ctrl-C.
    static void bindToParent(QProcess *process, int keepFd = -1, bool ownGroup = false);

private:
    bool startServer(QString *error);
    bool startWindowManager(QString *error, bool replacing = false);
    bool waitForWindowManager(QString *error);
    bool windowManagerReady() const;
    std::unique_ptr<QProcess> launch(const QStringList &argv, const QStringList &env, const char *logName,
                                     int keepFd, QString *error) const;
    bool fail(QString *error, const QString &what, const char *logName = nullptr) const;

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QProcess> m_server;
    std::unique_ptr<QProcess> m_windowManager;
    QString m_display;
    xcb_connection_t *m_connection = nullptr;
    std::uint32_t m_root = 0;
    std::uint32_t m_checkAtom = 0;
    std::uint32_t m_startedAtom = 0;
    QDeadlineTimer m_deadline;
};

} // namespace orvella::testsupport
