// What `orvella sysmon` prints of the system monitor's readings.
#include "shell/sysmonreport.h"

#include "monitor/systemmonitorservice.h"
#include "shell/terminaltext.h"

#include <QJsonArray>
#include <QMetaProperty>

namespace orvella::shell::sysmonReport {

namespace {

QString percent(double value)
{
    return QString::asprintf("%.1f %%", value);
}

QString gib(double value)
{
    return QString::asprintf("%.1f GiB", value);
}

} // namespace

QJsonObject toJson(const monitor::SystemMonitorService &m)
{
    QJsonObject json;
    const QMetaObject *meta = m.metaObject();
    for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
        const QMetaProperty property = meta->property(i);
        const QVariant value = property.read(&m);
        if (value.metaType() == QMetaType::fromType<QList<double>>()) {
            QJsonArray array;
            for (double v : value.value<QList<double>>())
                array.append(v);
            json.insert(QLatin1String(property.name()), array);
        } else if (value.metaType() == QMetaType::fromType<QDateTime>()) {
            json.insert(QLatin1String(property.name()), value.toDateTime().toString(Qt::ISODate));
        } else {
            json.insert(QLatin1String(property.name()), QJsonValue::fromVariant(value));
        }
    }
    return json;
}

QByteArray toText(const monitor::SystemMonitorService &m)
{
    using S = monitor::SystemMonitorService;
    QStringList lines;
    lines << QStringLiteral("CPU          %1").arg(percent(m.cpuUsage()));
    lines << QStringLiteral("Memory       %1 of %2 (used %3, active %4, wired %5, compressed %6), "
                            "pressure %7, swap %8")
                 .arg(percent(m.memoryUsage()), gib(m.memoryTotalGB()), gib(m.memoryUsedGB()),
                      gib(m.memoryActiveGB()), gib(m.memoryWiredGB()), gib(m.memoryCompressedGB()),
                      percent(m.memoryPressure()), S::formatBytes(m.swapUsedBytes()));
    lines << QStringLiteral("Disk         %1: %2 of %3 (used %4)")
                 .arg(m.diskName(), percent(m.diskUsage()), gib(m.diskTotalGB()), gib(m.diskUsedGB()));
    lines << QStringLiteral("Network      down %1, up %2 (%3, %4)")
                 .arg(S::formatSpeed(m.networkDownSpeed()), S::formatSpeed(m.networkUpSpeed()),
                      m.networkInterface().isEmpty() ? QStringLiteral("-") : m.networkInterface(),
                      m.localIP().isEmpty() ? QStringLiteral("no local address") : m.localIP());
    lines << QStringLiteral("External     %1")
                 .arg(m.externalIP().isEmpty() ? QStringLiteral("-") : m.externalIP());
    if (m.hasBattery()) {
        lines << QStringLiteral("Battery      %1 (%2 of %3), %4, %5 C, %6 V")
                     .arg(m.batteryLevel() < 0 ? QStringLiteral("unknown") : percent(m.batteryLevel()),
                          QString::number(m.batteryCapacityMAh()), QString::number(m.batteryMaxCapacityMAh()),
                          m.isCharging() ? QStringLiteral("charging") : QStringLiteral("not charging"),
                          QString::number(m.batteryTemperature(), 'f', 1),
                          QString::number(m.batteryVoltage(), 'f', 2));
        lines << QStringLiteral("Adapter      %1")
                     .arg(m.isPluggedIn() ? QStringLiteral("plugged in, %1 W (%2 A, %3 V)")
                                                .arg(m.adapterWatts())
                                                .arg(m.adapterAmps(), 0, 'f', 2)
                                                .arg(m.adapterVoltage(), 0, 'f', 1)
                                          : QStringLiteral("not plugged in"));
    } else {
        lines << QStringLiteral("Battery      none");
    }
    lines << QStringLiteral("Temperature  %1")
                 .arg(m.cpuTemperature() > 0 ? QString::asprintf("%.1f C", m.cpuTemperature())
                                             : QStringLiteral("not available"));
    lines << QStringLiteral("Uptime       %1 (booted %2)")
                 .arg(S::formatUptime(m.uptime()), m.bootDate().toLocalTime().toString(Qt::ISODate));
    lines << QStringLiteral("Model        %1")
                 .arg(m.modelName().isEmpty() ? QStringLiteral("-") : m.modelName());
    lines << QStringLiteral("Kernel       %1").arg(m.osVersion());
    return terminalText::lines(lines) + '\n';
}

} // namespace orvella::shell::sysmonReport
