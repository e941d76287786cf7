// Test support: fingerprints of scalar functions over fixed samples of
// arguments, compared with fingerprints recorded earlier, so that a change
// meant to leave every result alone (a faster frame, hoisted constants) can
// show that it did, bit for bit.
//
// A fingerprint hashes, call by call, the bits of the value, the type and
// code of the error that came back and everything reported (message,
// parameters, traceback with routine names).  It is kept per block of
// kBlock calls, with the value of the first call of each block, so that a
// difference points at a block and shows one value.
//
// The file tests/<family>/data/bit_identity.txt holds the recorded
// fingerprints.  To record them afresh (only from code whose results are
// known to be right), run the family's test program with
// ORVLS_RECORD_BIT_IDENTITY=1 in the environment.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "capture.h"
#include "orvls.h"

namespace bit_identity {

constexpr int kBlock = 1024;

using Args = std::array<double, 3>;

// xorshift64: the same arguments on every run and every machine.
class Random {
public:
    double uniform(double low, double high) { return low + unit() * (high - low); }
    // |value| spread evenly in log between low and high, with a random sign
    // when `signed_too`.
    double log_uniform(double low, double high, bool signed_too = false)
    {
        const double value = std::exp(uniform(std::log(low), std::log(high)));
        return signed_too && (next() & 1) ? -value : value;
    }
    double integer(int64_t low, int64_t high)
    {
        return double(low + int64_t(next() % uint64_t(high - low + 1)));
    }
    template <std::size_t N>
    double pick(const double (&values)[N])
    {
        return values[next() % N];
    }

private:
    uint64_t next()
    {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return state_;
    }
    double unit() { return double(next() >> 11) * 0x1p-53; }
    uint64_t state_ = 0x9E3779B97F4A7C15ull;
};

// `count` argument lists made by `make`.
struct Piece {
    int count;
    std::function<Args(Random&)> make;
};

// Internal functions push no name: they run as a routine of their own, so
// that their errors come back as a public routine's would.
template <class Call>
double as_routine(Call call)
{
    static const char* const name = "internal";
    orvls_e1psh(name);
    const double value = call();
    orvls_e1pop(name);
    return value;
}

// The two forms of a public function of one, two or three reals, and of an
// internal template (the call names its real type Real).
#define BIT_IDENTITY_PUBLIC1(name) \
    [](const Args& v) { return double(orvls_f_##name(float(v[0]))); }, [](const Args& v) { return orvls_d_##name(v[0]); }
#define BIT_IDENTITY_PUBLIC2(name)                                                      \
    [](const Args& v) { return double(orvls_f_##name(float(v[0]), float(v[1]))); }, \
        [](const Args& v) { return orvls_d_##name(v[0], v[1]); }
#define BIT_IDENTITY_PUBLIC3(name)                                                                    \
    [](const Args& v) { return double(orvls_f_##name(float(v[0]), float(v[1]), float(v[2]))); }, \
        [](const Args& v) { return orvls_d_##name(v[0], v[1], v[2]); }
#define BIT_IDENTITY_INTERNAL(call)                                                    \
    [](const Args& v) {                                                                \
        using Real = float;                                                            \
        return bit_identity::as_routine([&] { return double(call); });                 \
    },                                                                                 \
        [](const Args& v) {                                                            \
            using Real = double;                                                       \
            return bit_identity::as_routine([&] { return double(call); });             \
        }

// A function in both forms (the float form's value widened, which keeps
// its bits), and the pieces of its sample.
struct Subject {
    const char* name;
    std::function<double(const Args&)> in_float;
    std::function<double(const Args&)> in_double;
    std::vector<Piece> pieces;
};

struct Fingerprint {
    std::vector<uint64_t> blocks;
    std::vector<std::string> first_values;  // hex bits of each block's first value
};

class Hash {
public:
    void add(const void* data, std::size_t size)
    {
        const auto* bytes = static_cast<const unsigned char*>(data);
        for (std::size_t i = 0; i < size; ++i)
            value_ = (value_ ^ bytes[i]) * 0x100000001B3ull;
    }
    uint64_t value() const { return value_; }

private:
    uint64_t value_ = 0xCBF29CE484222325ull;
};

inline std::string bits_text(double value)
{
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    char text[24];
    std::snprintf(text, sizeof text, "%016" PRIx64, bits);
    return text;
}

// While it stands, every report is printed with a full traceback and
// nothing stops; the thread's settings are restored after.
class ReportEverything {
public:
    ReportEverything()
    {
        for (int type = 1; type <= 7; ++type) {
            orvls_error_options(ORVLS_GET_PRINT, type, &print_[type], ORVLS_GET_TRACEBACK, type, &trace_[type],
                                ORVLS_GET_STOP, type, &stop_[type], 0);
            orvls_error_options(ORVLS_SET_PRINT, type, 1, ORVLS_SET_TRACEBACK, type, 1, ORVLS_SET_STOP, type, 0, 0);
        }
        orvls_error_options(ORVLS_FULL_TRACEBACK, 1, 0);
    }
    ~ReportEverything()
    {
        for (int type = 1; type <= 7; ++type)
            orvls_error_options(ORVLS_SET_PRINT, type, int(print_[type]), ORVLS_SET_TRACEBACK, type, int(trace_[type]),
                                ORVLS_SET_STOP, type, int(stop_[type]), 0);
        orvls_error_options(ORVLS_FULL_TRACEBACK, 0, 0);
    }
    ReportEverything(const ReportEverything&) = delete;
    ReportEverything& operator=(const ReportEverything&) = delete;

private:
    int64_t print_[8] = {}, trace_[8] = {}, stop_[8] = {};
};

template <class Real>
Fingerprint fingerprint(const Subject& subject)
{
    ErrorCapture capture;
    const ReportEverything settings;
    Fingerprint print;
    Random random;
    Hash hash;
    int calls = 0;
    for (const Piece& piece : subject.pieces)
        for (int i = 0; i < piece.count; ++i) {
            const Args args = piece.make(random);
            const double value = std::is_same_v<Real, float> ? subject.in_float(args) : subject.in_double(args);
            const Outcome outcome = last_outcome();
            const std::string reported = capture.text();
            capture.clear();
            if (calls % kBlock == 0)
                print.first_values.push_back(bits_text(value));
            // The sign and payload of a NaN are the compiler's choice of
            // operand order, not the library's result: every NaN counts alike.
            const double counted = std::isnan(value) ? std::numeric_limits<double>::quiet_NaN() : value;
            hash.add(&counted, sizeof counted);
            hash.add(&outcome.type, sizeof outcome.type);
            hash.add(&outcome.code, sizeof outcome.code);
            hash.add(reported.data(), reported.size());
            if (++calls % kBlock == 0 || (&piece == &subject.pieces.back() && i == piece.count - 1)) {
                print.blocks.push_back(hash.value());
                hash = Hash();
            }
        }
    return print;
}

// The recorded file: one line per block, "name form block hash first-value".
using Recorded = std::map<std::string, Fingerprint>;

inline std::string data_path(const char* family)
{
    return std::string(ORVLS_SOURCE_DIR) + "/tests/" + family + "/data/bit_identity.txt";
}

inline Recorded read_recorded(const char* family)
{
    Recorded recorded;
    std::ifstream in(data_path(family));
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream fields(line);
        std::string name, form, hash, first;
        int block = 0;
        fields >> name >> form >> block >> hash >> first;
        Fingerprint& print = recorded[name + " " + form];
        print.blocks.push_back(std::strtoull(hash.c_str(), nullptr, 16));
        print.first_values.push_back(first);
    }
    return recorded;
}

inline bool recording() { return std::getenv("ORVLS_RECORD_BIT_IDENTITY") != nullptr; }

inline void write_recorded(const char* family, const std::vector<Subject>& subjects)
{
    FILE* out = std::fopen(data_path(family).c_str(), "w");
    ASSERT_NE(out, nullptr) << data_path(family);
    std::fprintf(out, "# name form block hash first-value (tests/support/bit_identity.h)\n");
    for (const Subject& subject : subjects) {
        const auto start = std::chrono::steady_clock::now();
        const Fingerprint prints[2] = {fingerprint<float>(subject), fingerprint<double>(subject)};
        std::printf("%-24s %8.3f s\n", subject.name,
                    std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        std::fflush(stdout);
        const char* forms[2] = {"f", "d"};
        for (int f = 0; f < 2; ++f)
            for (std::size_t b = 0; b < prints[f].blocks.size(); ++b)
                std::fprintf(out, "%s %s %zu %016" PRIx64 " %s\n", subject.name, forms[f], b, prints[f].blocks[b],
                             prints[f].first_values[b].c_str());
    }
    std::fclose(out);
}

template <class Real>
void expect_recorded(const Subject& subject, const Recorded& recorded)
{
    const std::string key = std::string(subject.name) + (std::is_same_v<Real, float> ? " f" : " d");
    const auto found = recorded.find(key);
    ASSERT_NE(found, recorded.end()) << "nothing recorded for " << key;
    const Fingerprint print = fingerprint<Real>(subject);
    ASSERT_EQ(print.blocks.size(), found->second.blocks.size()) << key;
    int differing = 0;
    for (std::size_t b = 0; b < print.blocks.size(); ++b)
        if (print.blocks[b] != found->second.blocks[b] && ++differing <= 3)
            ADD_FAILURE() << key << ": block " << b << " (calls " << b * kBlock << " on) differs; first value "
                          << print.first_values[b] << ", recorded " << found->second.first_values[b];
    EXPECT_EQ(differing, 0) << key;
}

// The family's test: records when asked to, else compares every subject in
// both forms.
inline void check_family(const char* family, const std::vector<Subject>& subjects)
{
    orvls_error_options(ORVLS_SIGNAL_TRAPPING_OFF, 0);
    if (recording()) {
        write_recorded(family, subjects);
        return;
    }
    const Recorded recorded = read_recorded(family);
    ASSERT_FALSE(recorded.empty()) << "cannot read " << data_path(family);
    for (const Subject& subject : subjects) {
        expect_recorded<float>(subject, recorded);
        expect_recorded<double>(subject, recorded);
    }
}

}  // namespace bit_identity
