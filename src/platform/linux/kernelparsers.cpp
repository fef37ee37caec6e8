// Pure parsers of the kernel's text files the system monitor reads.
#include "platform/linux/kernelparsers.h"

#include "logging.h"

#include <QByteArray>
#include <QHash>
#include <QRegularExpression>

#include <algorithm>

namespace orvella::platform::parsers {

namespace {

std::optional<quint64> unsignedField(QByteArrayView field)
{
    bool ok = false;
    const quint64 value = field.toULongLong(&ok);
    return ok ? std::optional(value) : std::nullopt;
}

double clampPercent(double value)
{
    return std::clamp(value, 0.0, 100.0);
}

} // namespace

std::optional<QList<CpuTicks>> procStat(QByteArrayView text)
{
    QList<CpuTicks> result;
    for (const QByteArray &line : QByteArray(text.data(), text.size()).split('\n')) {
        // "cpu " is the sum over all processors; the per-processor lines follow it.
        if (!line.startsWith("cpu") || line.size() < 4 || line[3] == ' ')
            continue;
        const QList<QByteArray> fields = line.simplified().split(' ');
        bool numbered = false;
        const int cpu = fields[0].mid(3).toInt(&numbered);
        if (!numbered || fields.size() < 5) {
            qCWarning(lcMonitor).noquote() << "[OV] /proc/stat: unreadable line" << line.left(80);
            continue;
        }
        // The kernel's order is user, nice, system, idle.
        const auto user = unsignedField(fields[1]);
        const auto nice = unsignedField(fields[2]);
        const auto system = unsignedField(fields[3]);
        const auto idle = unsignedField(fields[4]);
        if (!user || !nice || !system || !idle) {
            qCWarning(lcMonitor).noquote() << "[OV] /proc/stat: unreadable line" << line.left(80);
            continue;
        }
        result.append({cpu, *user, *system, *idle, *nice});
    }
    if (result.isEmpty())
        return std::nullopt;
    return result;
}

MemoryInfo memInfo(QByteArrayView text)
{
    QHash<QByteArray, quint64> kib;
    for (const QByteArray &line : QByteArray(text.data(), text.size()).split('\n')) {
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0)
            continue;
        QByteArray value = line.mid(colon + 1).trimmed();
        if (value.endsWith(" kB"))
            value.chop(3);
        if (const auto number = unsignedField(value))
            kib.insert(line.left(colon), *number);
    }
    MemoryInfo info;
    const quint64 physical = kib.value("MemTotal") * 1024;
    if (physical == 0) {
        qCWarning(lcMonitor) << "[OV] /proc/meminfo: no MemTotal; memory reads as 0";
        return info;
    }
    const quint64 active = kib.value("Active") * 1024;
    const quint64 wired = kib.value("Unevictable") * 1024;
    const quint64 compressed = kib.value("Zswap") * 1024;
    const quint64 freeAndInactive = (kib.value("MemFree") + kib.value("Inactive")) * 1024;
    // Kernels before 3.14 have no MemAvailable; free memory plus the reclaimable caches is
    // what `free` showed as available there. Without either, the file was cut short and
    // says nothing about use.
    quint64 availableKiB = kib.value("MemTotal");
    if (kib.contains("MemAvailable"))
        availableKiB = kib.value("MemAvailable");
    else if (kib.contains("MemFree"))
        availableKiB =
            kib.value("MemFree") + kib.value("Buffers") + kib.value("Cached") + kib.value("SReclaimable");
    else
        qCWarning(lcMonitor)
            << "[OV] /proc/meminfo: neither MemAvailable nor MemFree; used memory reads as 0";
    const quint64 available = availableKiB * 1024;
    const quint64 used = available < physical ? physical - available : 0;
    info.usage = clampPercent(double(used) / double(physical) * 100.0);
    info.pressure = clampPercent((double(physical) - double(freeAndInactive)) / double(physical) * 100.0);
    info.usedGB = double(used) / kBytesPerGiB;
    info.totalGB = double(physical) / kBytesPerGiB;
    info.activeGB = double(active) / kBytesPerGiB;
    info.wiredGB = double(wired) / kBytesPerGiB;
    info.compressedGB = double(compressed) / kBytesPerGiB;
    const quint64 swapTotal = kib.value("SwapTotal");
    const quint64 swapFree = kib.value("SwapFree");
    info.swapUsed = swapFree < swapTotal ? (swapTotal - swapFree) * 1024 : 0;
    return info;
}

