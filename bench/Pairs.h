// How every figure is taken: ours and its limit in alternation, so that a machine that drifts drifts for both.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <utility>
#include <vector>

/// The middle of `values`; 0 without any.
double Median(std::vector<double> values);

/// The smallest of `values` that at least 99 of 100 of them do not exceed; 0 without any.
double Of100The99th(std::vector<double> values);

/// What a ratio has to keep to. Without both it is only shown.
struct TARGET {
    double atLeast = 0;
    double atMost = 0;
};
constexpr TARGET AtLeast(double ratio) { return {ratio, 0}; }
constexpr TARGET AtMost(double ratio) { return {0, ratio}; }

/// A figure measured in pairs of one of ours and one of the limit.
class CPairs {
public:
    void Add(double ours, double limit) {
        m_ours.push_back(ours);
        m_limit.push_back(limit);
        if (limit > 0) m_ratios.push_back(ours / limit);
    }

    /// Gives the medians to the benchmark's result; the ratio is that of the pairs, not of the medians.
    void Report(benchmark::State& state, const char* pUnit, TARGET target) const {
        state.SetLabel(pUnit);
        state.counters["ours"] = Median(m_ours);
        state.counters["limit"] = Median(m_limit);
        state.counters["ratio"] = Median(m_ratios);
        state.counters["pairs"] = static_cast<double>(m_ours.size());
        if (target.atLeast > 0) state.counters["at_least"] = target.atLeast;
        if (target.atMost > 0) state.counters["at_most"] = target.atMost;
    }

private:
    std::vector<double> m_ours;
    std::vector<double> m_limit;
    std::vector<double> m_ratios;
};

/// Seconds that `work` takes.
template <class Work>
double SecondsOf(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Lets `ours` and `limit` do the same `bytes` in turns, one pair an iteration, and reports megabytes a second. The two
/// change places from pair to pair, so that neither is always the one that finds warm caches.
template <class Ours, class Limit>
void CompareRates(benchmark::State& state, double bytes, TARGET target, Ours&& ours, Limit&& limit) {
    CPairs pairs;
    ours();
    limit();
    bool bOursFirst = true;
    for (auto _ : state) {
        double first = bOursFirst ? SecondsOf(ours) : SecondsOf(limit);
        double second = bOursFirst ? SecondsOf(limit) : SecondsOf(ours);
        if (!bOursFirst) std::swap(first, second);
        pairs.Add(bytes / first / 1e6, bytes / second / 1e6);
        bOursFirst = !bOursFirst;
    }
    pairs.Report(state, "MB/s", target);
}
