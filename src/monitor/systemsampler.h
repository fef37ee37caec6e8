// One poll's readings, with the state that links each poll to the one before.
#pragma once

#include "monitor/cpuload.h"
#include "monitor/monitorsample.h"
#include "monitor/networkrate.h"
#include "platform/systemfacts.h"

#include <QDateTime>

#include <memory>

namespace orvella::monitor {

/**
 * Reads the facts in the monitor's order and keeps what the next poll needs: the
 * previous processor ticks, the previous network totals and their time, and the disk
 * reading, which is taken at most once per 30 seconds. `now` is the time of the poll as
 * the monitor's clock tells it, so tests drive both rules without waiting. Not
 * thread-safe: the monitor uses it from its worker only.
 */
class SystemSampler
{
public:
    explicit SystemSampler(std::shared_ptr<const platform::SystemFacts> facts);

    MonitorSample sample(bool withBattery, const QDateTime &now);

    double readCPU();
    MemoryInfo readMemory();
    DiskInfo readDisk(const QDateTime &now);
    NetworkInfo readNetwork(const QDateTime &now);

    /// The disk reading from a volume's capacity; used = total - available.
    static DiskInfo diskInfo(const std::optional<VolumeCapacity> &volume);

    static constexpr qint64 kDiskCacheIntervalSecs = 30;

private:
    std::shared_ptr<const platform::SystemFacts> m_facts;
    CpuLoad m_cpu;
    NetworkRate m_network;
    std::optional<DiskInfo> m_cachedDiskInfo;
    QDateTime m_lastDiskReadAt;
};

} // namespace orvella::monitor
