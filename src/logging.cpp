// Logging category definitions; debug lines are off unless QT_LOGGING_RULES enables them.
#include "logging.h"

Q_LOGGING_CATEGORY(lcPlatform, "orvella.platform", QtInfoMsg)
Q_LOGGING_CATEGORY(lcSettings, "orvella.settings", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTracking, "orvella.tracking", QtInfoMsg)
Q_LOGGING_CATEGORY(lcActions, "orvella.actions", QtInfoMsg)
Q_LOGGING_CATEGORY(lcShell, "orvella.shell", QtInfoMsg)
Q_LOGGING_CATEGORY(lcMonitor, "orvella.monitor", QtInfoMsg)
Q_LOGGING_CATEGORY(lcTelemetry, "orvella.telemetry", QtInfoMsg)
Q_LOGGING_CATEGORY(lcServices, "orvella.services", QtInfoMsg)

#include <QMutex>
#include <QStringList>

#include <deque>

namespace orvella::logging {

namespace {

QMutex ringLock;
std::deque<QString> ring;
QtMessageHandler previousHandler = nullptr;
bool installed = false;

void keepLine(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    {
        // Any thread may log.
        QMutexLocker lock(&ringLock);
        ring.push_back(qFormatLogMessage(type, context, message));
        if (ring.size() > size_t(kRecentLineCount))
            ring.pop_front();
    }
    if (previousHandler)
        previousHandler(type, context, message);
}

} // namespace

void keepRecentLines()
{
    QMutexLocker lock(&ringLock);
    if (installed)
        return;
    installed = true;
    previousHandler = qInstallMessageHandler(keepLine);
}

QStringList recentLines()
{
    QMutexLocker lock(&ringLock);
    return QStringList(ring.begin(), ring.end());
}

} // namespace orvella::logging
