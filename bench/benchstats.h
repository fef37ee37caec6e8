// Median, 95th percentile and maximum of a run of timings, for the benchmarks' tables.
#pragma once

#include <algorithm>
#include <vector>

namespace orvella::bench {

struct Stats
{
    double median = 0;
    double p95 = 0;
    double max = 0;
};

inline Stats stats(std::vector<double> values)
{
    if (values.empty())
        return {};
    std::sort(values.begin(), values.end());
    const auto at = [&](double q) {
        return values[std::min(values.size() - 1, size_t(q * double(values.size() - 1) + 0.5))];
    };
    return {at(0.5), at(0.95), values.back()};
}

} // namespace orvella::bench
