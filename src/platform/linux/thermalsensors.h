// The processor temperature from hwmon sensors and ACPI thermal zones.
#pragma once

#include <QString>
#include <QStringList>

#include <atomic>

namespace orvella::platform {

/**
 * Sensors are tried in a fixed order: coretemp's "Package id 0", k10temp's "Tctl",
 * zenpower's "Tdie"/"Tctl", then the ACPI thermal zones. The first value strictly
 * between 0 and 130 degrees is the temperature; implausible values are skipped.
 */
class ThermalSensors
{
public:
    /// `root` without a trailing slash; empty for "/".
    explicit ThermalSensors(QString root);

    /// Degrees Celsius; 0 when no sensor gives a plausible value.
    double cpuTemperature() const;
    /// The input files in the order they are tried.
    QStringList candidates() const;

private:
    QString m_hwmon;
    QString m_thermal;
    /// A machine without sensors says so once, not at every poll (sampled on a worker).
    mutable std::atomic_bool m_absenceLogged{false};
};

} // namespace orvella::platform
