// One telemetry event as it is queued and sent.
#include "services/telemetryevent.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace orvella::services {

QByteArray TelemetryEvent::toJson() const
{
    // QJsonObject keeps its keys sorted, which is the order the server documents.
    QJsonObject json = attribution ? attribution->toJson() : QJsonObject();
    json.insert(QStringLiteral("install_id"), installID);
    json.insert(QStringLiteral("event"), event);
    json.insert(QStringLiteral("version"), version);
    if (previousVersion)
        json.insert(QStringLiteral("previous_version"), *previousVersion);
    json.insert(QStringLiteral("channel"), channel);
    json.insert(QStringLiteral("platform"), platform);
    json.insert(QStringLiteral("timestamp"), timestamp);
    json.insert(QStringLiteral("is_internal"), isInternal);
    if (internalReason)
        json.insert(QStringLiteral("internal_reason"), *internalReason);
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

} // namespace orvella::services
