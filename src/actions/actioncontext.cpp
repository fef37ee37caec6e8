// What every window action reaches: the model, both desktop seams, time and the serial lane.
#include "actions/actioncontext.h"

#include "platform/scheduler.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThreadPool>

namespace orvella::actions {

void runInBackground(const ActionContext &context, QObject *owner, std::function<void()> work,
                     std::function<void()> then)
{
    const QPointer<QObject> guard(owner);
    context.lane->start([guard, work = std::move(work), then = std::move(then)] {
        work();
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [guard, then] {
                if (guard && then)
                    then();
            },
            Qt::QueuedConnection);
    });
}

void settleThen(const ActionContext &context, QObject *owner, int delayMs, Completion done)
{
    context.scheduler->schedule(std::chrono::milliseconds(delayMs), owner, [done = std::move(done)] {
        if (done)
            done();
    });
}

} // namespace orvella::actions
