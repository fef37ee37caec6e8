// The system monitor's texts for byte counts, speeds and uptime.
#pragma once

#include <QString>

namespace orvella::monitor {

/// "0 B", "512 B", "1 KB", "1.5 MB", "2.0 GB".
QString formatBytes(quint64 n);
/// "0 B/s", "512 B/s", "1 KB/s", "1.5 MB/s", "2.0 GB/s".
QString formatSpeed(quint64 n);
/// The same without spaces or "/s", for narrow places: "512B", "1K", "1.5M", "2.0G".
QString formatSpeedShort(quint64 n);
/// "59m", "23h 59m", "1d 1h 1m".
QString formatUptime(double seconds);

} // namespace orvella::monitor
