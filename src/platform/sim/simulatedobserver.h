// A desktop observer whose events and idle time are set by the test.
#pragma once

#include "platform/desktopobserver.h"

#include <QSet>

namespace orvella::platform::sim {

class SimulatedObserver final : public DesktopObserver
{
    Q_OBJECT
public:
    using DesktopObserver::DesktopObserver;

    bool start() override;
    void stop() override;
    bool observeProcess(qint32 pid) override;
    void unobserveProcess(qint32 pid) override;
    std::optional<double> userIdleSeconds() const override;

    /// Delivers an event as the real observer would (queued, on this thread).
    void post(const DesktopEvent &event);
    void setIdleSeconds(std::optional<double> seconds) { m_idle = seconds; }
    void setStartFails(bool fails) { m_startFails = fails; }
    /// Processes that refuse to be observed.
    void setUnobservable(const QSet<qint32> &pids) { m_unobservable = pids; }

    bool isRunning() const { return m_running; }
    int startCount() const { return m_starts; }
    const QSet<qint32> &observed() const { return m_observed; }
    int idleQueries() const { return m_idleQueries; }

private:
    bool m_running = false;
    int m_starts = 0;
    bool m_startFails = false;
    std::optional<double> m_idle;
    QSet<qint32> m_unobservable;
    QSet<qint32> m_observed;
    mutable int m_idleQueries = 0;
};

} // namespace orvella::platform::sim
