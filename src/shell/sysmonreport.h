// What `orvella sysmon` prints of the system monitor's readings.
#pragma once

#include <QByteArray>
#include <QJsonObject>

namespace orvella::monitor {
class SystemMonitorService;
}

namespace orvella::shell::sysmonReport {

/// Every readable property of the monitor under its own name.
QJsonObject toJson(const monitor::SystemMonitorService &monitor);
/// A block of labelled lines for people, ending with an empty line.
QByteArray toText(const monitor::SystemMonitorService &monitor);

} // namespace orvella::shell::sysmonReport
