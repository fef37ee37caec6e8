// Processor load between two tick samples.
#include "monitor/cpuload.h"

#include <algorithm>

namespace orvella::monitor {

namespace {

// Kernel counters only grow; any smaller value means the processor's counters started
// over (taken offline and back), so its interval cannot be measured this time.
bool startedOver(const CpuTicks &now, const CpuTicks &before)
{
    return now.user < before.user || now.system < before.system || now.idle < before.idle
           || now.nice < before.nice;
}

} // namespace

double CpuLoad::update(const std::optional<QList<CpuTicks>> &ticks)
{
    if (!ticks || ticks->isEmpty())
        return 0;
    const bool firstSample = m_previous.isEmpty();
    quint64 user = 0, system = 0, idle = 0, nice = 0;
    QHash<int, CpuTicks> current;
    for (const CpuTicks &t : *ticks) {
        current.insert(t.cpu, t);
        if (firstSample) {
            user += t.user;
            system += t.system;
            idle += t.idle;
            nice += t.nice;
            continue;
        }
        // A processor brought online since the last sample has no interval to measure yet.
        const auto previous = m_previous.constFind(t.cpu);
        if (previous == m_previous.constEnd() || startedOver(t, *previous))
            continue;
        user += t.user - previous->user;
        system += t.system - previous->system;
        idle += t.idle - previous->idle;
        nice += t.nice - previous->nice;
    }
    m_previous = std::move(current);
    const double total = double(user) + double(system) + double(idle) + double(nice);
    if (total < 1)
        return 0;
    return std::clamp((double(user) + double(system) + double(nice)) / total * 100.0, 0.0, 100.0);
}

} // namespace orvella::monitor
