// A clock that only moves when a test says so.
#include "platform/sim/manualscheduler.h"

#include <algorithm>

namespace orvella::platform::sim {

ManualScheduler::ManualScheduler(QDateTime start)
    : m_now(std::move(start))
{}

void ManualScheduler::schedule(std::chrono::milliseconds delay, QObject *context,
                               std::function<void()> callback)
{
    m_pending.push_back({m_now.addMSecs(delay.count()), m_nextOrder++, context, std::move(callback)});
}

void ManualScheduler::pause(std::chrono::milliseconds duration)
{
    m_paused += duration.count();
}

int ManualScheduler::pendingCount() const
{
    return int(std::count_if(m_pending.begin(), m_pending.end(),
                             [](const Pending &p) { return !p.context.isNull(); }));
}

void ManualScheduler::advance(std::chrono::milliseconds by)
{
    const QDateTime target = m_now.addMSecs(by.count());
    for (;;) {
        // Calls scheduled by a running call join in if they fall due before the target.
        auto next =
            std::min_element(m_pending.begin(), m_pending.end(), [](const Pending &a, const Pending &b) {
                return a.due != b.due ? a.due < b.due : a.order < b.order;
            });
        if (next == m_pending.end() || next->due > target)
            break;
        Pending due = std::move(*next);
        m_pending.erase(next);
        m_now = due.due;
        if (due.context)
            due.callback();
    }
    m_now = target;
}

} // namespace orvella::platform::sim
