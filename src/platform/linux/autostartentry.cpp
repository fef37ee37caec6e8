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

constexpr char kDesktopFileName[] = "org.orvella.Orvella.desktop";
constexpr qint64 kMaxEntryBytes = 64 * 1024;

// A key of a desktop entry's main group; absent when the file or the key is not there.
// Entries are small: anything that is not a small regular file is not read.
std::optional<QString> mainGroupValue(const QString &path, const QString &key)
{
    const QFileInfo info(path);
    if (!info.isFile() || info.size() > kMaxEntryBytes)
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return std::nullopt;
    bool inMainGroup = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(u'['))
            inMainGroup = line == QLatin1String("[Desktop Entry]");
        else if (inMainGroup && line.section(u'=', 0, 0).trimmed() == key)
            return line.section(u'=', 1).trimmed();
    }
    return std::nullopt;
}

bool entryEnabled(const QString &path)
{
    return QFileInfo(path).isFile()
           && mainGroupValue(path, QStringLiteral("Hidden")) != QLatin1String("true");
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
    return base + QStringLiteral("/autostart/") + QLatin1String(kDesktopFileName);
}

QString AutostartEntry::legacyFilePath() const
{
    return QFileInfo(m_filePath).absolutePath() + QStringLiteral("/com.orvella.Orvella.desktop");
}

bool AutostartEntry::isEnabled() const
{
    if (QFileInfo::exists(m_filePath))
        return entryEnabled(m_filePath);
    return entryEnabled(legacyFilePath());
}

bool AutostartEntry::setEnabled(bool enabled, const QString &command)
{
    const QString legacy = legacyFilePath();
    if (legacy != m_filePath && QFile::exists(legacy) && !QFile::remove(legacy))
        qCWarning(lcPlatform).noquote() << "[OV] autostart: cannot remove the earlier entry" << legacy;
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
                                         "Icon=org.orvella.Orvella\n"
                                         "Terminal=false\n"
                                         "StartupNotify=false\n"
                                         "X-GNOME-Autostart-enabled=true\n")
                              .arg(command);
    file.write(entry.toUtf8());
    if (!file.commit()) {
        qCWarning(lcPlatform).noquote()
            << "[OV] autostart: cannot write" << m_filePath << ":" << file.errorString();
        return false;
    }
    return true;
}

std::optional<QString> AutostartEntry::installedDesktopEntry()
{
    QString home = qEnvironmentVariable("XDG_DATA_HOME");
    if (home.isEmpty() || !QDir::isAbsolutePath(home))
        home = QDir::homePath() + QStringLiteral("/.local/share");
    QString dirs = qEnvironmentVariable("XDG_DATA_DIRS");
    if (dirs.isEmpty())
        dirs = QStringLiteral("/usr/local/share:/usr/share");
    for (const QString &dir : QStringList{home} + dirs.split(u':', Qt::SkipEmptyParts)) {
        if (!QDir::isAbsolutePath(dir))
            continue;
        const QString path = dir + QStringLiteral("/applications/") + QLatin1String(kDesktopFileName);
        if (QFileInfo(path).isFile())
            return path;
    }
    return std::nullopt;
}

QString AutostartEntry::loginCommand()
{
    if (!qEnvironmentVariableIsEmpty("APPIMAGE"))
        return quotedExecArgument(currentExecutable());
    if (const auto installed = installedDesktopEntry()) {
        const auto exec = mainGroupValue(*installed, QStringLiteral("Exec"));
        if (exec && !exec->isEmpty())
            return *exec;
        qCWarning(lcPlatform).noquote()
            << "[OV] autostart:" << *installed << "has no Exec line; the login starts this program instead";
    }
    return quotedExecArgument(currentExecutable());
}

QString AutostartEntry::currentExecutable()
{
    const QString appImage = qEnvironmentVariable("APPIMAGE");
    if (!appImage.isEmpty())
        return appImage;
    return QCoreApplication::applicationFilePath();
}

} // namespace orvella::platform
