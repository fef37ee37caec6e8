// What the desktop observer learns about newly listed windows: owner, kind and event mask.
#pragma once

#include <QList>

#include <cstdint>
#include <vector>

struct xcb_connection_t;

namespace orvella::platform::x11 {

struct Atoms;

/// What one probe learned about one window.
struct ProbedWindow
{
    std::uint32_t window = 0;
    std::uint32_t pid = 0;       ///< `_NET_WM_PID`, else the X-Resource answer; 0 when unknown
    bool taskbar = false;        ///< type NORMAL, DIALOG or unset, and not SKIP_TASKBAR
    std::uint32_t eventMask = 0; ///< what the probing connection already selects on the window
    bool vanished = false;       ///< the window ended before it could be read
};

/**
 * Reads the few properties that decide which process a window belongs to and whether it
 * makes its process a regular application. Every request of a batch is sent before the
 * first reply is read; windows without `_NET_WM_PID` cost one more round trip.
 */
class WindowProbe
{
public:
    WindowProbe(xcb_connection_t *connection, const Atoms &atoms, bool hasXRes);

    /// The facts about `windows`, in the same order.
    std::vector<ProbedWindow> probe(const QList<std::uint32_t> &windows) const;

private:
    bool isTaskbarType(const QList<std::uint32_t> &types) const;

    xcb_connection_t *m_connection;
    const Atoms &m_atoms;
    bool m_hasXRes;
};

} // namespace orvella::platform::x11
