// Launch at login as an XDG autostart desktop entry.
#include "platform/linux/autostartentry.h"

#include "logging.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace orvella::platform {

namespace {

// Desktop Entry Exec quoting: double quotes, with ", `, $ and \ escaped by a backslash.
QString quotedExecArgument(const QString &path)
{
    QString out;
    for (QChar c : path) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            out += u'\\';
        out += c;
    }
    return u'"' + out + u'"';
}

} // namespace

AutostartEntry::AutostartEntry(QString filePath)
    : m_filePath(std::move(filePath))
{}

QString AutostartEntry::defaultFilePath()
{
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (base.isEmpty() || !QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.config");
    return base + QStringLiteral("/autostart/com.orvella.Orvella.desktop");
}

bool AutostartEntry::isEnabled() const
{
    QFile file(m_filePath);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    bool inMainGroup = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(u'['))
            inMainGroup = line == QLatin1String("[Desktop Entry]");
        else if (inMainGroup && line.section(u'=', 0, 0).trimmed() == QLatin1String("Hidden"))
            return line.section(u'=', 1).trimmed() != QLatin1String("true");
    }
    return true;
}

bool AutostartEntry::setEnabled(bool enabled, const QString &executable)
{
    if (!enabled) {
        if (!QFile::exists(m_filePath) || QFile::remove(m_filePath))
            return true;
        qCWarning(lcPlatform).noquote() << "[OV] autostart: cannot remove" << m_filePath;
        return false;
    }
    QDir().mkpath(QFileInfo(m_filePath).absolutePath());
    QSaveFile file(m_filePath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        qCWarning(lcPlatform).noquote()
            << "[OV] autostart: cannot write" << m_filePath << ":" << file.errorString();
        return false;
    }
    const QString entry = QStringLiteral("[Desktop Entry]\n"
                                         "Type=Application\n"
                                         "Name=Orvella\n"
                                         "Comment=Window organiser sidebar\n"
                                         "Exec=%1\n"
                                         "Icon=com.orvella.Orvella\n"
                                         "Terminal=false\n"
                                         "X-GNOME-Autostart-enabled=true\n")
                              .arg(quotedExecArgument(executable));
    file.write(entry.toUtf8());
    if (!file.commit()) {
        qCWarning(lcPlatform).noquote()
            << "[OV] autostart: cannot write" << m_filePath << ":" << file.errorString();
        return false;
    }
    return true;
}

QString AutostartEntry::currentExecutable()
{
    const QString appImage = qEnvironmentVariable("APPIMAGE");
    if (!appImage.isEmpty())
        return appImage;
    return QCoreApplication::applicationFilePath();
}

} // namespace orvella::platform
