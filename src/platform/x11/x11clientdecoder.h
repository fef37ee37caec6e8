// Decoding one client's properties into what the reader and the cache keep of it.
#pragma once

#include "platform/x11/x11clientfacts.h"
#include "platform/x11/x11properties.h"
#include "platform/x11/x11propertycache.h"

#include <QList>
#include <QMutex>

#include <cstdint>
#include <set>
#include <tuple>

namespace orvella::platform::x11 {

struct Atoms;

/// Bounds on the atom lists read for a client (in 32-bit units).
inline constexpr std::uint32_t kMaxTypeAtoms = 32;
inline constexpr std::uint32_t kMaxStateAtoms = 64;

/// The replies of a client's PropertyCache::Properties part, as the decoders take them.
struct ClientPropertyReplies
{
    RawProperty netWmName, wmName, pid, wmClass, type, state, wmState, desktop, extents, opacity,
        gtkApplicationId, kdeDesktopFile;
};

/**
 * Turns property replies into ClientFacts and logs what it had to refuse, once per window,
 * property and problem. Thread-safe.
 */
class ClientDecoder
{
public:
    explicit ClientDecoder(const Atoms &atoms);

    /// Replaces the properties part of `entry` (its facts and frame extents) with what
    /// `replies` say, keeping its geometry.
    void decodeProperties(std::uint32_t window, const ClientPropertyReplies &replies,
                          PropertyCache::Entry &entry) const;
    /// `_NET_WM_WINDOW_TYPE` by the first type EWMH defines.
    WindowType windowType(const QList<std::uint32_t> &types) const;

    /// Logs a malformed or irregular property once per window, property and problem.
    template<typename T>
    void note(std::uint32_t window, const char *property, const Decoded<T> &decoded) const
    {
        if (decoded.problem)
            note(window, property, decoded.state, decoded.problem);
    }

private:
    void note(std::uint32_t window, const char *property, DecodeState state, const char *problem) const;

    const Atoms &m_atoms;
    mutable QMutex m_mutex;
    mutable std::set<std::tuple<std::uint32_t, const char *, const char *>> m_logged;
};

} // namespace orvella::platform::x11
