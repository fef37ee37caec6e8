// The machine's address as a public service sees it, fetched with one plain GET.
#include "platform/externaladdress.h"

#include "logging.h"

#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

#include <algorithm>
#include <memory>

namespace orvella::platform {

QUrl defaultExternalAddressUrl()
{
    return QUrl(QStringLiteral("https://api.ipify.org"));
}

std::optional<QString> parseExternalAddress(const QByteArray &answer)
{
    if (answer.size() > kExternalAddressMaxBytes)
        return std::nullopt;
    const QByteArray text = answer.trimmed();
    // QHostAddress alone would take a scope id ("fe80::1%eth0") and lenient IPv4 forms
    // ("127.1", "0x7f.0.0.1"); an address service sends neither.
    const bool addressCharacters = !text.isEmpty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F') || c == '.'
               || c == ':';
    });
    if (!addressCharacters)
        return std::nullopt;
    const QString candidate = QString::fromLatin1(text);
    QHostAddress address;
    if (!address.setAddress(candidate))
        return std::nullopt;
    switch (address.protocol()) {
    case QAbstractSocket::IPv4Protocol:
        // Only the four plain decimal parts, as the address writes itself.
        if (address.toString() != candidate)
            return std::nullopt;
        return candidate;
    case QAbstractSocket::IPv6Protocol: return address.toString();
    default: return std::nullopt;
    }
}

QObject *fetchExternalAddress(const QUrl &url, QObject *context,
                              std::function<void(const std::optional<QString> &)> done)
{
    if (url.isEmpty())
        return nullptr;
    const QString scheme = url.scheme();
    if (!url.isValid()
        || (scheme != QLatin1String("http") && scheme != QLatin1String("https")
            && scheme != QLatin1String("file"))) {
        qCWarning(lcMonitor).noquote() << "[OV] external address: not an http, https or file URL:"
                                       << url.toString(QUrl::RemoveUserInfo).left(200)
                                              + QLatin1String("; the reading stays unavailable");
        return nullptr;
    }
    // Owned by the context, so a monitor that goes away takes its request with it.
    auto *network = new QNetworkAccessManager(context);
    QNetworkReply *reply = network->get(QNetworkRequest(url));
    // The network thread stops reading past this, whatever the server keeps sending.
    reply->setReadBufferSize(kExternalAddressMaxBytes + 1);

    struct Answer
    {
        QByteArray body;
        bool tooLong = false;
        bool tooSlow = false;
    };
    auto answer = std::make_shared<Answer>();
    // Taken as it arrives, so no more than the limit and one byte is ever held.
    const auto take = [reply, answer] {
        if (answer->tooLong)
            return;
        answer->body += reply->read(kExternalAddressMaxBytes + 1 - answer->body.size());
        if (answer->body.size() > kExternalAddressMaxBytes) {
            answer->tooLong = true;
            reply->abort();
        }
    };
    QObject::connect(reply, &QIODevice::readyRead, network, take);

    auto *deadline = new QTimer(reply);
    deadline->setSingleShot(true);
    QObject::connect(deadline, &QTimer::timeout, reply, [reply, answer] {
        answer->tooSlow = true;
        reply->abort();
    });
    deadline->start(kExternalAddressTimeout);

    QObject::connect(reply, &QNetworkReply::finished, network,
                     [network, reply, deadline, answer, take, done = std::move(done)] {
                         deadline->stop();
                         reply->deleteLater();
                         network->deleteLater();
                         take();
                         std::optional<QString> address;
                         if (answer->tooLong) {
                             qCWarning(lcMonitor).noquote()
                                 << "[OV] external address: the answer is longer than"
                                 << kExternalAddressMaxBytes << "bytes; the reading stays unavailable";
                         } else if (answer->tooSlow) {
                             qCInfo(lcMonitor).noquote()
                                 << "[OV] external address: no answer within"
                                 << kExternalAddressTimeout.count() << "s; the reading stays unavailable";
                         } else if (reply->error() != QNetworkReply::NoError) {
                             qCInfo(lcMonitor).noquote()
                                 << "[OV] external address:"
                                 << reply->errorString() + QLatin1String("; the reading stays unavailable");
                         } else if (!(address = parseExternalAddress(answer->body))) {
                             qCWarning(lcMonitor).noquote()
                                 << "[OV] external address: the answer of" << answer->body.size()
                                 << "bytes is not one IPv4 or IPv6 address; the reading stays unavailable";
                         }
                         done(address);
                     });
    return network;
}

} // namespace orvella::platform
