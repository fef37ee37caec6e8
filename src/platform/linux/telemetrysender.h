// Posts one telemetry event over HTTP and says whether the server confirmed it.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>

#include <chrono>
#include <optional>

class QNetworkAccessManager;

namespace orvella::platform {

/**
 * Lives on the telemetry worker thread; its network session is created there on the
 * first post. Each `post` ends in exactly one `finished`.
 */
class TelemetrySender : public QObject
{
    Q_OBJECT
public:
    explicit TelemetrySender(QObject *parent = nullptr);
    ~TelemetrySender() override;

    /// POSTs `body` as "application/json"; gives up after `timeout` without progress.
    void post(const QUrl &endpoint, const QByteArray &body, std::chrono::milliseconds timeout);

    /// Why an answer does not confirm delivery, or absent when it does: no transport
    /// error, a 2xx status and a JSON object whose "ok" is the boolean true.
    static std::optional<QString> failureOf(const std::optional<QString> &transportError, int httpStatus,
                                            const QByteArray &body);

signals:
    /// `failure` is empty when the server confirmed the event.
    void finished(bool confirmed, const QString &failure);

private:
    QNetworkAccessManager *m_network = nullptr;
};

} // namespace orvella::platform
