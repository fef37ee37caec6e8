// Logging category definitions; debug lines are off unless QT_LOGGING_RULES enables them.
#include "logging.h"

Q_LOGGING_CATEGORY(lcPlatform, "orvella.platform", QtInfoMsg)
Q_LOGGING_CATEGORY(lcSettings, "orvella.settings", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTracking, "orvella.tracking", QtInfoMsg)
Q_LOGGING_CATEGORY(lcActions, "orvella.actions", QtInfoMsg)
Q_LOGGING_CATEGORY(lcShell, "orvella.shell", QtInfoMsg)
Q_LOGGING_CATEGORY(lcMonitor, "orvella.monitor", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTelemetry, "orvella.telemetry", QtInfoMsg)
Q_LOGGING_CATEGORY(lcServices, "orvella.services", QtInfoMsg)
