// Reads the root window's lists and every managed client's properties in three round trips.
#pragma once

#include "platform/x11/x11properties.h"

#include <QImage>
#include <QList>
#include <QMutex>
#include <QRect>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <tuple>
#include <vector>

struct xcb_connection_t;

namespace orvella::platform::x11 {

struct Atoms;

/// `_NET_WM_WINDOW_TYPE` by the first type EWMH defines (the list is in preference
/// order); Unset also when only private types are listed, as EWMH asks.
enum class WindowType { Unset, Normal, Dialog, Desktop, Dock, Toolbar, Menu, Utility, Splash, Other };

/// Everything one read learned about one managed client window.
struct ClientFacts
{
    std::uint32_t window = 0;
    std::optional<std::uint32_t> pid; ///< `_NET_WM_PID`, else the X-Resource answer
    std::optional<QString> title;     ///< `_NET_WM_NAME` when not empty, else WM_NAME
    std::optional<WmClass> wmClass;
    QString gtkApplicationId;
    QString kdeDesktopFile;
    WindowType type = WindowType::Unset;
    bool skipTaskbar = false;
    bool hidden = false; ///< `_NET_WM_STATE_HIDDEN`
    bool fullscreen = false;
    bool above = false;
    bool below = false;
    bool iconic = false; ///< ICCCM WM_STATE is IconicState
    bool viewable = false;
    std::optional<std::uint32_t> desktop; ///< `_NET_WM_DESKTOP`; 0xFFFFFFFF = all desktops
    QRect frame;                   ///< root coordinates, grown by `_NET_FRAME_EXTENTS`; null when unreadable
    std::optional<double> opacity; ///< `_NET_WM_WINDOW_OPACITY` scaled to 0..1
    /// `_NET_STARTUP_ID` of the window, else of its group leader; read only while a
    /// launch is watched, for windows that appeared since (ClientReader::watchLaunch()).
    std::optional<QString> startupID;
    /// Position in `_NET_CLIENT_LIST_STACKING` (0 = bottom); -1 when not listed there.
    int stackingPosition = -1;
    /// The best-fitting `_NET_WM_ICON` image; read only for the first window of each
    /// process that has one, so null for the others.
    QImage icon;
};

/// The desktop as one read saw it.
struct DesktopFacts
{
    QList<ClientFacts> clients; ///< `_NET_CLIENT_LIST` order; windows that vanished are left out
    std::optional<std::uint32_t> activeWindow;   ///< absent when none
    std::optional<std::uint32_t> currentDesktop; ///< absent when the WM does not say
    /// An EWMH window manager whose `_NET_SUPPORTED` lists the client list and the
    /// active window.
    bool trusted = false;
};

/**
 * Round one reads the root window, round two every client (all requests sent before
 * the first reply is read), round three the X-Resource pids of clients without
 * `_NET_WM_PID`, one icon per process and the startup ids of watched windows' group
 * leaders. Thread-safe: reads may overlap.
 */
class ClientReader
{
public:
    /// `hasXRes`: the server offers the X-Resource extension (1.2 or later).
    ClientReader(xcb_connection_t *connection, std::uint32_t root, const Atoms &atoms, bool hasXRes);

    /// The desktop; nullopt when the connection to the server failed. Without
    /// `withClients` only the trust check is made (two round trips, no client read).
    std::optional<DesktopFacts> read(bool withClients = true) const;

    /// While the returned watch (or another) is held, each window that the last read
    /// before the first watch did not list is read once for its startup id, in the
    /// round trips a read makes anyway; the others never are. When the last watch goes,
    /// what was learned is forgotten.
    std::shared_ptr<void> watchLaunch();

private:
    struct RootReplies;
    struct ClientCookies;
    struct ReadClient;
    struct LateCookies;
    struct StartupWatch;

    std::optional<RootReplies> readRoot() const;
    ClientCookies requestClient(std::uint32_t window, bool startupID) const;
    std::optional<ReadClient> collectClient(const ClientCookies &cookies) const;
    void readLate(std::vector<ReadClient> &clients) const;
    /// Records the client list and, while watching, the startup ids read and learned.
    void settleStartupIDs(const QList<std::uint32_t> &clientList, std::vector<ReadClient> &clients) const;
    WindowType windowType(const QList<std::uint32_t> &types) const;
    /// Logs a malformed or irregular property once per window, property and problem.
    template<typename T>
    void note(std::uint32_t window, const char *property, const Decoded<T> &decoded) const;

    xcb_connection_t *m_connection;
    std::uint32_t m_root;
    const Atoms &m_atoms;
    bool m_hasXRes;
    mutable QMutex m_mutex;
    mutable std::set<std::tuple<std::uint32_t, const char *, const char *>> m_logged;
    /// Shared with the watches handed out, which may outlive the reader.
    std::shared_ptr<StartupWatch> m_startup;
};

} // namespace orvella::platform::x11
