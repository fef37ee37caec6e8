// Posts one telemetry event over HTTP and says whether the server confirmed it.
#include "platform/linux/telemetrysender.h"

#include "platform/serviceurl.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QNetworkRequest>

namespace orvella::platform {

TelemetrySender::TelemetrySender(QObject *parent)
    : QObject(parent)
{}

TelemetrySender::~TelemetrySender() = default;

void TelemetrySender::post(const QUrl &endpoint, const QByteArray &body, std::chrono::milliseconds timeout)
{
    if (!m_network)
        m_network = new QNetworkAccessManager(this);

    QNetworkRequest request(endpoint);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setTransferTimeout(int(timeout.count()));
    // A proxy from the environment must not see (or swallow) a request meant for this machine.
    m_network->setProxy(isLoopbackUrl(endpoint) ? QNetworkProxy(QNetworkProxy::NoProxy)
                                                : QNetworkProxy(QNetworkProxy::DefaultProxy));

    QNetworkReply *reply = m_network->post(request, body);
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        reply->deleteLater();
        std::optional<QString> transportError;
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        // An HTTP error status is judged by its status below, not by Qt's wording of it.
        if (reply->error() != QNetworkReply::NoError && status == 0) {
            // The transfer timeout is the only thing that cancels a request here.
            const bool timedOut = reply->error() == QNetworkReply::OperationCanceledError
                                  || reply->error() == QNetworkReply::TimeoutError;
            transportError = timedOut ? QStringLiteral("no answer in time") : reply->errorString();
        }
        // A cancelled reply has nothing left to read.
        const auto failure =
            failureOf(transportError, status, transportError ? QByteArray() : reply->readAll());
        emit finished(!failure, failure.value_or(QString()));
    });
}

std::optional<QString> TelemetrySender::failureOf(const std::optional<QString> &transportError,
                                                  int httpStatus, const QByteArray &body)
{
    if (transportError)
        return *transportError;
    if (httpStatus < 200 || httpStatus > 299)
        return QStringLiteral("HTTP status %1").arg(httpStatus);
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject())
        return QStringLiteral("HTTP %1 with an answer that is not a JSON object").arg(httpStatus);
    const QJsonValue ok = doc.object().value(QStringLiteral("ok"));
    if (!ok.isBool() || !ok.toBool())
        return QStringLiteral("HTTP %1 without \"ok\": true").arg(httpStatus);
    return std::nullopt;
}

} // namespace orvella::platform
