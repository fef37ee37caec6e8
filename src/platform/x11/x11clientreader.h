// Reads the root window's lists and every managed client's properties in three round trips.
#pragma once

#include "platform/x11/x11clientdecoder.h"
#include "platform/x11/x11clientfacts.h"
#include "platform/x11/x11propertycache.h"

#include <QImage>
#include <QList>
#include <QMutex>
#include <QRect>
#include <QString>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <tuple>
#include <vector>

struct xcb_connection_t;

namespace orvella::platform::x11 {

struct Atoms;
class ReplyCollector;

/**
 * Round one reads the root window, round two every client (all requests sent before
 * the first reply is read), round three the X-Resource pids of clients without
 * `_NET_WM_PID`, one icon per process and the startup ids of watched windows' group
 * leaders. Thread-safe: reads may overlap.
 */
class ClientReader
{
public:
    /// `hasXRes`: the server offers the X-Resource extension (1.2 or later). With a
    /// `cache`, a read asks the server only for what the observer's events made stale.
    ClientReader(xcb_connection_t *connection, std::uint32_t root, const Atoms &atoms, bool hasXRes,
                 std::shared_ptr<PropertyCache> cache = nullptr);

    /// The desktop; nullopt when the connection to the server failed. Without
    /// `withClients` only the trust check is made (two round trips, no client read).
    /// `full` reads every window whatever the cache holds, logs each window the cache had
    /// wrong and puts it right.
    std::optional<DesktopFacts> read(bool withClients = true, bool full = false) const;

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
    struct LastRead;

    std::optional<RootReplies> readRoot() const;
    /// Sends the requests for the `parts` (PropertyCache::Part) of `window`.
    ClientCookies requestClient(std::uint32_t window, unsigned parts, bool startupID) const;
    /// The window's facts: what was requested, the rest from `cached`; nullopt when it closed.
    std::optional<ReadClient> collectClient(const ClientCookies &cookies,
                                            const PropertyCache::Entry &cached) const;
    void readProperties(const ClientCookies &cookies, ReplyCollector &replies,
                        PropertyCache::Entry &entry) const;
    /// Logs the windows that a full read found different from what the cache called current.
    void reportOutOfStep(const QHash<std::uint32_t, PropertyCache::Entry> &known,
                         const std::vector<ReadClient> &clients) const;
    void readLate(std::vector<ReadClient> &clients) const;
    /// Records the client list and, while watching, the startup ids read and learned.
    void settleStartupIDs(const QList<std::uint32_t> &clientList, std::vector<ReadClient> &clients) const;

    xcb_connection_t *m_connection;
    std::uint32_t m_root;
    const Atoms &m_atoms;
    bool m_hasXRes;
    std::shared_ptr<PropertyCache> m_cache;
    ClientDecoder m_decoder;
    /// The latest read of the clients, for reads that find nothing changed since.
    mutable QMutex m_lastMutex;
    mutable std::shared_ptr<const LastRead> m_last;
    mutable std::atomic<quint64> m_reads{0};
    /// Shared with the watches handed out, which may outlive the reader.
    std::shared_ptr<StartupWatch> m_startup;
};

} // namespace orvella::platform::x11
