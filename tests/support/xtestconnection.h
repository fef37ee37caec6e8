// A real-X test's own connection to the server, to look at and change what the code under test reads.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <xcb/xcb.h>

namespace orvella::testsupport {

/// How long a real-X test waits on the window manager or a client before it fails.
inline constexpr int kWaitMs = 20000;

/// Whether this process runs in orvella-xsession's own session (which sets the second name),
/// not on a display it merely inherited: tests never touch the developer's display.
inline bool inPrivateSession()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY")
           && qgetenv("DISPLAY") == qgetenv("ORVELLA_XSESSION_DISPLAY");
}

/// Reads and writes properties and sends requests as a pager would. Every change has
/// reached the server when the call that makes it returns.
class XTestConnection
{
public:
    /// Connects to `display` (empty: `$DISPLAY`); see isConnected().
    explicit XTestConnection(const QString &display = QString());
    ~XTestConnection();
    XTestConnection(const XTestConnection &) = delete;
    XTestConnection &operator=(const XTestConnection &) = delete;

    bool isConnected() const;
    xcb_connection_t *connection() const { return m_connection; }
    xcb_window_t root() const { return m_root; }

    xcb_atom_t atom(const char *name) const;
    /// The items of a 32-bit property; empty when it is not set with this type.
    QList<quint32> cardinals(xcb_window_t window, const char *name, xcb_atom_t type) const;
    void setProperty(xcb_window_t window, const char *name, xcb_atom_t type, int format,
                     const QByteArray &value);
    void setCardinals(xcb_window_t window, const char *name, xcb_atom_t type, const QList<quint32> &values);
    /// An unmapped window of this connection, which the window manager ignores. Made on first
    /// use only: a window made as a client quits could take the id of one still listed.
    xcb_window_t ownWindow();

    /// Returns once the server has handled every request sent so far.
    void sync();
    /// The server's current time, which client messages must carry.
    xcb_timestamp_t serverTime();
    /// Sends a window manager request about `window` to the root, as a pager does.
    void sendToRoot(xcb_window_t window, const char *type, const QList<quint32> &data);
    /// Asks the window manager to activate `window`.
    void activate(xcb_window_t window);
    /// Waits until none of `windows` is in _NET_CLIENT_LIST any more.
    bool waitUntilUnlisted(const QList<quint32> &windows, int timeoutMs);

private:
    xcb_connection_t *m_connection = nullptr;
    xcb_window_t m_root = 0;
    xcb_window_t m_own = 0;
};

} // namespace orvella::testsupport
