// Fetching and reading the small JSON document that announces the latest release.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>

#include <chrono>
#include <optional>
#include <variant>

class QNetworkAccessManager;

namespace orvella::platform {

/// The latest release as a feed announces it.
struct UpdateFeedEntry
{
    QString version;
    QUrl releasePage;
    bool urgent = false;
    QString notes;
};

/**
 * Lives on a worker thread; its network session is created there on the first fetch.
 * Each `fetch` ends in exactly one `finished`, with the body (at most kMaxBytes) or a
 * failure in words.
 */
class UpdateFeed : public QObject
{
    Q_OBJECT
public:
    /// A feed is a few hundred bytes; anything near this is not one.
    static constexpr qint64 kMaxBytes = 64 * 1024;

    explicit UpdateFeed(QObject *parent = nullptr);

    /// GETs `url`; gives up when the whole exchange takes longer than `deadline`.
    void fetch(const QUrl &url, std::chrono::milliseconds deadline);

    /// Whether `text` is a dotted version of one to four numbers ("1.4.0").
    static bool isVersion(const QString &text);
    /// The entry in a feed body, or why the body is not a feed.
    static std::variant<UpdateFeedEntry, QString> parse(const QByteArray &body);

signals:
    /// `failure` is empty when `body` arrived whole.
    void finished(const QByteArray &body, const QString &failure);

private:
    QNetworkAccessManager *m_network = nullptr;
};

} // namespace orvella::platform
