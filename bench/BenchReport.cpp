#include "bench/BenchReport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "bench/BenchSetup.h"

namespace ecckey_bench {

namespace {

const char *const kNone = "—";

double toMicroseconds(double value, benchmark::TimeUnit unit) {
    return value / benchmark::GetTimeUnitMultiplier(unit) * 1e6;
}

double medianOf(std::vector<double> v) {
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    const std::size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

// Three significant figures, at least one decimal below 100.
std::string formatTime(double us) {
    char buf[32];
    if (us < 1)
        std::snprintf(buf, sizeof buf, "%.3f", us);
    else if (us < 10)
        std::snprintf(buf, sizeof buf, "%.2f", us);
    else if (us < 100)
        std::snprintf(buf, sizeof buf, "%.1f", us);
    else
        std::snprintf(buf, sizeof buf, "%.0f", us);
    return buf;
}

std::string formatRatio(double r) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.2f", r);
    return buf;
}

std::string formatCount(double v) {
    char buf[32];
    if (v == (double)(long long)v)
        std::snprintf(buf, sizeof buf, "%lld", (long long)v);
    else
        std::snprintf(buf, sizeof buf, "%.1f", v);
    return buf;
}

double counterValue(const benchmark::UserCounters &counters, const char *name, double absent) {
    auto it = counters.find(name);
    return it == counters.end() ? absent : it->second.value;
}

}  // namespace

TableReporter::TableReporter() : benchmark::ConsoleReporter(OO_None) {}

std::string TableReporter::key(const std::string &name, int threads) {
    return name + "#" + std::to_string(threads);
}

void TableReporter::ReportRuns(const std::vector<Run> &runs) {
    benchmark::ConsoleReporter::ReportRuns(runs);
    for (const Run &run : runs) {
        Figure &f = m_figures[key(run.run_name.function_name, (int)run.threads)];
        if (run.error_occurred) {
            f.error = run.error_message;
            continue;
        }
        const double cpu = toMicroseconds(run.GetAdjustedCPUTime(), run.time_unit);
        const double real = toMicroseconds(run.GetAdjustedRealTime(), run.time_unit);
        const double allocs = counterValue(run.counters, kCounterAllocs, -1);
        const double products = counterValue(run.counters, kCounterProducts, 0);
        const double nonces = counterValue(run.counters, kCounterNonces, 0);
        if (run.run_type == Run::RT_Aggregate) {
            if (run.aggregate_name == "median") {
                f.hasMedian = true;
                f.medianCpuUs = cpu;
                f.medianRealUs = real;
                f.medianAllocs = allocs;
                f.medianProducts = products;
                f.medianNonces = nonces;
            }
            continue;
        }
        f.cpuUs.push_back(cpu);
        f.realUs.push_back(real);
        f.allocs.push_back(allocs);
        f.products.push_back(products);
        f.nonces.push_back(nonces);
    }
}

bool TableReporter::hadErrors() const {
    for (const auto &entry : m_figures)
        if (!entry.second.error.empty())
            return true;
    return false;
}

TableReporter::Median TableReporter::median(const std::string &name, int threads) const {
    Median m;
    auto it = m_figures.find(key(name, threads));
    if (it == m_figures.end())
        return m;
    const Figure &f = it->second;
    m.ran = true;
    m.error = f.error;
    if (f.hasMedian) {
        m.cpuUs = f.medianCpuUs;
        m.realUs = f.medianRealUs;
        m.allocs = f.medianAllocs;
        m.products = f.medianProducts;
        m.nonces = f.medianNonces;
    } else if (!f.cpuUs.empty()) {
        m.cpuUs = medianOf(f.cpuUs);
        m.realUs = medianOf(f.realUs);
        m.allocs = medianOf(f.allocs);
        m.products = medianOf(f.products);
        m.nonces = medianOf(f.nonces);
    } else if (m.error.empty()) {
        m.ran = false;
    }
    return m;
}

void TableReporter::printComparisonTable(std::ostream &out) const {
    struct Peer {
        const char *impl;
        const char *title;
    };
    const Peer peers[] = {
        {kImplOpenSsl, "OpenSSL"}, {kImplTomCrypt, "LibTomCrypt"}, {kImplSecp256k1, "libsecp256k1"}};

    std::string table;
    table += "| Curve | Operation | ecckey µs | allocs/op | floor µs (products) | ecckey/floor";
    for (const Peer &p : peers)
        table += std::string(" | ") + p.title + " µs | ecckey/" + p.title;
    table += " |\n|---|---|--:|--:|--:|--:";
    for (std::size_t i = 0; i < sizeof peers / sizeof peers[0]; ++i)
        table += "|--:|--:";
    table += "|\n";

    bool any = false;
    for (const BenchCurve &curve : benchCurves()) {
        for (BenchOp op : benchOps()) {
            const Median mine = median(comparisonName(curve, op, kImplEcckey));
            std::vector<Median> theirs;
            bool rowRan = mine.ran;
            for (const Peer &p : peers) {
                theirs.push_back(median(comparisonName(curve, op, p.impl)));
                rowRan = rowRan || theirs.back().ran;
            }
            if (!rowRan)
                continue;
            any = true;
            const bool mineOk = mine.ran && mine.error.empty();

            std::string label = opLabel(op);
            if (mineOk && mine.nonces > 0) {
                char buf[48];
                std::snprintf(buf, sizeof buf, " (%.2f nonces)", mine.nonces);
                label += buf;
            }
            std::string row = std::string("| ") + curve.label + " | " + label + " | ";
            row += !mine.ran ? kNone : !mine.error.empty() ? "error" : formatTime(mine.cpuUs);
            row += " | ";
            row += mineOk && mine.allocs >= 0 ? formatCount(mine.allocs) : kNone;

            std::string floorCell = kNone, floorRatio = kNone;
            if (mineOk && mine.products > 0) {
                const Median unit = median(comparisonName(curve, BenchOp::FieldMultiply, kImplEcckey));
                if (unit.ran && unit.error.empty() && unit.cpuUs > 0) {
                    const double floorUs = mine.products * unit.cpuUs;
                    floorCell = formatTime(floorUs) + " (" + formatCount(mine.products) + ")";
                    floorRatio = formatRatio(mine.cpuUs / floorUs);
                }
            }
            row += " | " + floorCell + " | " + floorRatio;

            for (const Median &t : theirs) {
                const bool theirsOk = t.ran && t.error.empty() && t.cpuUs > 0;
                row += " | ";
                row += !t.ran ? kNone : !t.error.empty() ? "error" : formatTime(t.cpuUs);
                row += " | ";
                row += mineOk && theirsOk ? formatRatio(mine.cpuUs / t.cpuUs) : kNone;
            }
            table += row + " |\n";
        }
    }
    if (!any)
        return;
    out << "\n## Microseconds per operation (median CPU time; ratio below 1: ecckey is faster)\n\n"
           "ecckey's sign row gives the nonces its signer drew per signature (one per attempt). The floor of "
           "a "
           "multiplication is its count of field products times the cost of one (the field multiplication "
           "row: the fixed-width Montgomery product FieldMont<N>::mul on the generic curves, "
           "FieldInt256::multiply on secp256k1).\n\n"
        << table;

    // Failures are listed under the table, so that an "error" cell can be traced.
    for (const auto &entry : m_figures)
        if (!entry.second.error.empty())
            out << "\n- " << entry.first.substr(0, entry.first.find('#')) << ": " << entry.second.error;
    out << "\n";
}

void TableReporter::printThreadTable(std::ostream &out) const {
    std::string table =
        "| Curve | Operation | 1 thread ops/s | 2 threads ops/s | speed-up | CPU µs/op, 1 thread | CPU "
        "µs/op, 2 threads "
        "| CPU-time speed-up |\n|---|---|--:|--:|--:|--:|--:|--:|\n";
    bool any = false;
    for (const BenchCurve &curve : benchCurves()) {
        for (BenchOp op : {BenchOp::Sign, BenchOp::Verify}) {
            const Median one = median(threadName(curve, op), 1);
            const Median two = median(threadName(curve, op), 2);
            if (!one.ran && !two.ran)
                continue;
            any = true;
            auto ok = [](const Median &m) { return m.ran && m.error.empty() && m.realUs > 0 && m.cpuUs > 0; };
            auto cell = [&ok](const Median &m, const std::string &value) {
                return !m.ran ? std::string(kNone) : !ok(m) ? std::string("error") : value;
            };
            // A signer's attempts per signature vary with its nonces: the speed-ups compare time per attempt.
            auto perAttempt = [](const Median &m, double us) { return m.nonces > 0 ? us / m.nonces : us; };
            const bool both = ok(one) && ok(two);
            std::string label = opLabel(op);
            if (both && one.nonces > 0) {
                char buf[64];
                std::snprintf(buf, sizeof buf, " (%.2f / %.2f nonces)", one.nonces, two.nonces);
                label += buf;
            }
            table += std::string("| ") + curve.label + " | " + label + " | " +
                     cell(one, formatCount((double)(long long)(1e6 / one.realUs))) + " | " +
                     cell(two, formatCount((double)(long long)(1e6 / two.realUs))) + " | " +
                     (both ? formatRatio(perAttempt(one, one.realUs) / perAttempt(two, two.realUs))
                           : std::string(kNone)) +
                     " | " + cell(one, formatTime(one.cpuUs)) + " | " + cell(two, formatTime(two.cpuUs)) +
                     " | " +
                     (both ? formatRatio(2 * perAttempt(one, one.cpuUs) / perAttempt(two, two.cpuUs))
                           : std::string(kNone)) +
                     " |\n";
        }
    }
    if (!any)
        return;
    out << "\n## Two threads, distinct keys\n\n"
           "Throughput is operations per wall-clock second of all threads together; the speed-up is its "
           "ratio. "
           "The CPU-time speed-up (2 × CPU time per operation on one thread / the same on two) is what the "
           "throughput gives when each thread has a core to itself: on a loaded machine the wall-clock "
           "figure "
           "measures the scheduler. Signing speed-ups are taken per attempt (the nonces per signature on one "
           "and "
           "on two threads are in the label), since the number of attempts varies from run to run.\n\n"
        << table;
}

void TableReporter::printNonceTable(std::ostream &out) const {
    std::string table =
        "| Curve | Nonce | µs per nonce | nonces per signature | ratio to full length |\n"
        "|---|---|--:|--:|--:|\n";
    auto perNonce = [](const Median &m) {
        return m.ran && m.error.empty() && m.nonces > 0 ? m.cpuUs / m.nonces : 0;
    };
    bool any = false;
    for (const BenchCurve &curve : benchCurves()) {
        const double full = hasNonceCases(curve) ? perNonce(median(nonceName(curve, 0))) : 0;
        for (unsigned bits : hasNonceCases(curve) ? nonceShortenings() : std::vector<unsigned>()) {
            const Median m = median(nonceName(curve, bits));
            if (!m.ran)
                continue;
            any = true;
            char ratio[32] = "—";
            if (perNonce(m) > 0 && full > 0)
                std::snprintf(ratio, sizeof ratio, "%.3f", perNonce(m) / full);
            table += std::string("| ") + curve.label + " | " +
                     (bits ? std::to_string(bits) + " bits shorter" : std::string("full length")) + " | " +
                     (perNonce(m) > 0 ? formatTime(perNonce(m)) : std::string("error")) + " | " +
                     (perNonce(m) > 0 ? formatRatio(m.nonces) : std::string(kNone)) + " | " + ratio + " |\n";
        }
    }
    if (!any)
        return;
    out << "\n## Signing time per nonce by the nonce's bit length (median CPU time)\n\n"
           "The generic signer with nonces drawn at full length or with their leading bits zero. A ratio "
           "away "
           "from 1.00 means signing time tells how long a nonce is.\n\n"
        << table;
}

namespace {

// A cell's fill for ratio r: white at 1, deepening to green at 1/16 and below, to red at 16 and above.
std::string ratioColour(double r) {
    const double t = std::max(-1.0, std::min(1.0, std::log2(r) / 4));
    const int fade = (int)(255 * (1 - std::fabs(t)) + 0.5);
    const int strong = t < 0 ? 160 + (int)(95 * (1 - std::fabs(t))) : 255;
    char buf[16];
    if (t < 0)
        std::snprintf(buf, sizeof buf, "#%02x%02x%02x", fade, strong, fade);
    else
        std::snprintf(buf, sizeof buf, "#%02x%02x%02x", strong, fade, fade);
    return buf;
}

}  // namespace

void TableReporter::writeRatioChart(std::ostream &out) const {
    const char *const peers[][2] = {
        {kImplOpenSsl, "OpenSSL"}, {kImplSecp256k1, "libsecp256k1"}, {kImplTomCrypt, "LibTomCrypt"}};
    const int labelWidth = 130, cellWidth = 112, cellHeight = 20, titleHeight = 46;
    std::string body;
    int y = 0;
    for (const auto &peer : peers) {
        std::string grid;
        int rows = 0;
        for (const BenchCurve &curve : benchCurves()) {
            std::string row;
            bool any = false;
            int column = 0;
            for (BenchOp op : benchOps()) {
                const Median mine = median(comparisonName(curve, op, kImplEcckey));
                const Median theirs = median(comparisonName(curve, op, peer[0]));
                const int x = labelWidth + column++ * cellWidth;
                if (!mine.ran || !theirs.ran || !mine.error.empty() || !theirs.error.empty() ||
                    theirs.cpuUs <= 0)
                    continue;
                any = true;
                const double r = mine.cpuUs / theirs.cpuUs;
                const int top = y + titleHeight + rows * cellHeight;
                row += "<rect x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(top) + "\" width=\"" +
                       std::to_string(cellWidth - 2) + "\" height=\"" + std::to_string(cellHeight - 2) +
                       "\" fill=\"" + ratioColour(r) + "\"/><text x=\"" + std::to_string(x + cellWidth / 2) +
                       "\" y=\"" + std::to_string(top + 14) + "\" text-anchor=\"middle\">" + formatRatio(r) +
                       "</text>\n";
            }
            if (!any)
                continue;
            grid += "<text x=\"4\" y=\"" + std::to_string(y + titleHeight + rows * cellHeight + 14) + "\">" +
                    curve.label + "</text>\n" + row;
            ++rows;
        }
        if (rows == 0)
            continue;
        body += "<text x=\"4\" y=\"" + std::to_string(y + 18) + "\" font-weight=\"bold\">ecckey / " +
                peer[1] + " (below 1: ecckey is faster)</text>\n";
        int column = 0;
        for (BenchOp op : benchOps())
            body += "<text x=\"" + std::to_string(labelWidth + column++ * cellWidth + cellWidth / 2) +
                    "\" y=\"" + std::to_string(y + titleHeight - 6) + "\" text-anchor=\"middle\">" +
                    opLabel(op) + "</text>\n";
        body += grid;
        y += titleHeight + rows * cellHeight + 16;
    }
    const int width = labelWidth + (int)benchOps().size() * cellWidth + 4;
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << y
        << "\" font-family=\"sans-serif\" font-size=\"11\">\n<rect width=\"100%\" height=\"100%\" "
           "fill=\"white\"/>\n"
        << body << "</svg>\n";
}

}  // namespace ecckey_bench
