// The clock and delayed calls of Orvella, injectable so tests can drive time.
#include "platform/scheduler.h"

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
        QTimer::singleShot(delay, context, std::move(callback));
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
