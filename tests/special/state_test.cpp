// The constants, the stored states and the corners of the special functions.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <thread>

#include "capture.h"
#include "frame/envelope.h"
#include "frame/memory.h"
#include "orvls.h"
#include "special/common.h"
#include "special/special.h"

namespace {

using namespace orvls;
using orvls::special::Machine;
using orvls::special::Tables;
using orvls::special::Thresholds;

// The machine constants of the template equal the library's tables.
TEST(SpecialConstants, MachineConstantsAreTheLibrarys)
{
    for (int n : {1, 2, 3, 4}) {
        const double d[] = {Machine<double>::tiny, Machine<double>::big, Machine<double>::eps3, Machine<double>::eps4};
        const float f[] = {Machine<float>::tiny, Machine<float>::big, Machine<float>::eps3, Machine<float>::eps4};
        EXPECT_EQ(std::bit_cast<uint64_t>(d[n - 1]), std::bit_cast<uint64_t>(orvls_dmach(n))) << n;
        EXPECT_EQ(std::bit_cast<uint32_t>(f[n - 1]), std::bit_cast<uint32_t>(orvls_amach(n))) << n;
    }
}

// The thresholds written out are, to the bit, what their formulas give in
// the real type with the run-time machine constants.
template <class Real>
void expect_thresholds_from_formulas()
{
    using T = Thresholds<Real>;
    const auto mach = [](int n) { return std::is_same_v<Real, float> ? Real(orvls_amach(n)) : Real(orvls_dmach(n)); };
    const Real tiny = mach(1), big = mach(2), eps3 = mach(3), eps4 = mach(4);
    const Real sqrtpi = Real(1.772453850905516);
    const Real l = std::sqrt(-std::log(sqrtpi * tiny));
    const Real s = std::sqrt(eps4 / Real(12.566));
    const Real w = -s / std::log(Real(1.77) * s);
    const Real lw = std::log(Real(1.77) * w);
    const std::pair<Real, Real> pairs[] = {
        {T::sqrt_eps4, std::sqrt(eps4)},
        {T::log_eps3, std::log(eps3)},
        {T::log_tiny, std::log(tiny)},
        {T::log_big, std::log(big)},
        {T::lgmc_xbig, 1 / std::sqrt(eps3)},
        {T::lgmc_xmax, std::exp(std::min(std::log(big / 12), -std::log(12 * tiny)))},
        {T::gamma_xsml, std::exp(std::max(std::log(tiny), -std::log(big)) + Real(0.01))},
        {T::log_gamma_xmax, big / std::log(big)},
        {T::betai_alnsml, std::log(100 * tiny)},
        {T::erf_xbig, std::sqrt(-std::log(sqrtpi * eps3))},
        {T::erf_sqeps, std::sqrt(2 * eps3)},
        {T::erfc_xmax, l - Real(0.5) * std::log(l) / l - Real(0.01)},
        {T::erfce_xneg, Real(0.01) - std::sqrt(std::log(big / 2))},
        {T::erfce_xmax, std::exp(std::min(-std::log(sqrtpi * tiny), std::log(big)) - Real(0.01))},
        {T::erfc_inverse_xmax, 2 - (w - (lw * w + s) / (lw + 1))},
    };
    for (size_t i = 0; i < std::size(pairs); ++i)
        EXPECT_EQ(pairs[i].first, pairs[i].second) << "threshold " << i;
}

TEST(SpecialConstants, ThresholdsMatchTheirFormulas)
{
    expect_thresholds_from_formulas<double>();
    expect_thresholds_from_formulas<float>();
}

// The lengths fixed at compile time are the counts of orvls_initds, and the
// known ones.
template <class Real, size_t N>
int64_t counted(const special::Series<Real, N>& series, Real eta)
{
    return orvls_initds(series.data(), int64_t(N), eta);
}

template <class Real>
void expect_lengths(const std::vector<int64_t>& known)
{
    const Real eta = special::kSeriesTolerance<Real>;
    using S = Tables<Real>;
    const std::vector<int64_t> fixed = {S::gamcs.length, S::algmcs.length, S::alnrcs.length, S::erfcs.length,
                                        S::erc2cs.length, S::erfccs.length, S::erfc_inverse_cs.length};
    const std::vector<int64_t> runtime = {counted(S::gamcs, eta), counted(S::algmcs, Machine<Real>::eps3),
                                          counted(S::alnrcs, eta), counted(S::erfcs, eta),
                                          counted(S::erc2cs, eta), counted(S::erfccs, eta),
                                          counted(S::erfc_inverse_cs, eta)};
    EXPECT_EQ(fixed, runtime);
    EXPECT_EQ(fixed, known);
}

TEST(SpecialConstants, SeriesLengths)
{
    expect_lengths<double>({23, 6, 23, 12, 24, 25, 23});
    expect_lengths<float>({12, 2, 11, 7, 10, 9, 11});
    EXPECT_EQ(Tables<float>::alnrcs.terms.size(), 23u);
}

// The gamma limits are found once: a changed stored value is what later
// calls see.
TEST(SpecialState, GammaLimitsAreFoundOnce)
{
    ErrorCapture capture;
    EXPECT_EQ(orvls_d_beta(1, 1), 1);  // beta alone finds them
    const GammaLimits<double> found = l_r9gaml<double>();
    GammaLimits<double>& stored = StoredGammaLimits<double>::limits;
    EXPECT_EQ(stored.xmax, found.xmax);
    EXPECT_EQ(stored.xmin, found.xmin);
    EXPECT_NEAR(found.xmax, 171.61447887182298, 1e-9);
    EXPECT_NEAR(found.xmin, -170.5674972726612, 1e-9);
    const double kept = stored.xmax;
    stored.xmax = 150;
    EXPECT_TRUE(std::isnan(orvls_d_gamma(160)));
    EXPECT_EQ(last_outcome(), (Outcome{4, 9009}));
    stored.xmax = kept;
    EXPECT_GT(orvls_d_gamma(160), 0);
    EXPECT_NEAR(StoredGammaLimits<float>::get().xmax, 35.04, 0.01);
}

// Each thread has its own block of erf term counts, one per real type,
// made on first use; without memory for it erf reports type 5, code 200.
TEST(SpecialState, ErfTermCountsPerThreadAndType)
{
    using DoubleCounts = ThreadRecord<ErfTermCounts<double>>;
    using FloatCounts = ThreadRecord<ErfTermCounts<float>>;
    orvls_skip_signal_handler();  // more than one thread calls the library
    EXPECT_DOUBLE_EQ(orvls_d_erf(0.5), 0.52049987781304654);
    EXPECT_FLOAT_EQ(orvls_f_erfc(0.5f), 0.47950012f);
    const ErfTermCounts<double>* main_double = DoubleCounts::peek();
    const ErfTermCounts<float>* main_float = FloatCounts::peek();
    ASSERT_NE(main_double, nullptr);
    ASSERT_NE(main_float, nullptr);
    EXPECT_EQ(std::vector<int64_t>(main_double->words, main_double->words + 4), (std::vector<int64_t>{12, 25, 24, 0}));
    EXPECT_EQ(std::vector<int64_t>(main_float->words, main_float->words + 4), (std::vector<int64_t>{7, 9, 10, 0}));

    const ErfTermCounts<double>* before = main_double;
    const ErfTermCounts<double>* after = nullptr;
    const ErfTermCounts<float>* float_block = main_float;
    double erfc_value = 0, without_memory = 0;
    Outcome outcome{};
    std::thread([&] {
        before = DoubleCounts::peek();
        EXPECT_EQ(orvls_d_erfc(2.0), orvls_d_erfc(2.0));
        after = DoubleCounts::peek();
        float_block = FloatCounts::peek();
        erfc_value = orvls_d_erfc(2.0);
    }).join();
    EXPECT_EQ(before, nullptr);
    EXPECT_NE(after, nullptr);
    EXPECT_NE(after, main_double);
    EXPECT_EQ(float_block, nullptr);  // the float block is made by the float forms only
    EXPECT_DOUBLE_EQ(erfc_value, 0.0046777349810472658);

    std::thread([&] {
        ErrorCapture capture;
        orvls_testing_fail_allocation(1);
        without_memory = orvls_d_erf(0.5);
        orvls_testing_fail_allocation(0);
        outcome = last_outcome();
    }).join();
    EXPECT_TRUE(std::isnan(without_memory));
    EXPECT_EQ(outcome, (Outcome{5, 200}));
}

// The corners the algorithms are known by.
TEST(SpecialCorners, KnownValuesAndPaths)
{
    ErrorCapture capture;
    EXPECT_DOUBLE_EQ(orvls_d_gamma(1.5), 0.88622692545275801);  // the series alone
    EXPECT_DOUBLE_EQ(orvls_d_gamma(4.5), 11.631728396567448);
    const double g = orvls_d_gamma(-11);  // sin(11 pi) is not 0 when computed
    EXPECT_EQ(last_outcome(), (Outcome{3, 9020}));
    EXPECT_TRUE(std::isfinite(g));
    EXPECT_GT(std::fabs(g), 1e6);
    EXPECT_EQ(orvls_d_gamma_incomplete(2, 0), 0);
    EXPECT_EQ(orvls_d_beta_incomplete(0, 2, 3), 0);
    EXPECT_EQ(orvls_d_beta_incomplete(1, 2, 3), 1);
    EXPECT_EQ(orvls_f_beta_incomplete(1, 2, 3), 1);
    EXPECT_EQ(orvls_d_erfc(-30), 2);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
    EXPECT_EQ(orvls_d_erfc_inverse(1), 0);
    EXPECT_EQ(orvls_f_erfc_inverse(1), 0);
    EXPECT_EQ(orvls_d_factorial(0), 1);
    EXPECT_EQ(orvls_d_factorial(20), 2432902008176640000);
    EXPECT_EQ(orvls_d_factorial(12), 479001599);  // Gamma(13) lands just under; cut, not rounded
    EXPECT_EQ(orvls_d_binomial_coefficient(1, 0), 1);
    EXPECT_EQ(orvls_d_binomial_coefficient(1, 1), 1);
    EXPECT_EQ(orvls_d_binomial_coefficient(21, 1), 21);
    EXPECT_EQ(orvls_d_binomial_coefficient(60, 19), 2044802197953899);  // exact ...900, cut
    EXPECT_NEAR(orvls_d_binomial_coefficient(42, 21), 538257874440, 1);  // Stirling's form at k = 21
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
}


// What the running routine sees of the error stack: its own type and code
// (level 0) and those of the routine popped last (level 1).
struct FrameView {
    int64_t types[2];
    int64_t codes[2];
    bool operator==(const FrameView&) const = default;
};

FrameView frame_view()
{
    return {{orvls_n1rty(0), orvls_n1rty(1)}, {orvls_n1rcode(0), orvls_n1rcode(1)}};
}

// An inner call whose arguments raise nothing runs without its level; the
// running routine must then see what the full call leaves, also with a
// warning of its own standing and another routine's left behind.
template <class Real>
void expect_inner_calls_leave_the_full_calls_view()
{
    const auto view_after = [](auto call) {
        FrameView view{};
        envelope("orvls_test_outer", [&] {
            orvls_ermes(3, 9020);
            (void)gamma_routine(Real(-0.5));  // leaves nothing of its own
            // Near -1 it leaves its warning 9020 at level 1.
            (void)gamma_routine(Real(-1) - Thresholds<Real>::sqrt_eps4 / 2);
            call();
            view = frame_view();
        });
        return view;
    };
    for (Real x : {Real(0.25), Real(2.5), Real(9.75), Real(30.5)}) {
        EXPECT_EQ(view_after([&] { (void)inner_gamma(x); }), view_after([&] { (void)gamma_routine(x); })) << x;
        EXPECT_EQ(view_after([&] { (void)inner_log_gamma(x); }), view_after([&] { (void)log_gamma_routine(x); }))
            << x;
    }
}

TEST(SpecialInnerCalls, LeaveWhatTheFullCallLeaves)
{
    ErrorCapture capture;
    expect_inner_calls_leave_the_full_calls_view<float>();
    expect_inner_calls_leave_the_full_calls_view<double>();
}

// Below a level that reports as if the caller had called it, every return
// is reported, so the inner call keeps its level.
TEST(SpecialInnerCalls, ReportToTheCallerWhenTheRunningLevelDoes)
{
    static int returns = 0;
    returns = 0;
    orvls_set_at_checksum([](int64_t type, int64_t, const char*) { returns += type == 0; });
    envelope("orvls_test_outer", [] {
        (void)inner_gamma(2.5);
        orvls_e1user("ON");
        (void)inner_gamma(2.5);
        (void)inner_log_gamma(30.5);
        orvls_e1user("OFF");
    });
    orvls_set_at_checksum(nullptr);
    EXPECT_EQ(returns, 3);  // the two inner calls under "ON" and the outer routine
}

}  // namespace
