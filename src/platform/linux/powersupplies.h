// The battery and power adapter from /sys/class/power_supply.
#pragma once

#include "platform/readings.h"

#include <QString>

#include <atomic>
#include <optional>

namespace orvella::platform {

/**
 * A "Battery" supply whose scope is not "Device" belongs to the machine (a "Device"
 * battery is a mouse's or a headset's). The first such battery by name is read; the
 * adapter is the "Mains" or "USB" supply that is online.
 */
class PowerSupplies
{
public:
    /// `root` without a trailing slash; empty for "/".
    explicit PowerSupplies(QString root);

    bool hasInternalBattery() const;
    /// Absent without an internal battery.
    std::optional<BatteryInfo> battery() const;

private:
    QString internalBatteryDirectory() const;
    /// The same, saying once per run that there is none.
    QString internalBattery() const;

    QString m_directory;
    mutable std::atomic_bool m_absenceReported = false;
};

} // namespace orvella::platform
