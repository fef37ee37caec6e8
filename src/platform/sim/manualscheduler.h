// A clock that only moves when a test says so.
#pragma once

#include "tracking/scheduler.h"

#include <QPointer>

#include <vector>

namespace orvella::platform::sim {

class ManualScheduler final : public tracking::Scheduler
{
public:
    explicit ManualScheduler(QDateTime start = QDateTime(QDate(2026, 1, 1), QTime(9, 0), Qt::UTC));

    QDateTime now() const override { return m_now; }
    void schedule(std::chrono::milliseconds delay, QObject *context, std::function<void()> callback) override;

    /// Moves the clock forward, running every call that falls due, in time order.
    void advance(std::chrono::milliseconds by);
    int pendingCount() const { return int(m_pending.size()); }

private:
    struct Pending
    {
        QDateTime due;
        quint64 order;
        QPointer<QObject> context;
        std::function<void()> callback;
    };
    QDateTime m_now;
    quint64 m_nextOrder = 0;
    std::vector<Pending> m_pending;
};

} // namespace orvella::platform::sim
