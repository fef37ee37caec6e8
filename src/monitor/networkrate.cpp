// Network throughput between two samples, and which interface carries the local address.
#include "monitor/networkrate.h"

namespace orvella::monitor {

namespace {

constexpr qint64 kMinimumIntervalMs = 100;

bool startsWithAny(const QString &name, std::initializer_list<const char *> prefixes)
{
    for (const char *prefix : prefixes) {
        if (name.startsWith(QLatin1String(prefix)))
            return true;
    }
    return false;
}

} // namespace

std::optional<QString> NetworkRate::addressLabel(const QString &name)
{
    // Container and VM bridges carry addresses no one else can reach.
    if (startsWithAny(name, {"docker", "veth", "virbr", "br-"}))
        return std::nullopt;
    if (name.startsWith(QLatin1String("wl")))
        return QStringLiteral("Wi-Fi");
    if (startsWithAny(name, {"en", "eth"}))
        return QStringLiteral("Ethernet");
    if (startsWithAny(name, {"tun", "wg", "utun"}))
        return QString();
    return std::nullopt;
}

NetworkInfo NetworkRate::update(const QList<InterfaceEntry> &entries, const QDateTime &now)
{
    NetworkInfo info;
    quint64 down = 0;
    quint64 up = 0;
    for (const InterfaceEntry &entry : entries) {
        if (entry.kind == InterfaceEntry::Kind::Link && entry.name != QLatin1String("lo")) {
            down += entry.rxBytes;
            up += entry.txBytes;
        } else if (entry.kind == InterfaceEntry::Kind::IPv4 && info.ip.isEmpty()
                   && !entry.address.isEmpty()) {
            if (const auto label = addressLabel(entry.name)) {
                info.ip = entry.address;
                info.iface = *label;
            }
        }
    }
    if (m_previousTimestamp.isValid()) {
        const qint64 elapsedMs = m_previousTimestamp.msecsTo(now);
        if (elapsedMs > kMinimumIntervalMs) {
            const double seconds = double(elapsedMs) / 1000.0;
            info.downSpeed = down >= m_previousDown ? quint64(double(down - m_previousDown) / seconds) : 0;
            info.upSpeed = up >= m_previousUp ? quint64(double(up - m_previousUp) / seconds) : 0;
        }
    }
    m_previousDown = down;
    m_previousUp = up;
    m_previousTimestamp = now;
    return info;
}

} // namespace orvella::monitor
