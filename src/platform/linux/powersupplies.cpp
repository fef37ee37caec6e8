// The battery and power adapter from /sys/class/power_supply.
#include "platform/linux/powersupplies.h"

#include "logging.h"
#include "platform/linux/kernelparsers.h"
#include "platform/linux/sysfsfile.h"

#include <QDir>

#include <cmath>

namespace orvella::platform {

namespace {

// One integer attribute; absent (and logged once per read at debug level) when missing
// or not a number.
std::optional<qint64> attribute(const QString &supply, const char *name)
{
    const std::optional<QByteArray> text = sysfs::readFile(supply + u'/' + QLatin1String(name));
    if (!text)
        return std::nullopt;
    const std::optional<qint64> value = platform::parsers::sysfsInteger(*text);
    if (!value)
        qCDebug(lcMonitor).noquote() << "[OV] power supply: not a number in"
                                     << supply + u'/' + QLatin1String(name);
    return value;
}

QString textAttribute(const QString &supply, const char *name)
{
    return sysfs::readLine(supply + u'/' + QLatin1String(name));
}

// The first of the attributes the driver reports, in micro units.
std::optional<qint64> firstOf(const QString &supply, std::initializer_list<const char *> names)
{
    for (const char *name : names) {
        if (const auto value = attribute(supply, name))
            return value;
    }
    return std::nullopt;
}

} // namespace

PowerSupplies::PowerSupplies(QString root)
    : m_directory(root + QLatin1String("/sys/class/power_supply"))
{}

QString PowerSupplies::internalBatteryDirectory() const
{
    const QStringList names = QDir(m_directory).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString &name : names) {
        const QString supply = m_directory + u'/' + name;
        if (textAttribute(supply, "type") != QLatin1String("Battery"))
            continue;
        if (textAttribute(supply, "scope") == QLatin1String("Device"))
            continue;
        if (attribute(supply, "present") == 0)
            continue;
        return supply;
    }
    return QString();
}

QString PowerSupplies::internalBattery() const
{
    const QString supply = internalBatteryDirectory();
    if (supply.isEmpty() && !m_absenceReported.exchange(true))
        qCInfo(lcMonitor) << "[OV] power supply: no internal battery";
    return supply;
}

bool PowerSupplies::hasInternalBattery() const
{
    return !internalBattery().isEmpty();
}

std::optional<BatteryInfo> PowerSupplies::battery() const
{
    const QString supply = internalBattery();
    if (supply.isEmpty())
        return std::nullopt;
    BatteryInfo info;
    // Drivers report charge in µAh or, some, energy in µWh; either gives the level.
    const std::optional<qint64> now = firstOf(supply, {"charge_now", "energy_now"});
    const std::optional<qint64> full = firstOf(supply, {"charge_full", "energy_full"});
    info.currentMAh = int(now.value_or(0) / 1000);
    info.maxMAh = int(full.value_or(0) / 1000);
    if (info.maxMAh >= 1)
        info.level = double(info.currentMAh) / double(info.maxMAh) * 100.0;
    else if (const auto percent = attribute(supply, "capacity"))
        info.level = double(*percent);
    info.charging = textAttribute(supply, "status") == QLatin1String("Charging");
    info.temp = double(attribute(supply, "temp").value_or(0)) / 10.0; // tenths of a degree
    info.voltage = double(attribute(supply, "voltage_now").value_or(0)) / 1e6;

    bool adapterSeen = false;
    const QStringList names = QDir(m_directory).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString &name : names) {
        const QString adapter = m_directory + u'/' + name;
        const QString type = textAttribute(adapter, "type");
        if (type != QLatin1String("Mains") && type != QLatin1String("USB"))
            continue;
        adapterSeen = true;
        if (attribute(adapter, "online").value_or(0) != 1)
            continue;
        info.pluggedIn = true;
        // A "Mains" entry often reports nothing but "online"; the USB-C entry of the
        // same charger knows its voltage and current.
        const double volts = double(firstOf(adapter, {"voltage_now", "voltage_max"}).value_or(0)) / 1e6;
        const double amps = double(firstOf(adapter, {"current_now", "current_max"}).value_or(0)) / 1e6;
        if (info.adapterW == 0 && volts > 0 && amps > 0) {
            info.adapterV = volts;
            info.adapterA = amps;
            info.adapterW = int(std::lround(volts * amps));
        }
    }
    // Without an adapter entry at all, a charging battery is the only sign of one.
    if (!adapterSeen)
        info.pluggedIn = info.charging;
    return info;
}

} // namespace orvella::platform
