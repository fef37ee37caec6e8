// Fetching and reading the small JSON document that announces the latest release.
#include "platform/updatefeed.h"

#include "platform/serviceurl.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QTimer>

namespace orvella::platform {

UpdateFeed::UpdateFeed(QObject *parent)
    : QObject(parent)
{}

void UpdateFeed::fetch(const QUrl &url, std::chrono::milliseconds deadline)
{
    if (!m_network)
        m_network = new QNetworkAccessManager(this);
    // A proxy from the environment must not see (or swallow) a request meant for this machine.
    m_network->setProxy(isLoopbackUrl(url) ? QNetworkProxy(QNetworkProxy::NoProxy)
                                           : QNetworkProxy(QNetworkProxy::DefaultProxy));

    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::SameOriginRedirectPolicy);
    QNetworkReply *reply = m_network->get(request);
    auto *timer = new QTimer(reply);
    timer->setSingleShot(true);

    // Each reply ends here exactly once; later signals from an aborted reply are ignored.
    auto done = std::make_shared<bool>(false);
    auto finish = [this, reply, done](const QByteArray &body, const QString &failure) {
        if (*done)
            return;
        *done = true;
        reply->disconnect(this);
        reply->abort();
        reply->deleteLater();
        emit finished(body, failure);
    };
    connect(timer, &QTimer::timeout, this, [finish, deadline] {
        finish({}, QStringLiteral("no answer within %1 ms").arg(deadline.count()));
    });
    connect(reply, &QNetworkReply::metaDataChanged, this, [reply, finish] {
        const qint64 length = reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
        if (length > kMaxBytes)
            finish({},
                   QStringLiteral("the feed announces %1 bytes, more than %2").arg(length).arg(kMaxBytes));
    });
    connect(reply, &QNetworkReply::readyRead, this, [reply, finish] {
        // Bodies without a length are judged as they come.
        if (reply->bytesAvailable() > kMaxBytes)
            finish({}, QStringLiteral("the feed is larger than %1 bytes").arg(kMaxBytes));
    });
    connect(reply, &QNetworkReply::finished, this, [reply, finish] {
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (reply->error() != QNetworkReply::NoError)
            finish({}, reply->errorString());
        else if (status != 200)
            finish({}, QStringLiteral("HTTP status %1").arg(status));
        else
            finish(reply->read(kMaxBytes + 1), QString());
    });
    timer->start(deadline);
}

bool UpdateFeed::isVersion(const QString &text)
{
    static const QRegularExpression pattern(QStringLiteral("^[0-9]{1,9}(\\.[0-9]{1,9}){0,3}$"));
    return pattern.match(text).hasMatch();
}

std::variant<UpdateFeedEntry, QString> UpdateFeed::parse(const QByteArray &body)
{
    if (body.size() > kMaxBytes)
        return QStringLiteral("the feed is larger than %1 bytes").arg(kMaxBytes);
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject())
        return QStringLiteral("the feed is not a JSON object");
    const QJsonObject object = doc.object();

    UpdateFeedEntry entry;
    entry.version = object.value(QLatin1String("version")).toString();
    if (!isVersion(entry.version))
        return QStringLiteral("the feed's \"version\" is missing or not a dotted version");
    entry.releasePage = QUrl(object.value(QLatin1String("url")).toString(), QUrl::StrictMode);
    if (!entry.releasePage.isValid() || entry.releasePage.scheme() != QLatin1String("https")
        || entry.releasePage.host().isEmpty())
        return QStringLiteral("the feed's \"url\" is not an https address");
    entry.urgent = object.value(QLatin1String("urgent")).toBool(false);
    entry.notes = object.value(QLatin1String("notes")).toString();
    return entry;
}

} // namespace orvella::platform
