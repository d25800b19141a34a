// The reporter of the side-by-side benchmark: shows Google Benchmark's usual progress lines and keeps the
// median of every case, then prints the two Markdown tables.
//
// Comparison table: one row per curve and operation, microseconds per operation (median CPU time over the
// repetitions) for ecckey and each peer, the ratio ecckey/peer (below 1: ecckey is faster), ecckey's heap
// allocations per operation and, for the two multiplications, their floor: the number of field products
// they make times the measured cost of one product on that curve.
//
// Thread table: sign and verify throughput (operations per wall-clock second, all threads together) on
// one and on two threads, and the speed-up; beside it the CPU time per operation on each thread, whose
// ratio gives the speed-up free of the machine's other load.
//
// Nonce table: the generic signer's CPU time per nonce for full-length and shortened nonces, and its ratio
// to the full-length time.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace ecckey_bench {

class TableReporter : public benchmark::ConsoleReporter {
  public:
    TableReporter();

    void ReportRuns(const std::vector<Run> &runs) override;

    // Each prints nothing when none of its cases ran.
    void printComparisonTable(std::ostream &out) const;
    void printThreadTable(std::ostream &out) const;
    void printNonceTable(std::ostream &out) const;
    // The comparison table's ratios ecckey/peer as an SVG picture: a grid per peer, a row per curve, a
    // column per operation, each cell its ratio on a colour from green (ecckey faster) to red (slower).
    // Writes an empty picture when no case ran.
    void writeRatioChart(std::ostream &out) const;
    // True when any case reported an error (the smoke test in CI fails on it).
    bool hadErrors() const;

  private:
    struct Figure {
        std::vector<double> cpuUs, realUs, allocs, products, nonces;  // one entry per repetition
        bool hasMedian = false;  // from Google Benchmark's median aggregate
        double medianCpuUs = 0, medianRealUs = 0, medianAllocs = -1, medianProducts = 0, medianNonces = 0;
        std::string error;
    };
    struct Median {
        bool ran = false;
        std::string error;
        double cpuUs = 0, realUs = 0;
        double allocs = -1;  // -1: not counted
        double products = 0;
        double nonces = 0;  // 0: not counted
    };

    Median median(const std::string &name, int threads = 1) const;
    static std::string key(const std::string &name, int threads);

    std::map<std::string, Figure> m_figures;
};

}  // namespace ecckey_bench
