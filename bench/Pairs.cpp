#include "bench/Pairs.h"

#include <algorithm>

namespace {

double At(std::vector<double>& values, size_t place) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    return values[std::min(place, values.size() - 1)];
}

}  // namespace

double Median(std::vector<double> values) { return At(values, values.size() / 2); }

double Of100The99th(std::vector<double> values) {
    return At(values, (values.size() * 99 + 99) / 100 - (values.empty() ? 0 : 1));
}
