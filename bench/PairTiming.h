#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
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

/// What this thread takes of a processor: what else runs on the machine is not in it.
template <typename Work> double processorMilliseconds(const Work& work)
{
    const auto now = [] {
        timespec time {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    };
    const double start = now();
    work();
    return now() - start;
}

/// Like compare(), in processor time, for work that keeps to this thread and falls into slices:
/// `ours(i, slice)` and `theirs(i, slice)` take turns, so that both find the processor's caches and
/// its speed alike.
template <typename Ours, typename Theirs>
void compareInSlices(
    const char* name, int slices, const Ours& ours, const Theirs& theirs, int pairs = 41)
{
    std::vector<double> ratios;
    std::vector<double> times;
    for (int i = 0; i < pairs; ++i) {
        double ourTime = 0;
        double theirTime = 0;
        for (int slice = 0; slice < slices; ++slice) {
            ourTime += processorMilliseconds([&] { ours(i, slice); });
            theirTime += processorMilliseconds([&] { theirs(i, slice); });
        }
        times.push_back(ourTime);
        ratios.push_back(ourTime / theirTime);
    }
    std::printf("%s %.3f %.3f\n", name, median(ratios), median(times));
}

} // namespace PairTiming
