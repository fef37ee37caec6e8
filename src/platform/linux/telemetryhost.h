// What telemetry learns from the system: install path, download origin, internal-install signs.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace orvella::platform {

/// Facts read once per recording, on the telemetry worker (they touch files).
struct TelemetryHostFacts
{
    QString installPath;
    bool isAppImage = false;
    /// The download's origin and referrer URLs as stored, unfiltered.
    QStringList originURLs;
    /// ORVELLA_INTERNAL_TELEMETRY as set, absent when unset.
    std::optional<QString> internalEnvironment;
    bool markerFileExists = false;
};

/**
 * Where telemetry looks. The defaults describe the running process: the AppImage
 * (`$APPIMAGE`) or the executable, and the marker file in `$XDG_DATA_HOME/Orvella`;
 * tests point them at files of their own.
 */
class TelemetryHost
{
public:
    TelemetryHost();
    TelemetryHost(QString installPath, bool isAppImage, QString markerFilePath);

    QString installPath() const { return m_installPath; }
    QString markerFilePath() const { return m_markerFilePath; }

    /// Reads the files and the environment; may block briefly, so not on the main thread.
    TelemetryHostFacts gather() const;

    /// `$XDG_DATA_HOME/Orvella/telemetry-internal.flag` (`~/.local/share/...` when unset).
    static QString internalTelemetryMarkerPath();
    /// `user.xdg.origin.url` then `user.xdg.referrer.url`, as browsers set them on downloads.
    static QStringList readWhereFromURLs(const QString &path);
    /// The attribute's bytes; absent when missing or unreadable (logged at debug level).
    static std::optional<QByteArray> readExtendedAttribute(const QString &name, const QString &path);

    /// ORVELLA_TELEMETRY_URL from the environment, else the build's choice (may be empty).
    static QString configuredEndpoint();
    /// DO_NOT_TRACK=1: the user asked for nothing to be recorded.
    static bool doNotTrack();

private:
    QString m_installPath;
    bool m_isAppImage = false;
    QString m_markerFilePath;
};

} // namespace orvella::platform
