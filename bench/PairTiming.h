#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

/// Timing two pieces of work side by side, so that what disturbs the machine disturbs both.
namespace PairTiming {

template <typename Work> double milliseconds(const Work& work)
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

inline double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Prints one line: the name, the median ratio of the pairs, the median of our half in
/// milliseconds. `ours(i)` and `theirs(i)` are the work of pair number i.
template <typename Ours, typename Theirs>
void compare(const char* name, const Ours& ours, const Theirs& theirs, int pairs = 41)
{
    std::vector<double> ratios;
    std::vector<double> times;
    for (int i = 0; i < pairs; ++i) {
        times.push_back(milliseconds([&] { ours(i); }));
        ratios.push_back(times.back() / milliseconds([&] { theirs(i); }));
    }
    std::printf("%s %.3f %.3f\n", name, median(ratios), median(times));
}

} // namespace PairTiming
