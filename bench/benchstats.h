#pragma once
// What the benchmarks that time frames one by one share: the thread's CPU clock and the
// median of a series.

#include <time.h>

#include <algorithm>
#include <vector>

namespace benchstats {

// The calling thread's CPU time, in milliseconds.
inline double ThreadMs() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) * 1e3 + double(ts.tv_nsec) / 1e6;
}

// The middle value (the upper one of an even count); 0 for none.
inline double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0.0 : v[v.size() / 2];
}

}  // namespace benchstats
