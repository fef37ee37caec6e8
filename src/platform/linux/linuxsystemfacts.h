// The machine's facts from /proc, /sys, statvfs and getifaddrs.
#pragma once

#include "platform/linux/powersupplies.h"
#include "platform/linux/thermalsensors.h"
#include "platform/systemfacts.h"

#include <atomic>

namespace orvella::platform {

/**
 * Every path is read below `root` ("/" on a real machine), so tests point the readers
 * at a copy of another machine's files. The home directory is also taken below the
 * root; only the network interfaces always come from the running kernel.
 */
class LinuxSystemFacts final : public SystemFacts
{
public:
    explicit LinuxSystemFacts(QString root = QStringLiteral("/"), QString home = QString());

    std::optional<QList<CpuTicks>> cpuTicks() const override;
    MemoryInfo memory() const override;
    std::optional<VolumeCapacity> homeVolume() const override;
    QList<InterfaceEntry> interfaces() const override;
    bool hasInternalBattery() const override;
    std::optional<BatteryInfo> battery() const override;
    double cpuTemperature() const override;
    QString modelName() const override;
    QString osVersion() const override;
    double uptimeSeconds() const override;

    /// The label of the file system mounted at or above `path`, else its mount point,
    /// from the root's mount table and /dev/disk/by-label; empty when unknown.
    QString volumeName(const QString &path) const;

private:
    QString path(const QString &absolute) const { return m_root + absolute; }
    /// The kernel's own measure of memory pressure; absent where it keeps none.
    std::optional<double> memoryPressure() const;

    QString m_root; ///< without a trailing slash; empty for "/"
    QString m_home;
    PowerSupplies m_power;
    ThermalSensors m_thermal;
    mutable std::atomic_bool m_pressureFallbackReported = false;
};

} // namespace orvella::platform
