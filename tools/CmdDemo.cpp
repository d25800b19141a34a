// ecckey demo: on every catalogue curve, a key pair, signatures in DER and raw form, an ECDH agreement,
// the key through every format and back, and the time each operation takes.
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "FormatNames.h"
#include "KeyFile.h"
#include "Session.h"
#include "ecc/EccKey.h"
#include "support/Hash.h"
#include "support/LogBase.h"
#include "support/Prng.h"
#include "support/TovarMp.h"

namespace ecckey_cli {

namespace {

using ecckey::DataBuffer;
using ecckey::EccKey;
using Clock = std::chrono::steady_clock;

// Each timing runs for about this long (at least kMinRuns times, at most kMaxRuns), which keeps the
// whole tour of thirteen curves within a few seconds on a slow machine.
const double kTimingBudgetUs = 25000.0;
const int kMinRuns = 3;
const int kMaxRuns = 500;

struct CurveReport {
    std::string curve;
    bool derOk = false;
    bool rawOk = false;
    bool ecdhOk = false;
    int numFormats = 0;
    std::vector<std::string> notRoundTripped;  // format names
    bool noSshName = false;                    // the SSH formats were passed over: the blob has no name
    double signUs = 0;
    double verifyUs = 0;
    double ecdhUs = 0;
    std::vector<std::string> problems;  // every failed check, for the text under the table
};

// Average microseconds of op over a run of about kTimingBudgetUs; negative when op fails.
template <typename Op>
double timeOp(Op op) {
    const Clock::time_point start = Clock::now();
    double elapsedUs = 0;
    int runs = 0;
    while (runs < kMaxRuns && (runs < kMinRuns || elapsedUs < kTimingBudgetUs)) {
        if (!op())
            return -1;
        ++runs;
        elapsedUs = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
    }
    return elapsedUs / runs;
}

[[nodiscard]] bool sameKey(const EccKey &a, const EccKey &b, bool withPrivate) {
    using ecckey::TovarMp;
    return a.m_curve.m_name.equals(b.m_curve.m_name) && b.isPrivate() == withPrivate &&
           TovarMp::mp_cmp(a.m_pubPoint.m_x, b.m_pubPoint.m_x) == 0 &&
           TovarMp::mp_cmp(a.m_pubPoint.m_y, b.m_pubPoint.m_y) == 0 &&
           (!withPrivate || TovarMp::mp_cmp(a.m_privKey, b.m_privKey) == 0);
}

// Signs, verifies the signature, and checks that the same signature fails over another hash.
[[nodiscard]] bool signAndVerify(EccKey &key, const DataBuffer &hash, bool der, ecckey::_tvPrng &prng,
                                 CurveReport &report) {
    ecckey::LogRecorder log;
    DataBuffer sig;
    DataBuffer otherHash(hash);
    otherHash.getDataMutable()[0] ^= 1;
    bool valid = false;
    bool otherValid = true;
    const unsigned rLen = (unsigned)key.m_curve.m_byteLen;
    const bool ok = key.eccSignHash(hash.getData2(), hash.getSize(), prng, der, sig, log) &&
                    key.eccVerifyHash(sig.getData2(), sig.getSize(), true, hash.getData2(), hash.getSize(),
                                      valid, log, rLen) &&
                    key.eccVerifyHash(sig.getData2(), sig.getSize(), true, otherHash.getData2(),
                                      otherHash.getSize(), otherValid, log, rLen);
    if (ok && valid && !otherValid)
        return true;
    report.problems.push_back(std::string(der ? "DER" : "raw") +
                              " signature: " + (ok ? "wrong verdict" : log.errorText()));
    return false;
}

[[nodiscard]] bool agree(EccKey &a, EccKey &b, CurveReport &report) {
    ecckey::LogRecorder log;
    DataBuffer ab;
    DataBuffer ba;
    ab.setSensitive();
    ba.setSensitive();
    const bool ok = a.sharedSecret(b, ab, log) && b.sharedSecret(a, ba, log);
    if (ok && ab.equals(ba) && ab.getSize() == (unsigned)a.m_curve.m_byteLen)
        return true;
    report.problems.push_back("ECDH: " + (ok ? std::string("the two sides differ") : log.errorText()));
    return false;
}

// Writes the key and reads it back through the command's own reader.
[[nodiscard]] bool roundTrip(EccKey &key, const FormatInfo &format, bool withPrivate, std::string &error) {
    ecckey::LogRecorder log;
    if (!log.m_options.setString(kWriterOptions)) {
        error = "out of memory";
        return false;
    }
    DataBuffer text;
    EccKey loaded;
    if (!writeKey(key, format, withPrivate, text, log, error) || !loadKey(text, loaded, log, error)) {
        error += log.errorText().empty() ? "" : ": " + log.errorText();
        return false;
    }
    if (!sameKey(key, loaded, withPrivate)) {
        error = "a different key came back";
        return false;
    }
    return true;
}

void roundTripAll(EccKey &key, CurveReport &report) {
    int numFormats = 0;
    const FormatInfo *formats = keyFormats(numFormats);
    report.numFormats = 0;
    for (int i = 0; i < numFormats; ++i) {
        const FormatInfo &format = formats[i];
        // COSE names four curves only; the demo's table stays over the formats every curve has a row for.
        if (format.format == KeyFormat::Cose)
            continue;
        ++report.numFormats;
        const bool sshFormat = format.format == KeyFormat::Ssh || format.format == KeyFormat::OpenSsh ||
                               format.format == KeyFormat::Ppk;
        if (sshFormat && sshKeyTypeName(key).empty()) {
            report.notRoundTripped.push_back(format.name);
            report.noSshName = true;
            continue;
        }
        std::string error;
        const bool ok =
            (!ecckey::formats::holdsPrivate(format.format) || roundTrip(key, format, true, error)) &&
            (!ecckey::formats::holdsPublic(format.format) || roundTrip(key, format, false, error));
        if (!ok) {
            report.notRoundTripped.push_back(format.name);
            report.problems.push_back(std::string(format.name) + ": " + error);
        }
    }
}

void timeAll(EccKey &key, EccKey &peer, const DataBuffer &hash, ecckey::_tvPrng &prng, CurveReport &report) {
    ecckey::LogNull quiet;
    DataBuffer sig;
    report.signUs = timeOp([&] {
        sig.clear();
        return key.eccSignHash(hash.getData2(), hash.getSize(), prng, true, sig, quiet);
    });
    report.verifyUs = timeOp([&] {
        bool valid = false;
        return key.eccVerifyHash(sig.getData2(), sig.getSize(), true, hash.getData2(), hash.getSize(), valid,
                                 quiet, 0) &&
               valid;
    });
    DataBuffer secret;
    secret.setSensitive();
    report.ecdhUs = timeOp([&] { return key.sharedSecret(peer, secret, quiet); });
}

[[nodiscard]] bool generate(const char *curve, EccKey &key, ecckey::_tvPrng &prng, CurveReport &report) {
    ecckey::LogRecorder log;
    std::string error;
    if (key.generateNewKey(ecckey::StringBuffer(curve), prng, log) && checkKey(key, log, error))
        return true;
    report.problems.push_back("key generation: " + error + log.errorText());
    return false;
}

CurveReport tourCurve(const char *curve, const DataBuffer &hash, ecckey::_tvPrng &prng) {
    CurveReport report;
    report.curve = curve;
    EccKey key;
    EccKey peer;
    if (!generate(curve, key, prng, report) || !generate(curve, peer, prng, report))
        return report;
    report.derOk = signAndVerify(key, hash, true, prng, report);
    report.rawOk = signAndVerify(key, hash, false, prng, report);
    report.ecdhOk = agree(key, peer, report);
    roundTripAll(key, report);
    timeAll(key, peer, hash, prng, report);
    return report;
}

std::string formatsColumn(const CurveReport &report) {
    const int numOk = report.numFormats - (int)report.notRoundTripped.size();
    if (report.notRoundTripped.empty())
        return "all " + std::to_string(numOk);
    std::string text = std::to_string(numOk) + " of " + std::to_string(report.numFormats) + ", not";
    for (std::size_t i = 0; i < report.notRoundTripped.size(); ++i)
        text += (i == 0 ? " " : ", ") + report.notRoundTripped[i];
    return text + (report.noSshName ? " (no SSH curve name)" : "");
}

void printRow(const CurveReport &r) {
    std::printf("%-16s %-4s %-4s %-5s %8.0f %10.0f %8.0f  %s\n", r.curve.c_str(), r.derOk ? "ok" : "FAIL",
                r.rawOk ? "ok" : "FAIL", r.ecdhOk ? "ok" : "FAIL", r.signUs, r.verifyUs, r.ecdhUs,
                formatsColumn(r).c_str());
}

}  // namespace

int cmdDemo(int argc, char **argv) {
    (void)argv;
    if (argc != 0)
        return usageError("demo takes no arguments");
    const Clock::time_point start = Clock::now();
    ecckey::SystemPrng prng;
    const char message[] = "ecckey demo";
    DataBuffer hash;
    if (!ecckey::_tvHash::doHash(message, sizeof message - 1, ecckey::HASH_SHA256, hash)) {
        std::fprintf(stderr, "ecckey demo: cannot hash the message\n");
        return kExitError;
    }

    std::printf(
        "ecckey: on every named curve a key pair, ECDSA over SHA-256 in DER and raw form (signed,\n"
        "verified, and refused over another hash), ECDH between two keys, and the key through\n"
        "every format and back. Times are microseconds per operation.\n\n");
    std::printf("curve            DER  raw  ECDH   sign µs  verify µs  ECDH µs  formats that round-trip\n");
    std::vector<CurveReport> reports;
    for (int i = 0; i < ecckey::EccCurve::numCatalogCurves(); ++i) {
        reports.push_back(tourCurve(ecckey::EccCurve::catalogEntry(i)->name, hash, prng));
        printRow(reports.back());
        std::fflush(stdout);
    }

    int numProblems = 0;
    for (const CurveReport &report : reports) {
        for (const std::string &problem : report.problems) {
            std::fprintf(stderr, "ecckey demo: %s: %s\n", report.curve.c_str(), problem.c_str());
            ++numProblems;
        }
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    std::printf(
        "\nFormats: pem sec1-pem der sec1-der spki-explicit jwk xml xmldsig ssh openssh ppk raw-hex\n"
        "(private and public forms). The generic curves run on LibTomMath and are not constant time;\n"
        "secp256k1 runs on its own constant-time engine.\n");
    if (numProblems > 0) {
        std::printf("%d check(s) failed (%.1f s)\n", numProblems, seconds);
        return kExitError;
    }
    std::printf("%zu curves, every check passed (%.1f s)\n", reports.size(), seconds);
    return kExitOk;
}

}  // namespace ecckey_cli
