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
