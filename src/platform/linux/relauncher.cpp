// Relaunching through a detached shell that outlives this process.
#include "platform/linux/relauncher.h"

#include "logging.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>

namespace orvella::platform::relauncher {

QString quotedForShell(const QString &text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\''), QLatin1String("'\\''"));
    return QLatin1Char('\'') + escaped + QLatin1Char('\'');
}

QString executablePath()
{
    const QString appImage = qEnvironmentVariable("APPIMAGE");
    if (!appImage.isEmpty())
        return appImage;
    QString self = QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget();
    // After a package upgrade the running binary is the replaced one; the kernel marks
    // it, and the new binary sits at the same path.
    if (self.endsWith(QLatin1String(" (deleted)")))
        self.chop(10);
    if (!self.isEmpty())
        return self;
    return QCoreApplication::applicationFilePath();
}

QString relaunchCommand(const QString &executable, const QStringList &arguments)
{
    QStringList words{quotedForShell(executable)};
    for (const QString &argument : arguments)
        words << quotedForShell(argument);
    return QStringLiteral("sleep 0.8; exec ") + words.join(QLatin1Char(' '));
}

bool startDetached(const QString &command)
{
    QProcess process;
    process.setProgram(QStringLiteral("/bin/sh"));
    process.setArguments({QStringLiteral("-c"), command});
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    if (!process.startDetached()) {
        qCWarning(lcPlatform, "[OV] relaunch: could not start /bin/sh: %s",
                  qPrintable(process.errorString()));
        return false;
    }
    return true;
}

} // namespace orvella::platform::relauncher
