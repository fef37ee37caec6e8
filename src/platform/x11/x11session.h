// A connection to the X server: window-manager trust check and the managed-window list.
#pragma once

#include <QList>
#include <QString>

#include <memory>
#include <optional>

struct xcb_connection_t;

namespace orvella::platform::x11 {

struct Atoms;

/// One managed client window as the window manager lists it.
struct ClientSummary
{
    quint32 window = 0;         ///< the client's XID
    std::optional<quint32> pid; ///< `_NET_WM_PID`, when set
    QString title;              ///< `_NET_WM_NAME`, else `WM_NAME`
    QString wmClass;            ///< the class part of `WM_CLASS`
};

/// What the running window manager lets Orvella do.
struct WindowManagerInfo
{
    bool ewmh = false;          ///< a valid `_NET_SUPPORTING_WM_CHECK` window exists
    bool listsClients = false;  ///< `_NET_SUPPORTED` has `_NET_CLIENT_LIST`
    bool reportsActive = false; ///< `_NET_SUPPORTED` has `_NET_ACTIVE_WINDOW`
    QString name;               ///< the check window's `_NET_WM_NAME`
    /// Orvella can see and arrange windows only under such a window manager.
    bool trusted() const { return ewmh && listsClients && reportsActive; }
};

/**
 * Owns one xcb connection. Requests for all windows are sent before any reply is
 * read, so listing N windows costs a few round trips, not N. A window that closes
 * while it is being read is dropped from the answer.
 */
class X11Session
{
public:
    ~X11Session();

    /// Connects to `display` (empty: `$DISPLAY`). Null, with `error` set, on failure.
    static std::unique_ptr<X11Session> open(const QString &display, QString *error);

    WindowManagerInfo windowManager() const;
    /// `_NET_CLIENT_LIST` in mapping order, with titles, pids and classes.
    QList<ClientSummary> clients() const;
    /// False once the server has gone away.
    bool isConnected() const;

private:
    X11Session(xcb_connection_t *connection, int screen);

    xcb_connection_t *m_connection;
    quint32 m_root = 0;
    std::unique_ptr<Atoms> m_atoms;
};

} // namespace orvella::platform::x11
