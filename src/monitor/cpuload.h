// Processor load between two tick samples.
#pragma once

#include "monitor/monitorsample.h"

#include <QHash>

#include <optional>

namespace orvella::monitor {

/**
 * Keeps the previous per-processor ticks. The first sample measures the load since
 * boot; later ones the load since the sample before.
 */
class CpuLoad
{
public:
    /// Percent 0-100; 0 when `ticks` is absent (the previous sample is then kept).
    double update(const std::optional<QList<CpuTicks>> &ticks);

private:
    QHash<int, CpuTicks> m_previous;
};

} // namespace orvella::monitor
