// Turns SIGINT and SIGTERM into a Qt signal, so that commands end through the event loop.
#pragma once

#include <QObject>

class QSocketNotifier;

namespace orvella::platform {

/// Only one may exist at a time; it restores the default handlers when destroyed.
class QuitSignals : public QObject
{
    Q_OBJECT
public:
    explicit QuitSignals(QObject *parent = nullptr);
    ~QuitSignals() override;

signals:
    void quitRequested(int signalNumber);

private:
    QSocketNotifier *m_notifier = nullptr;
};

} // namespace orvella::platform
