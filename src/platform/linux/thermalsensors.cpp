// The processor temperature from hwmon sensors and ACPI thermal zones.
#include "platform/linux/thermalsensors.h"

#include "logging.h"
#include "platform/linux/kernelparsers.h"
#include "platform/linux/sysfsfile.h"

#include <QDir>
#include <QRegularExpression>

#include <algorithm>
#include <cerrno>
#include <dirent.h>

namespace orvella::platform {

namespace {

// "hwmon10" after "hwmon9": entries sorted by their number, not as text.
QStringList numberedEntries(const QString &directory, const QString &prefix)
{
    QStringList names = QDir(directory).entryList({prefix + u'*'}, QDir::Dirs | QDir::NoDotAndDotDot);
    auto number = [&prefix](const QString &name) { return name.mid(prefix.size()).toInt(); };
    std::sort(names.begin(), names.end(),
              [&number](const QString &a, const QString &b) { return number(a) < number(b); });
    return names;
}

// The temperature inputs of one hwmon device whose label is among `labels`, in label order.
QStringList labelledInputs(const QString &device, const QStringList &labels)
{
    static const QRegularExpression labelFile(QStringLiteral("^temp(\\d+)_label$"));
    QStringList found;
    for (const QString &wanted : labels) {
        for (const QString &file : QDir(device).entryList({QStringLiteral("temp*_label")}, QDir::Files)) {
            const QRegularExpressionMatch match = labelFile.match(file);
            if (match.hasMatch() && sysfs::readLine(device + u'/' + file) == wanted)
                found.append(device + QStringLiteral("/temp%1_input").arg(match.captured(1)));
        }
    }
    return found;
}

} // namespace

ThermalSensors::ThermalSensors(QString root)
    : m_hwmon(root + QLatin1String("/sys/class/hwmon"))
    , m_thermal(root + QLatin1String("/sys/class/thermal"))
{}

QStringList ThermalSensors::candidates() const
{
    const QList<std::pair<QString, QStringList>> order = {
        {QStringLiteral("coretemp"), {QStringLiteral("Package id 0")}},
        {QStringLiteral("k10temp"), {QStringLiteral("Tctl")}},
        {QStringLiteral("zenpower"), {QStringLiteral("Tdie"), QStringLiteral("Tctl")}},
    };
    const QStringList devices = numberedEntries(m_hwmon, QStringLiteral("hwmon"));
    QStringList inputs;
    for (const auto &[driver, labels] : order) {
        for (const QString &device : devices) {
            const QString directory = m_hwmon + u'/' + device;
            if (sysfs::readLine(directory + QLatin1String("/name")) == driver)
                inputs += labelledInputs(directory, labels);
        }
    }
    for (const QString &zone : numberedEntries(m_thermal, QStringLiteral("thermal_zone"))) {
        const QString directory = m_thermal + u'/' + zone;
        if (sysfs::readLine(directory + QLatin1String("/type")) == QLatin1String("acpitz"))
            inputs.append(directory + QLatin1String("/temp"));
    }
    return inputs;
}

double ThermalSensors::cpuTemperature() const
{
    // A sensor directory that exists but cannot be listed is reported with its error.
    if (DIR *directory = ::opendir(QFile::encodeName(m_hwmon).constData())) {
        ::closedir(directory);
    } else if (errno != ENOENT) {
        qCInfo(lcMonitor).noquote() << "[OV] SMC: failed to open (" + QString::number(errno) + u')';
        return 0;
    }
    const QStringList inputs = candidates();
    if (inputs.isEmpty()) {
        if (!m_absenceLogged.exchange(true))
            qCInfo(lcMonitor) << "[OV] SMC: service not found";
        return 0;
    }
    for (const QString &input : inputs) {
        const std::optional<QByteArray> text = sysfs::readFile(input);
        const std::optional<qint64> milli = text ? platform::parsers::sysfsInteger(*text) : std::nullopt;
        if (!milli)
            continue;
        const double celsius = double(*milli) / 1000.0;
        if (celsius > 0 && celsius < 130)
            return celsius;
    }
    return 0;
}

} // namespace orvella::platform
