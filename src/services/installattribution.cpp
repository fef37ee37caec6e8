// Where this copy of Orvella was downloaded from, as far as the download's origin tells.
#include "services/installattribution.h"

#include <QRegularExpression>
#include <QUrl>
#include <QUrlQuery>

#include <algorithm>

namespace orvella::services {

namespace {

constexpr qsizetype kMaxHostLength = 120;
constexpr qsizetype kMaxPathLength = 160;
constexpr qsizetype kMaxQueryValueLength = 120;
constexpr qsizetype kMaxSlugLength = 80;

// What people download Orvella as; the Linux packages and Flatpak references stand
// beside the disk image.
const QStringList &downloadSuffixes()
{
    static const QStringList suffixes = {
        QStringLiteral(".dmg"), QStringLiteral(".appimage"),   QStringLiteral(".deb"),
        QStringLiteral(".rpm"), QStringLiteral(".flatpakref"), QStringLiteral(".flatpak"),
        QStringLiteral(".tgz"), QStringLiteral(".zip"),
    };
    return suffixes;
}

std::optional<QString> downloadSuffix(const QString &text)
{
    const QString lower = text.toLower();
    // A tarball under any compression: ".tar", ".tar.gz", ".tar.xz", ".tar.zst", ...
    static const QRegularExpression tarball(QStringLiteral("\\.tar(\\.[a-z0-9]{1,4})?$"));
    if (const QRegularExpressionMatch match = tarball.match(lower); match.hasMatch())
        return match.captured(0);
    for (const QString &suffix : downloadSuffixes()) {
        if (lower.endsWith(suffix))
            return suffix;
    }
    return std::nullopt;
}

void insertIfPresent(QJsonObject &json, const QString &key, const std::optional<QString> &value)
{
    if (value)
        json.insert(key, *value);
}

std::optional<QString> optionalText(const QJsonObject &json, const QString &key)
{
    const QJsonValue v = json.value(key);
    return v.isString() ? std::optional(v.toString()) : std::nullopt;
}

} // namespace

QJsonObject InstallAttribution::toJson() const
{
    QJsonObject json;
    json.insert(QStringLiteral("source_type"), sourceType);
    insertIfPresent(json, QStringLiteral("source_host"), sourceHost);
    insertIfPresent(json, QStringLiteral("source_path"), sourcePath);
    insertIfPresent(json, QStringLiteral("source_slug"), sourceSlug);
    insertIfPresent(json, QStringLiteral("utm_source"), utmSource);
    insertIfPresent(json, QStringLiteral("utm_medium"), utmMedium);
    insertIfPresent(json, QStringLiteral("utm_campaign"), utmCampaign);
    return json;
}

std::optional<InstallAttribution> InstallAttribution::fromJson(const QJsonObject &json)
{
    const QJsonValue type = json.value(QStringLiteral("source_type"));
    if (!type.isString())
        return std::nullopt;
    InstallAttribution a;
    a.sourceType = type.toString();
    a.sourceHost = optionalText(json, QStringLiteral("source_host"));
    a.sourcePath = optionalText(json, QStringLiteral("source_path"));
    a.sourceSlug = optionalText(json, QStringLiteral("source_slug"));
    a.utmSource = optionalText(json, QStringLiteral("utm_source"));
    a.utmMedium = optionalText(json, QStringLiteral("utm_medium"));
    a.utmCampaign = optionalText(json, QStringLiteral("utm_campaign"));
    return a;
}

QString InstallAttribution::productHost()
{
    return QStringLiteral("orvella.app");
}

int InstallAttribution::sourcePriority(const QString &url)
{
    if (!downloadSuffix(url))
        return 0;
    const QString host = QUrl(url).host().toLower();
    const bool ours = host == productHost() || host.endsWith(QLatin1Char('.') + productHost());
    return ours ? 1 : 2;
}

QStringList InstallAttribution::whereFromURLs(const QStringList &urls)
{
    QStringList kept;
    for (const QString &text : urls) {
        const QUrl url(text, QUrl::StrictMode);
        if (url.isValid() && url.scheme() == QLatin1String("https") && !url.host().isEmpty())
            kept.append(text);
    }
    std::stable_sort(kept.begin(), kept.end(), [](const QString &a, const QString &b) {
        return sourcePriority(a) < sourcePriority(b);
    });
    return kept;
}

std::optional<QString> InstallAttribution::sanitizedHost(const QString &host)
{
    const QString clean = host.trimmed().toLower();
    if (clean.isEmpty() || clean.size() > kMaxHostLength)
        return std::nullopt;
    return clean;
}

std::optional<QString> InstallAttribution::sanitizedPath(const QString &path)
{
    const QString clean = path.trimmed();
    if (clean.isEmpty() || clean.size() > kMaxPathLength)
        return std::nullopt;
    return clean;
}

std::optional<QString> InstallAttribution::sourceSlugFor(const QString &path)
{
    QStringList segments = path.trimmed().split(QLatin1Char('/'), Qt::SkipEmptyParts);
    // A folder's index page is that folder.
    if (!segments.isEmpty()
        && (segments.last() == QLatin1String("index.html") || segments.last() == QLatin1String("index")))
        segments.removeLast();
    if (segments.isEmpty())
        return std::nullopt;

    QString slug = segments.last().toLower();
    if (const auto suffix = downloadSuffix(slug))
        slug.chop(suffix->size());
    else if (const qsizetype dot = slug.lastIndexOf(QLatin1Char('.')); dot > 0)
        slug.truncate(dot);

    static const QRegularExpression notSlug(QStringLiteral("[^a-z0-9_]+"));
    slug.replace(notSlug, QStringLiteral("-"));
    while (slug.startsWith(QLatin1Char('-')))
        slug.remove(0, 1);
    slug.truncate(kMaxSlugLength);
    while (slug.endsWith(QLatin1Char('-')))
        slug.chop(1);
    if (slug.isEmpty())
        return std::nullopt;
    return slug;
}

std::optional<QString> InstallAttribution::sanitizedQueryValue(const QString &name, const QString &url)
{
    const QUrlQuery query{QUrl(url)};
    if (!query.hasQueryItem(name))
        return std::nullopt;
    const QString value = query.queryItemValue(name, QUrl::FullyDecoded).trimmed();
    if (value.isEmpty() || value.size() > kMaxQueryValueLength)
        return std::nullopt;
    return value;
}

std::optional<InstallAttribution> InstallAttribution::discovered(const QStringList &orderedURLs,
                                                                 const QString &channel)
{
    for (const QString &text : orderedURLs) {
        const QUrl url(text);
        const QString path = url.path();
        InstallAttribution a;
        a.sourceType =
            downloadSuffix(path) ? QStringLiteral("download_url") : QStringLiteral("referrer_page");
        a.sourceHost = sanitizedHost(url.host());
        a.sourcePath = sanitizedPath(path);
        a.sourceSlug = sourceSlugFor(path);
        a.utmSource = sanitizedQueryValue(QStringLiteral("utm_source"), text);
        a.utmMedium = sanitizedQueryValue(QStringLiteral("utm_medium"), text);
        a.utmCampaign = sanitizedQueryValue(QStringLiteral("utm_campaign"), text);
        if (a.sourceHost || a.sourcePath || a.sourceSlug || a.utmSource || a.utmMedium || a.utmCampaign)
            return a;
    }
    if (channel == QLatin1String("homebrew") || channel == QLatin1String("direct")) {
        InstallAttribution byChannel;
        byChannel.sourceType = channel + QStringLiteral("_channel");
        return byChannel;
    }
    return std::nullopt;
}

} // namespace orvella::services
