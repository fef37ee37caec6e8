// The system monitor's texts for byte counts, speeds and uptime.
#include "monitor/formatters.h"

namespace orvella::monitor {

namespace {

constexpr quint64 K = 1024;
constexpr quint64 M = 1048576;
constexpr quint64 G = 1073741824;

// Units of one scale; the text after the number for bytes, KiB, MiB and GiB.
struct Units
{
    const char *bytes;
    const char *kilo;
    const char *mega;
    const char *giga;
};

QString format(quint64 n, const Units &u)
{
    if (n < K)
        return QString::number(n) + QLatin1String(u.bytes);
    if (n < M)
        return QString::number(n / K) + QLatin1String(u.kilo);
    if (n < G)
        return QString::asprintf("%.1f", double(n) / double(M)) + QLatin1String(u.mega);
    return QString::asprintf("%.1f", double(n) / double(G)) + QLatin1String(u.giga);
}

} // namespace

QString formatBytes(quint64 n)
{
    return format(n, {" B", " KB", " MB", " GB"});
}

QString formatSpeed(quint64 n)
{
    return format(n, {" B/s", " KB/s", " MB/s", " GB/s"});
}

QString formatSpeedShort(quint64 n)
{
    return format(n, {"B", "K", "M", "G"});
}

QString formatUptime(double seconds)
{
    const qint64 s = seconds > 0 ? qint64(seconds) : 0;
    const qint64 minutes = s / 60 % 60;
    const qint64 hours = s / 3600 % 24;
    if (s < 3600)
        return QStringLiteral("%1m").arg(s / 60);
    if (s < 86400)
        return QStringLiteral("%1h %2m").arg(s / 3600).arg(minutes);
    return QStringLiteral("%1d %2h %3m").arg(s / 86400).arg(hours).arg(minutes);
}

} // namespace orvella::monitor
