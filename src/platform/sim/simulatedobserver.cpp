// A desktop observer whose events and idle time are set by the test.
#include "platform/sim/simulatedobserver.h"

namespace orvella::platform::sim {

bool SimulatedObserver::start()
{
    ++m_starts;
    m_running = !m_startFails;
    return m_running;
}

void SimulatedObserver::stop()
{
    m_running = false;
    m_observed.clear();
}

bool SimulatedObserver::observeProcess(qint32 pid)
{
    if (!m_running || m_unobservable.contains(pid))
        return false;
    m_observed.insert(pid);
    return true;
}

void SimulatedObserver::unobserveProcess(qint32 pid)
{
    m_observed.remove(pid);
}

std::optional<double> SimulatedObserver::userIdleSeconds() const
{
    ++m_idleQueries;
    return m_idle;
}

void SimulatedObserver::post(const DesktopEvent &event)
{
    QMetaObject::invokeMethod(
        this,
        [this, event] {
            if (m_running)
                emit desktopEvent(event);
        },
        Qt::QueuedConnection);
}

} // namespace orvella::platform::sim
