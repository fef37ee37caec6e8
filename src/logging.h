// Logging categories, one per subsystem; lines reach stderr (and so the journal).
#pragma once

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcPlatform)
Q_DECLARE_LOGGING_CATEGORY(lcSettings)
Q_DECLARE_LOGGING_CATEGORY(lcTracking)
Q_DECLARE_LOGGING_CATEGORY(lcActions)
Q_DECLARE_LOGGING_CATEGORY(lcShell)
Q_DECLARE_LOGGING_CATEGORY(lcMonitor)
Q_DECLARE_LOGGING_CATEGORY(lcTelemetry)
Q_DECLARE_LOGGING_CATEGORY(lcServices)

namespace orvella::logging {

/// How many of this run's log lines recentLines() keeps.
inline constexpr int kRecentLineCount = 200;

/// Starts keeping this run's last log lines in memory, for the diagnostics the user can
/// send. Chains to the handler installed before, so stderr output stays as it was. Once
/// per process; later calls do nothing.
void keepRecentLines();
/// The kept lines, oldest first, formatted as the message pattern formats them.
QStringList recentLines();

} // namespace orvella::logging
