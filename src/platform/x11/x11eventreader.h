// Turns the X events of the observer's connection into desktop events, keeping what they refer to.
#pragma once

#include "platform/desktopobserver.h"

#include <QDeadlineTimer>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QSet>

#include <cstdint>
#include <optional>
#include <vector>

struct xcb_connection_t;

namespace orvella::platform::x11 {

struct Atoms;
class WindowProbe;

/**
 * Keeps the managed windows with their processes, the active window and the window
 * manager's check window, and reports each change against them as a DesktopEvent.
 * readBaseline() and handleQueued() run on one thread at a time (the reader);
 * observe() and unobserve() may be called from any thread meanwhile.
 */
class EventReader
{
public:
    using Events = std::vector<DesktopEvent>;

    EventReader(xcb_connection_t *connection, std::uint32_t root, const Atoms &atoms,
                const WindowProbe &probe);

    /// Selects the root window's property changes and reads the desktop as it stands: the
    /// baseline that later changes are reported against, not itself reported.
    void readBaseline();
    /// Handles every event xcb has, then re-reads the root when any of it changed.
    /// True when any event was handled: reading may have queued more.
    bool handleQueued(Events &out);
    /// Milliseconds until a deferred decision is due, -1 when none is pending.
    int msUntilDue() const;

    /// Marks `pid` observed and returns its managed windows; false, marking nothing, when
    /// it has none.
    bool observe(qint32 pid, QList<std::uint32_t> *windows);
    /// Ends observing `pid`; its managed windows, empty when it was not observed.
    QList<std::uint32_t> unobserve(qint32 pid);

private:
    void handle(const void *event, QSet<std::pair<int, std::uint32_t>> &seen, Events &out);
    void refreshRoot(Events &out);
    void applyClients(const QList<std::uint32_t> &listed, Events &out);
    /// Drops a window that ended, reporting it (and its process's end with its last window).
    /// Called with m_mutex held.
    void forget(std::uint32_t window, Events &out);
    void applyActive(std::uint32_t window, Events &out);
    void applyWindowManager(std::uint32_t check, Events &out);
    std::uint32_t confirmedCheck(std::uint32_t check) const;
    QList<std::uint32_t> windowsOf(qint32 pid) const;

    xcb_connection_t *m_connection;
    std::uint32_t m_root;
    const Atoms &m_atoms;
    const WindowProbe &m_probe;

    // Shared with the threads that call observe() and unobserve().
    mutable QMutex m_mutex;
    QHash<std::uint32_t, qint32> m_windows; ///< managed window -> its pid (0: unknown)
    QHash<qint32, int> m_windowCounts;
    QSet<qint32> m_observed;

    // The reading thread's own.
    bool m_rootDirty = false;
    std::uint32_t m_active = 0;
    qint32 m_activePid = 0;
    std::uint32_t m_windowManager = 0; ///< the check window last reported; 0: none
    std::uint32_t m_watchedCheck = 0;  ///< the check window whose end is listened for
    std::optional<QDeadlineTimer> m_windowManagerGrace;
};

} // namespace orvella::platform::x11
