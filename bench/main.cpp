// ecckey-bench: Google Benchmark's runner with the side-by-side tables of ecckey, OpenSSL, LibTomCrypt and
// libsecp256k1, and the table of signing time by nonce length, printed at the end (Markdown, on standard
// output; the usual progress lines go to standard error).
//
// Without a --benchmark_filter of the caller's, only the cases of the three tables run ("cmp/...", "mt/..."
// and "nonce/..."); the other bench files' cases run when a filter names them (--benchmark_filter=. for
// all).
// Defaults, each overridden by the same flag on the command line: five repetitions of at least 0.1 s each,
// all cases' repetitions in random order, medians only. With BENCH_QUICK=1 in the environment (or --quick):
// one repetition of 0.01 s, the same tables from a short run. With --chart=FILE the comparison table's ratios
// are also drawn, as SVG, into FILE (`make bench` writes build/bench-ratios.svg). The exit status is 1 when
// any case reported an error.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "bench/BenchReport.h"
#include "bench/BenchSetup.h"

using namespace ecckey_bench;

namespace {

bool quickRequested(int argc, char **argv) {
    const char *env = std::getenv("BENCH_QUICK");
    if (env && *env && std::strcmp(env, "0") != 0)
        return true;
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "--quick") == 0)
            return true;
    return false;
}

// The FILE of --chart=FILE, or empty.
std::string chartPath(int argc, char **argv) {
    const char *const flag = "--chart=";
    for (int i = 1; i < argc; ++i)
        if (std::strncmp(argv[i], flag, std::strlen(flag)) == 0)
            return argv[i] + std::strlen(flag);
    return "";
}

bool hasFlag(int argc, char **argv, const char *flag) {
    const std::size_t len = std::strlen(flag);
    for (int i = 1; i < argc; ++i)
        if (std::strncmp(argv[i], flag, len) == 0)
            return true;
    return false;
}

std::string loadAverage() {
    std::ifstream in("/proc/loadavg");
    std::string one, five;
    in >> one >> five;
    return one.empty() ? "unknown" : one + " (1 min), " + five + " (5 min)";
}

void registerAll() {
    for (const BenchCurve &curve : benchCurves()) {
        for (BenchOp op : benchOps()) {
            registerEcckeyCase(curve, op);
            registerOpenSslCase(curve, op);
            registerTomCryptCase(curve, op);
            registerSecp256k1Case(curve, op);
        }
    }
    for (const BenchCurve &curve : benchCurves())
        registerThreadCases(curve);
    registerNonceCases();
}

}  // namespace

int main(int argc, char **argv) {
    const bool quick = quickRequested(argc, argv);

    // Defaults first, the caller's flags after them: a later flag wins.
    std::vector<std::string> defaults;
    defaults.push_back(quick ? "--benchmark_repetitions=1" : "--benchmark_repetitions=5");
    defaults.push_back(quick ? "--benchmark_min_time=0.01" : "--benchmark_min_time=0.1");
    defaults.push_back("--benchmark_display_aggregates_only=true");
    // Repetitions of all cases in random order: a change in the machine's load over the run then falls on
    // every library alike instead of on whichever ran at that moment.
    if (!quick)
        defaults.push_back("--benchmark_enable_random_interleaving=true");
    if (!hasFlag(argc, argv, "--benchmark_filter"))
        defaults.push_back("--benchmark_filter=^(cmp|mt|nonce)/");
    std::vector<char *> args;
    args.push_back(argv[0]);
    for (std::string &d : defaults)
        args.push_back(&d[0]);
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "--quick") != 0 && std::strncmp(argv[i], "--chart=", 8) != 0)
            args.push_back(argv[i]);
    int count = (int)args.size();
    args.push_back(nullptr);

    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data()))
        return 1;

    const std::string loadBefore = loadAverage();
    registerAll();
    TableReporter reporter;
    reporter.SetOutputStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const std::string loadAfter = loadAverage();

    reporter.printComparisonTable(std::cout);
    reporter.printThreadTable(std::cout);
    reporter.printNonceTable(std::cout);
    const std::string chart = chartPath(argc, argv);
    if (!chart.empty()) {
        std::ofstream svg(chart);
        reporter.writeRatioChart(svg);
        std::cout << (svg ? "\nRatio chart: " : "\nRatio chart not written: ") << chart << "\n";
    }
    std::cout << "\nLoad average before the run: " << loadBefore << "; after: " << loadAfter << "."
              << (quick ? " Quick run: one short repetition per case." : "") << "\n";
    benchmark::Shutdown();
    return reporter.hadErrors() ? 1 : 0;
}
