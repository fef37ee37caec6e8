// One telemetry event as it is queued and sent.
#pragma once

#include "services/installattribution.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace orvella::services {

struct TelemetryEvent
{
    QString installID;
    QString event;
    QString version;
    std::optional<QString> previousVersion;
    QString channel;
    QString platform;
    QString timestamp;
    std::optional<InstallAttribution> attribution;
    bool isInternal = false;
    std::optional<QString> internalReason;

    /// Compact JSON with the keys in sorted order and absent optionals left out; this is
    /// both the queued text and the request body.
    QByteArray toJson() const;
};

} // namespace orvella::services
