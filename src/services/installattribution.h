// Where this copy of Orvella was downloaded from, as far as the download's origin tells.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace orvella::services {

/// The download origin of this install; every field but the type may be absent.
struct InstallAttribution
{
    QString sourceType;
    std::optional<QString> sourceHost;
    std::optional<QString> sourcePath;
    std::optional<QString> sourceSlug;
    std::optional<QString> utmSource;
    std::optional<QString> utmMedium;
    std::optional<QString> utmCampaign;

    bool operator==(const InstallAttribution &) const = default;

    /// Keys "source_type", "source_host", ...; absent fields are left out.
    QJsonObject toJson() const;
    /// Absent when `json` has no text "source_type" (an unusable cache entry).
    static std::optional<InstallAttribution> fromJson(const QJsonObject &json);

    /// The host of the product's web site, which a download origin is preferred to be on.
    static QString productHost();

    /// 0 for a page, 1 for a download (disk image, AppImage, .deb, .rpm, Flatpak
    /// reference or bundle, tarball, zip) on the product's site, 2 for a download
    /// elsewhere: pages tell more about how the user found us.
    static int sourcePriority(const QString &url);
    /// The https texts among `urls`, in `sourcePriority` order (stable).
    static QStringList whereFromURLs(const QStringList &urls);

    /// Lower-cased and trimmed; absent when empty or longer than 120 characters.
    static std::optional<QString> sanitizedHost(const QString &host);
    /// Trimmed; absent when empty or longer than 160 characters.
    static std::optional<QString> sanitizedPath(const QString &path);
    /// The last meaningful segment of `path`, lower case, letters, digits, '-' and '_'
    /// only, without a file extension; "/index.html" and "index" name their folder.
    static std::optional<QString> sourceSlugFor(const QString &path);
    /// The first query item called `name`, trimmed; absent when missing, empty or over
    /// 120 characters.
    static std::optional<QString> sanitizedQueryValue(const QString &name, const QString &url);

    /// The first of `urls` (already ordered) that tells anything; else the channel's own
    /// attribution for "homebrew" and "direct"; else absent.
    static std::optional<InstallAttribution> discovered(const QStringList &orderedURLs,
                                                        const QString &channel);
};

} // namespace orvella::services
