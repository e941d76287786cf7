// Multiple comparisons of group means: simultaneous intervals for the
// differences of every pair (l_s2ipm), and the multiple-range tests that
// mark sets of means that do not differ (l_s2kmc).
#pragma once

#include <cstdint>

namespace orvls::anova {

// The interval methods, numbered as the comparison options of anova_oneway.
enum IntervalMethod : int64_t {
    kTukey = 0,
    kDunnSidak = 1,
    kBonferroni = 2,
    kScheffe = 3,
    kOneAtATime = 4,
};
constexpr int64_t kComparisonValues = 5;  // values per pair of groups

// The confidence, in percent, of a method's intervals: from 90 to 99 for
// Tukey's (type 5, 11159, real 1 = the confidence); the ordinary check of
// limits for the others (20403, or the note 20404).  False when refused.
template <class Real>
bool check_interval_confidence(int64_t method, Real confidence);

// Intervals for the differences of k means sorted ascending, with their
// group numbers and group sizes, from the error mean square s2 with d
// degrees of freedom: table_rows rows of 5 values (first group, second
// group, difference, lower and upper limit), pairs (1,2), (1,3), ... of the
// sorted order.  Errors (type 5): 11157, a group size below 1 (int 1 =
// group number, int 2 = size); 11158, s2 negative (real 1); 11160, d not
// positive (real 1); 11161, fewer than k(k - 1)/2 rows (int 1 = rows, int 2
// = rows needed).  The confidence must have passed the check above.
template <class Real>
void l_s2ipm(int64_t method, int64_t k, const Real* group_numbers, const Real* counts, const Real* means, Real s2,
             Real d, Real confidence, Real* table, int64_t table_rows);

// The multiple-range methods of multiple_comparisons.
enum RangeMethod : int64_t {
    kRangeTukey = 0,     // Tukey's honestly significant difference
    kStepDownRange = 1,  // Newman-Keuls: the range of r means at level 1 - alpha
    kDuncan = 2,         // Duncan: level (1 - alpha)^(r - 1)
    kRyanWelsch = 3,     // Ryan, Einot, Gabriel and Welsch: level (1 - alpha)^(r / k) below r = k - 1
    kRangeBonferroni = 4,
};

// Range tests of k means with standard error std_error on df degrees of
// freedom at level alpha: result[i] (k - 1 values) is the size of the
// largest set of consecutive sorted means, beginning at the i-th smallest,
// whose range does not exceed its critical value; 0 when there is none.
// `sorted` is work space for k values.  False when a quantile fails.
template <class Real>
bool l_s2kmc(int64_t method, int64_t k, const Real* means, Real df, Real std_error, Real alpha, Real* sorted,
             int64_t* result);

}  // namespace orvls::anova
