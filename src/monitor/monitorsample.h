// What one poll of the system monitor publishes.
#pragma once

#include "platform/readings.h"

namespace orvella::monitor {

using platform::BatteryInfo;
using platform::CpuTicks;
using platform::InterfaceEntry;
using platform::kBytesPerGiB;
using platform::MemoryInfo;
using platform::VolumeCapacity;

struct DiskInfo
{
    double usage = 0;
    double usedGB = 0;
    double totalGB = 0;
    QString name;
};

struct NetworkInfo
{
    quint64 downSpeed = 0;
    quint64 upSpeed = 0;
    QString iface;
    QString ip;
};

/// Everything one poll takes, in the order it is published.
struct MonitorSample
{
    double cpu = 0;
    MemoryInfo memory;
    DiskInfo disk;
    NetworkInfo network;
    std::optional<BatteryInfo> battery;
    double cpuTemperature = 0;
    double uptime = 0;
};

} // namespace orvella::monitor
