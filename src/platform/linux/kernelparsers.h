// Pure parsers of the kernel's text files the system monitor reads.
#pragma once

#include "platform/readings.h"

#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>

namespace orvella::platform::parsers {

/// The per-processor "cpuN" lines of /proc/stat; absent when there is none usable.
std::optional<QList<CpuTicks>> procStat(QByteArrayView text);

/// The figures of /proc/meminfo as the monitor publishes them; all zero without MemTotal.
/// Used memory is MemTotal - MemAvailable, the figure `free` and desktop monitors show.
/// The pressure is the page-count estimate; the kernel's own measure replaces it where
/// the caller has one (see `memoryPressure`).
MemoryInfo memInfo(QByteArrayView text);

/// The "some avg10" figure of /proc/pressure/memory: the share, in percent, of the last
/// ten seconds in which some task waited for memory. Absent when the text has none.
std::optional<double> memoryPressure(QByteArrayView text);

/// The start time (field 22, clock ticks after boot) from a /proc/PID/stat line; the
/// command name in field 2 may hold spaces and parentheses.
std::optional<quint64> processStartTime(QByteArrayView text);

/// Seconds since boot from /proc/uptime.
std::optional<double> uptime(QByteArrayView text);

/// A whole number from a sysfs attribute ("12345\n"); absent when empty or not a number.
std::optional<qint64> sysfsInteger(QByteArrayView text);

/// "6.1.0-13-amd64" gives "6.1.0"; a missing minor or patch number counts as 0.
QString kernelVersion(QByteArrayView release);

/// The DMI identification attributes that name a machine.
struct DmiFields
{
    QString sysVendor;
    QString productName;
    QString productVersion;
    QString productFamily;
    QString boardName;
};

/// The name people know the machine by; empty when the firmware names nothing.
QString friendlyModelName(const DmiFields &dmi);

} // namespace orvella::platform::parsers
