// Network throughput between two samples, and which interface carries the local address.
#pragma once

#include "monitor/monitorsample.h"

#include <QDateTime>

#include <optional>

namespace orvella::monitor {

/**
 * Keeps the byte totals and time of the previous sample. Samples 0.1 second or less
 * apart report no speed, and a total that went down (a 32-bit counter wrapped, an
 * interface went away) reports 0 for that direction.
 */
class NetworkRate
{
public:
    NetworkInfo update(const QList<InterfaceEntry> &entries, const QDateTime &now);

    /// The label of an interface that may carry the local address ("Wi-Fi", "Ethernet",
    /// or empty for tunnels); absent for loopback, virtual bridges and anything unknown.
    static std::optional<QString> addressLabel(const QString &interfaceName);

private:
    quint64 m_previousDown = 0;
    quint64 m_previousUp = 0;
    QDateTime m_previousTimestamp;
};

} // namespace orvella::monitor
