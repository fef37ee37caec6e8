// Value records the system readers return: what the machine says, before any arithmetic.
#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace orvella::platform {

/// Tick counters of one processor, as the kernel counts them since boot.
struct CpuTicks
{
    int cpu = 0; ///< processor number
    quint64 user = 0;
    quint64 system = 0;
    quint64 idle = 0;
    quint64 nice = 0;
    friend bool operator==(const CpuTicks &, const CpuTicks &) = default;
};

struct MemoryInfo
{
    double usage = 0;
    double usedGB = 0;
    double totalGB = 0;
    double pressure = 0;
    double activeGB = 0;
    double wiredGB = 0;
    double compressedGB = 0;
    quint64 swapUsed = 0;
};

/// What the file system of the home directory reports, in bytes.
struct VolumeCapacity
{
    quint64 total = 0;
    quint64 available = 0;
    QString name; ///< label, else mount point; empty when neither is known
};

/// One address entry of one network interface.
struct InterfaceEntry
{
    enum class Kind { Link, IPv4, Other };
    QString name;
    Kind kind = Kind::Other;
    quint32 rxBytes = 0; ///< link entries: the interface's 32-bit counters
    quint32 txBytes = 0;
    QString address; ///< IPv4 entries: numeric text
};

struct BatteryInfo
{
    double level = -1;
    double temp = 0;
    double voltage = 0;
    double adapterA = 0;
    double adapterV = 0;
    int currentMAh = 0;
    int maxMAh = 0;
    int adapterW = 0;
    bool charging = false;
    bool pluggedIn = false;
};

constexpr double kBytesPerGiB = 1073741824.0;

} // namespace orvella::platform
