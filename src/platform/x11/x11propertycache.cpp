// What the last reads learned of each managed window, kept until an X event says it changed.
#include "platform/x11/x11propertycache.h"

#include "logging.h"

#include <QDeadlineTimer>
#include <QSet>

namespace orvella::platform::x11 {

std::shared_ptr<PropertyCache> PropertyCache::forDisplay(const QString &display)
{
    static QMutex mutex;
    static QHash<QString, std::weak_ptr<PropertyCache>> caches;
    const QString name = display.isEmpty() ? qEnvironmentVariable("DISPLAY") : display;
    QMutexLocker lock(&mutex);
    caches.removeIf([](const auto &entry) { return entry.value().expired(); });
    std::shared_ptr<PropertyCache> cache = caches.value(name).lock();
    if (!cache) {
        cache = std::make_shared<PropertyCache>();
        caches.insert(name, cache);
    }
    return cache;
}

bool PropertyCache::startFollowing(const void *follower, std::function<void()> wake)
{
    QMutexLocker lock(&m_mutex);
    if (m_follower && m_follower != follower)
        return false;
    m_follower = follower;
    m_wake = std::move(wake);
    // Whatever happened while nobody followed went unseen.
    m_entries.clear();
    ++m_sequence;
    return true;
}

void PropertyCache::stopFollowing(const void *follower)
{
    QMutexLocker lock(&m_mutex);
    if (m_follower != follower)
        return;
    m_follower = nullptr;
    m_wake = nullptr;
    m_entries.clear();
    ++m_sequence;
    m_served = m_requested;
    m_servedChanged.wakeAll();
}

quint64 PropertyCache::requestedTicket() const
{
    QMutexLocker lock(&m_mutex);
    return m_requested;
}

void PropertyCache::served(quint64 ticket)
{
    QMutexLocker lock(&m_mutex);
    if (ticket > m_served) {
        m_served = ticket;
        m_servedChanged.wakeAll();
    }
}

void PropertyCache::invalidate(std::uint32_t window, unsigned parts)
{
    QMutexLocker lock(&m_mutex);
    if (m_dropNext) {
        m_dropNext = false;
        return;
    }
    // A window not read yet gets a stale entry too: a read in flight must not call it clean.
    Entry &entry = m_entries[window];
    entry.stale |= parts;
    entry.staleSince = ++m_sequence;
}

void PropertyCache::invalidateAll(unsigned parts)
{
    QMutexLocker lock(&m_mutex);
    const quint64 sequence = ++m_sequence;
    for (Entry &entry : m_entries) {
        entry.stale |= parts;
        entry.staleSince = sequence;
    }
}

void PropertyCache::forget(std::uint32_t window)
{
    QMutexLocker lock(&m_mutex);
    // The server hands a destroyed window's id to the next client: keep a stale marker so
    // that a read in flight does not file the old window's properties under it.
    Entry &entry = m_entries[window];
    entry = Entry();
    entry.staleSince = ++m_sequence;
}

bool PropertyCache::awaitInStep(int timeoutMs)
{
    QMutexLocker lock(&m_mutex);
    if (!m_follower || !m_wake)
        return false;
    const quint64 ticket = ++m_requested;
    m_wake();
    const QDeadlineTimer deadline(timeoutMs);
    while (m_served < ticket && m_follower) {
        if (!m_servedChanged.wait(&m_mutex, deadline)) {
            qCDebug(lcPlatform) << "[OV] the X event reader did not catch up in" << timeoutMs
                                << "ms; reading every window";
            return false;
        }
    }
    return m_follower != nullptr;
}

quint64 PropertyCache::sequence() const
{
    QMutexLocker lock(&m_mutex);
    return m_sequence;
}

QHash<std::uint32_t, PropertyCache::Entry> PropertyCache::entries(const QList<std::uint32_t> &windows) const
{
    QMutexLocker lock(&m_mutex);
    QHash<std::uint32_t, Entry> out;
    out.reserve(windows.size());
    for (std::uint32_t window : windows) {
        if (const auto it = m_entries.constFind(window); it != m_entries.cend())
            out.insert(window, *it);
    }
    return out;
}

void PropertyCache::store(std::uint32_t window, Entry entry, unsigned read, quint64 sequence)
{
    QMutexLocker lock(&m_mutex);
    if (!m_follower)
        return;
    Entry &current = m_entries[window];
    // What was invalidated after the read began may have changed after it was read.
    const unsigned stillStale = current.staleSince > sequence ? current.stale : 0u;
    entry.stale = (current.stale & ~read) | stillStale;
    entry.staleSince = std::max(current.staleSince, entry.staleSince);
    if (entry.iconFetched && entry.scaledIcon.isNull() && !entry.icon.isNull())
        entry.scaledIcon = entry.icon.scaled(kScaledIconSide, kScaledIconSide, Qt::KeepAspectRatio,
                                             Qt::SmoothTransformation);
    current = std::move(entry);
}

void PropertyCache::retain(const QList<std::uint32_t> &listed, quint64 sequence)
{
    const QSet<std::uint32_t> keep(listed.begin(), listed.end());
    QMutexLocker lock(&m_mutex);
    // A marker set since the read began stays: its window may be listed by the next read,
    // and a read still in flight must find it.
    m_entries.removeIf([&](const auto &entry) {
        return !keep.contains(entry.key()) && entry.value().staleSince <= sequence;
    });
}

QImage PropertyCache::scaledIcon(std::uint32_t window) const
{
    QMutexLocker lock(&m_mutex);
    return m_entries.value(window).scaledIcon;
}

const char *PropertyCache::differingPart(const Entry &cached, const Entry &read)
{
    const ClientFacts &a = cached.facts;
    const ClientFacts &b = read.facts;
    const auto sameClass = [](const std::optional<WmClass> &x, const std::optional<WmClass> &y) {
        return x.has_value() == y.has_value()
               && (!x || (x->instance == y->instance && x->className == y->className));
    };
    if (a.title != b.title)
        return "title";
    if (a.pid != b.pid || !sameClass(a.wmClass, b.wmClass) || a.gtkApplicationId != b.gtkApplicationId
        || a.kdeDesktopFile != b.kdeDesktopFile)
        return "owner";
    if (a.type != b.type || a.skipTaskbar != b.skipTaskbar || a.above != b.above || a.below != b.below)
        return "type";
    if (a.hidden != b.hidden || a.iconic != b.iconic || a.fullscreen != b.fullscreen || a.desktop != b.desktop
        || a.opacity != b.opacity)
        return "state";
    const auto sameExtents = [](const FrameExtents &x, const FrameExtents &y) {
        return x.left == y.left && x.right == y.right && x.top == y.top && x.bottom == y.bottom;
    };
    if (a.viewable != b.viewable || cached.clientRect != read.clientRect
        || !sameExtents(cached.extents, read.extents))
        return "geometry";
    if (cached.iconBytes != read.iconBytes)
        return "icon";
    return nullptr;
}

void PropertyCache::dropNextInvalidation()
{
    QMutexLocker lock(&m_mutex);
    m_dropNext = true;
}

} // namespace orvella::platform::x11