std::optional<double> memoryPressure(QByteArrayView text)
{
    // "some avg10=1.37 avg60=0.84 avg300=0.21 total=48213370"
    for (const QByteArray &line : QByteArray(text.data(), text.size()).split('\n')) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.constFirst() != "some")
            continue;
        for (const QByteArray &field : fields) {
            if (!field.startsWith("avg10="))
                continue;
            bool ok = false;
            const double percent = field.mid(6).toDouble(&ok);
            if (!ok || !(percent >= 0))
                return std::nullopt;
            return std::min(percent, 100.0);
        }
    }
    return std::nullopt;
}

std::optional<quint64> processStartTime(QByteArrayView text)
{
    const QByteArray line(text.data(), text.size());
    const qsizetype close = line.lastIndexOf(')');
    if (close < 0)
        return std::nullopt;
    // After the name come fields 3 (state) onwards; the start time is the 20th of them.
    const QList<QByteArray> fields = line.mid(close + 1).simplified().split(' ');
    constexpr qsizetype kStartTimeAfterName = 22 - 3;
    if (fields.size() <= kStartTimeAfterName)
        return std::nullopt;
    bool ok = false;
    const quint64 ticks = fields[kStartTimeAfterName].toULongLong(&ok);
    return ok ? std::optional(ticks) : std::nullopt;
}

std::optional<double> uptime(QByteArrayView text)
{
    const QList<QByteArray> fields = QByteArray(text.data(), text.size()).simplified().split(' ');
    bool ok = false;
    const double seconds = fields.constFirst().toDouble(&ok);
    if (!ok || seconds < 0)
        return std::nullopt;
    return seconds;
}

std::optional<qint64> sysfsInteger(QByteArrayView text)
{
    bool ok = false;
    const qint64 value = QByteArray(text.data(), text.size()).trimmed().toLongLong(&ok);
    return ok ? std::optional(value) : std::nullopt;
}

QString kernelVersion(QByteArrayView release)
{
    static const QRegularExpression leadingNumbers(QStringLiteral("^(\\d+)(?:\\.(\\d+))?(?:\\.(\\d+))?"));
    const QRegularExpressionMatch match =
        leadingNumbers.match(QString::fromLatin1(release.data(), release.size()).trimmed());
    if (!match.hasMatch())
        return QString();
    QStringList parts;
    for (int i = 1; i <= 3; ++i)
        parts.append(match.captured(i).isEmpty() ? QStringLiteral("0") : match.captured(i));
    return parts.join(u'.');
}

QString friendlyModelName(const DmiFields &dmi)
{
    // Firmware templates leave these in place of a real name.
    static const QStringList placeholders = {
        QStringLiteral("To be filled by O.E.M."), QStringLiteral("System Product Name"),
        QStringLiteral("Default string"),         QStringLiteral("System Version"),
        QStringLiteral("Not Applicable"),         QStringLiteral("None"),
        QStringLiteral("Type1ProductConfigId"),   QStringLiteral("INVALID"),
    };
    auto usable = [](const QString &value) {
        const QString v = value.trimmed();
        return !v.isEmpty() && !placeholders.contains(v, Qt::CaseInsensitive);
    };
    // Lenovo puts a machine-type code such as "20XW0026GE" in the product name and the
    // marketing name in the version.
    if (dmi.sysVendor.trimmed().compare(QLatin1String("LENOVO"), Qt::CaseInsensitive) == 0
        && usable(dmi.productVersion))
        return dmi.productVersion.trimmed();
    if (usable(dmi.productName))
        return dmi.productName.trimmed();
    if (usable(dmi.productFamily))
        return dmi.productFamily.trimmed();
    if (usable(dmi.boardName))
        return dmi.boardName.trimmed();
    return QString();
}

} // namespace orvella::platform::parsers
