// The seam through which the system monitor reads the machine.
#pragma once

#include "platform/readings.h"

#include <QList>
#include <QString>

#include <optional>

namespace orvella::platform {

/**
 * One reading of each fact the monitor samples. Readers fall back to absent or zero
 * values and never throw; they keep no state between calls, so the monitor's rules
 * about previous samples stay in one place. The one exception is which missing sensors
 * they have already reported: an absence is said once per run, not on every poll.
 * Called on the monitor's worker (and once on the main thread at construction);
 * implementations must not share mutable state.
 */
class SystemFacts
{
public:
    virtual ~SystemFacts() = default;

    /// Per-processor tick counters since boot.
    virtual std::optional<QList<CpuTicks>> cpuTicks() const = 0;
    virtual MemoryInfo memory() const = 0;
    /// The volume holding the home directory; absent when it cannot be asked.
    virtual std::optional<VolumeCapacity> homeVolume() const = 0;
    /// Link-level counters and IPv4 addresses of every interface, in the system's order.
    virtual QList<InterfaceEntry> interfaces() const = 0;
    /// Whether the machine has a battery of its own (not a mouse's or a phone's).
    virtual bool hasInternalBattery() const = 0;
    /// The internal battery and the power adapter; absent without a battery.
    virtual std::optional<BatteryInfo> battery() const = 0;
    /// Degrees Celsius of the processor, 0 when no sensor gives a plausible value.
    virtual double cpuTemperature() const = 0;
    virtual QString modelName() const = 0;
    /// Major, minor and patch numbers of the running kernel joined with ".".
    virtual QString osVersion() const = 0;
    virtual double uptimeSeconds() const = 0;
};

} // namespace orvella::platform
