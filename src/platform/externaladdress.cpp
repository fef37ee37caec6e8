// The machine's address as a public service sees it, fetched with one plain GET.
#include "platform/externaladdress.h"

#include "logging.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QStringDecoder>

namespace orvella::platform {

QUrl defaultExternalAddressUrl()
{
    return QUrl(QStringLiteral("https://api.ipify.org"));
}

void fetchExternalAddress(const QUrl &url, QObject *context, std::function<void(const QString &)> done)
{
    if (!url.isValid() || url.isEmpty())
        return;
    // Owned by the context, so a monitor that goes away takes its request with it.
    auto *network = new QNetworkAccessManager(context);
    QNetworkReply *reply = network->get(QNetworkRequest(url));
    QObject::connect(reply, &QNetworkReply::finished, network, [network, reply, done = std::move(done)] {
        reply->deleteLater();
        network->deleteLater();
        if (reply->error() != QNetworkReply::NoError) {
            qCDebug(lcMonitor).noquote() << "[OV] external address:" << reply->errorString();
            return;
        }
        const QByteArray body = reply->readAll();
        QStringDecoder utf8(QStringDecoder::Utf8);
        const QString text = utf8.decode(body);
        if (utf8.hasError()) {
            qCDebug(lcMonitor) << "[OV] external address: the answer is not UTF-8 text";
            return;
        }
        done(text.trimmed());
    });
}

} // namespace orvella::platform
