// The clock and delayed calls of Orvella, injectable so tests can drive time.
#include "platform/scheduler.h"

#include <QDeadlineTimer>
#include <QThread>
#include <QTimer>

namespace orvella::platform {

namespace {

class SystemScheduler final : public Scheduler
{
public:
    QDateTime now() const override { return QDateTime::currentDateTimeUtc(); }
    void schedule(std::chrono::milliseconds delay, QObject *context, std::function<void()> callback) override
    {
        // The timer is the context's child, created on its thread, so deleting the context
        // disarms and frees it at once; a free-standing single-shot would stay armed until
        // it fired, and one still armed when its thread ends is never freed.
        const QDeadlineTimer deadline(delay);
        QMetaObject::invokeMethod(
            context,
            [context, delay, deadline, callback = std::move(callback)]() mutable {
                auto *timer = new QTimer(context);
                timer->setSingleShot(true);
                // As precise as QTimer::singleShot is for short delays.
                if (delay < std::chrono::seconds(2))
                    timer->setTimerType(Qt::PreciseTimer);
                QObject::connect(timer, &QTimer::timeout, context, [timer, callback = std::move(callback)] {
                    timer->deleteLater();
                    callback();
                });
                timer->start(
                    std::chrono::ceil<std::chrono::milliseconds>(deadline.remainingTimeAsDuration()));
            },
            Qt::AutoConnection);
    }
};

} // namespace

void Scheduler::pause(std::chrono::milliseconds duration)
{
    QThread::msleep(std::chrono::milliseconds::rep(duration.count()));
}

Scheduler &Scheduler::system()
{
    static SystemScheduler instance;
    return instance;
}

} // namespace orvella::platform
