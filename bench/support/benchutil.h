#pragma once

#include <QElapsedTimer>

#include <algorithm>
#include <vector>

namespace larbench {

// Milliseconds of one call of f.
template<class F>
double timeMs(F &&f)
{
    QElapsedTimer t;
    t.start();
    f();
    return double(t.nsecsElapsed()) / 1e6;
}

inline double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n == 0 ? 0 : (n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2);
}

} // namespace larbench
