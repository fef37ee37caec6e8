// One poll's readings, with the state that links each poll to the one before.
#include "monitor/systemsampler.h"

#include <algorithm>

namespace orvella::monitor {

namespace {

// On a machine whose file systems report no name, the root is what users know.
const QString kDefaultDiskName = QStringLiteral("/");

} // namespace

SystemSampler::SystemSampler(std::shared_ptr<const platform::SystemFacts> facts)
    : m_facts(std::move(facts))
{}

MonitorSample SystemSampler::sample(bool withBattery, const QDateTime &now)
{
    MonitorSample s;
    s.cpu = readCPU();
    s.memory = readMemory();
    s.disk = readDisk(now);
    s.network = readNetwork(now);
    if (withBattery)
        s.battery = m_facts->battery();
    s.cpuTemperature = m_facts->cpuTemperature();
    s.uptime = m_facts->uptimeSeconds();
    return s;
}

double SystemSampler::readCPU()
{
    return m_cpu.update(m_facts->cpuTicks());
}

MemoryInfo SystemSampler::readMemory()
{
    return m_facts->memory();
}

DiskInfo SystemSampler::readDisk(const QDateTime &now)
{
    if (m_cachedDiskInfo && m_lastDiskReadAt.isValid()
        && m_lastDiskReadAt.msecsTo(now) < kDiskCacheIntervalSecs * 1000)
        return *m_cachedDiskInfo;
    m_cachedDiskInfo = diskInfo(m_facts->homeVolume());
    m_lastDiskReadAt = now;
    return *m_cachedDiskInfo;
}

DiskInfo SystemSampler::diskInfo(const std::optional<VolumeCapacity> &volume)
{
    DiskInfo info;
    info.name = volume && !volume->name.isEmpty() ? volume->name : kDefaultDiskName;
    if (!volume || volume->total == 0)
        return info;
    const quint64 used = volume->available < volume->total ? volume->total - volume->available : 0;
    info.usage = std::clamp(double(used) / double(volume->total) * 100.0, 0.0, 100.0);
    info.usedGB = double(used) / kBytesPerGiB;
    info.totalGB = double(volume->total) / kBytesPerGiB;
    return info;
}

NetworkInfo SystemSampler::readNetwork(const QDateTime &now)
{
    return m_network.update(m_facts->interfaces(), now);
}

} // namespace orvella::monitor
