// What telemetry learns from the system: install path, download origin, internal-install signs.
#include "platform/linux/telemetryhost.h"

#include "logging.h"
#include "platform/linux/autostartentry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <sys/xattr.h>

namespace orvella::platform {

namespace {

// Origin URLs are short; anything larger is not what a browser wrote.
constexpr ssize_t kMaxAttributeSize = 64 * 1024;

} // namespace

TelemetryHost::TelemetryHost()
    : TelemetryHost(AutostartEntry::currentExecutable(), !qEnvironmentVariableIsEmpty("APPIMAGE"),
                    internalTelemetryMarkerPath())
{}

TelemetryHost::TelemetryHost(QString installPath, bool isAppImage, QString markerFilePath)
    : m_installPath(std::move(installPath))
    , m_isAppImage(isAppImage)
    , m_markerFilePath(std::move(markerFilePath))
{}

TelemetryHostFacts TelemetryHost::gather() const
{
    TelemetryHostFacts facts;
    facts.installPath = m_installPath;
    facts.isAppImage = m_isAppImage;
    facts.originURLs = readWhereFromURLs(m_installPath);
    if (qEnvironmentVariableIsSet("ORVELLA_INTERNAL_TELEMETRY"))
        facts.internalEnvironment = qEnvironmentVariable("ORVELLA_INTERNAL_TELEMETRY");
    facts.markerFileExists = !m_markerFilePath.isEmpty() && QFileInfo::exists(m_markerFilePath);
    return facts;
}

QString TelemetryHost::internalTelemetryMarkerPath()
{
    QString base = qEnvironmentVariable("XDG_DATA_HOME");
    if (base.isEmpty() || !QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.local/share");
    return base + QStringLiteral("/Orvella/telemetry-internal.flag");
}

QStringList TelemetryHost::readWhereFromURLs(const QString &path)
{
    QStringList urls;
    for (const char *name : {"user.xdg.origin.url", "user.xdg.referrer.url"}) {
        const auto bytes = readExtendedAttribute(QString::fromLatin1(name), path);
        if (!bytes)
            continue;
        // Some writers include the C string's terminator.
        QByteArray text = *bytes;
        while (text.endsWith('\0'))
            text.chop(1);
        const QString url = QString::fromUtf8(text).trimmed();
        if (!url.isEmpty())
            urls.append(url);
    }
    return urls;
}

std::optional<QByteArray> TelemetryHost::readExtendedAttribute(const QString &name, const QString &path)
{
    if (path.isEmpty())
        return std::nullopt;
    const QByteArray file = QFile::encodeName(path);
    const QByteArray attribute = name.toUtf8();
    const ssize_t size = ::getxattr(file.constData(), attribute.constData(), nullptr, 0);
    if (size < 0) {
        if (errno != ENODATA && errno != ENOTSUP)
            qCDebug(lcTelemetry).noquote()
                << "[OV] cannot read" << name << "of" << path << ":" << std::strerror(errno);
        return std::nullopt;
    }
    if (size > kMaxAttributeSize) {
        qCDebug(lcTelemetry).noquote() << "[OV] ignoring" << name << "of" << path << ":" << size << "bytes";
        return std::nullopt;
    }
    QByteArray value(qsizetype(size), '\0');
    const ssize_t read = ::getxattr(file.constData(), attribute.constData(), value.data(), size_t(size));
    if (read < 0) {
        // Changed between the two calls; the next start reads it again.
        qCDebug(lcTelemetry).noquote()
            << "[OV] cannot read" << name << "of" << path << ":" << std::strerror(errno);
        return std::nullopt;
    }
    value.truncate(read);
    return value;
}

QString TelemetryHost::configuredEndpoint()
{
    if (qEnvironmentVariableIsSet("ORVELLA_TELEMETRY_URL"))
        return qEnvironmentVariable("ORVELLA_TELEMETRY_URL").trimmed();
    return QStringLiteral(ORVELLA_TELEMETRY_URL).trimmed();
}

bool TelemetryHost::doNotTrack()
{
    return qEnvironmentVariable("DO_NOT_TRACK").trimmed() == QLatin1String("1");
}

} // namespace orvella::platform
