// What the last reads learned of each managed window, kept until an X event says it changed.
#pragma once

#include "platform/x11/x11clientfacts.h"
#include "platform/x11/x11properties.h"

#include <QHash>
#include <QImage>
#include <QMutex>
#include <QRect>
#include <QString>
#include <QWaitCondition>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace orvella::platform::x11 {

/**
 * A per-window cache of client properties, shared by the desktop's reads and the
 * observer's events on one display.
 *
 * The observer's reader thread invalidates (invalidate(), invalidateAll(), forget());
 * the refresh pool's reads plan from it (entries()), read only what is stale, and store
 * back (store()). One mutex guards every member: each call takes it once and holds it
 * only to copy or write records, never across an X round trip. A read that began before
 * an invalidation cannot mark the window clean again: store() keeps a part stale when it
 * was invalidated after the read's sequence() was taken.
 *
 * Before a read trusts the cache it calls awaitInStep(): the observer makes one round
 * trip on its own connection and handles every event queued before the answer, so each
 * change the server made before the read began has been seen. Without a following
 * observer, or when it does not answer in time, the read is a full one.
 *
 * Desktops and observers opened for the same display share one cache (forDisplay()).
 */
class PropertyCache
{
public:
    /// The parts of a window's reading that an event can make stale.
    enum Part : unsigned {
        Properties = 1, ///< names, pid, class, type, states, desktop, extents, opacity
        Geometry = 2,   ///< size, position in the root and map state
        Icon = 4,       ///< `_NET_WM_ICON`: its size and the image
        AllParts = 7,
    };

    /// One window as the cache holds it.
    struct Entry
    {
        /// Without stackingPosition, startupID and icon, which every read sets itself.
        ClientFacts facts;
        std::optional<QRect> clientRect; ///< the client in root coordinates; absent when unreadable
        FrameExtents extents;
        std::uint32_t iconBytes = 0;
        bool iconFetched = false;
        QImage icon;       ///< as decoded, for the snapshot
        QImage scaledIcon; ///< scaled once to kScaledIconSide, for the views
        unsigned stale = AllParts;
        quint64 staleSince = 0;
    };

    /// The side the views' icons are scaled to, once per fetched icon.
    static constexpr int kScaledIconSide = 32;

    /// The cache shared on `display` (empty: `$DISPLAY`); created on first use and
    /// dropped with its last holder.
    static std::shared_ptr<PropertyCache> forDisplay(const QString &display);

    // The observer's side.

    /// Becomes the cache's source of events; false when another observer already is.
    /// `wake` asks the observer's thread to serve awaitInStep(). Everything cached
    /// before is treated as stale, since events may have been missed.
    bool startFollowing(const void *follower, std::function<void()> wake);
    /// Ends following (the observer stopped or lost its connection): reads go full.
    void stopFollowing(const void *follower);
    /// Tickets asked for so far; the observer serves them in order.
    quint64 requestedTicket() const;
    /// Every event queued before `ticket` was asked for has been handled.
    void served(quint64 ticket);
    void invalidate(std::uint32_t window, unsigned parts);
    void invalidateAll(unsigned parts);
    void forget(std::uint32_t window);

    // The reading side.

    /// Whether an observer follows the display and has handled every event queued up to
    /// now; false after `timeoutMs` without an answer.
    bool awaitInStep(int timeoutMs);
    /// The invalidation count; take it before sending a read's requests.
    quint64 sequence() const;
    /// Copies of the entries of `windows` that are cached.
    QHash<std::uint32_t, Entry> entries(const QList<std::uint32_t> &windows) const;
    /// Stores what a read begun at `sequence` learned; `read` are the parts it read.
    void store(std::uint32_t window, Entry entry, unsigned read, quint64 sequence);
    /// Drops every window not in `listed` that nothing invalidated since `sequence`.
    void retain(const QList<std::uint32_t> &listed, quint64 sequence);

    /// The window's `_NET_WM_ICON`, scaled to kScaledIconSide; null when none was fetched.
    /// For an image provider: any thread, no X traffic.
    QImage scaledIcon(std::uint32_t window) const;

    /// The first part in which `cached` and `read` differ ("title", "frame", ...); null when
    /// none. What a full read uses to tell that the cache was wrong.
    static const char *differingPart(const Entry &cached, const Entry &read);

    /// Test hook: the next invalidation is lost, as one whose event never came.
    void dropNextInvalidation();

private:
    mutable QMutex m_mutex;
    QWaitCondition m_servedChanged;
    QHash<std::uint32_t, Entry> m_entries;
    const void *m_follower = nullptr;
    std::function<void()> m_wake;
    quint64 m_sequence = 0;
    quint64 m_requested = 0;
    quint64 m_served = 0;
    bool m_dropNext = false;
};

} // namespace orvella::platform::x11
