// A clock that only moves when a test says so.
#pragma once

#include "platform/scheduler.h"

#include <QPointer>

#include <atomic>
#include <vector>

namespace orvella::platform::sim {

class ManualScheduler final : public platform::Scheduler
{
public:
    explicit ManualScheduler(QDateTime start = QDateTime(QDate(2026, 1, 1), QTime(9, 0), Qt::UTC));

    QDateTime now() const override { return m_now; }
    void schedule(std::chrono::milliseconds delay, QObject *context, std::function<void()> callback) override;
    /// Returns at once; the pauses are only counted, from any thread.
    void pause(std::chrono::milliseconds duration) override;
    /// The sum of all pauses so far.
    std::chrono::milliseconds pausedTotal() const { return std::chrono::milliseconds(m_paused.load()); }

    /// Moves the clock forward, running every call that falls due, in time order.
    void advance(std::chrono::milliseconds by);
    /// The calls still to run; those of a context that is gone are not.
    int pendingCount() const;

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
    std::atomic<qint64> m_paused{0};
};

} // namespace orvella::platform::sim
