// The frame the designed experiments share: their option list, the checks of
// their counts of levels, and their result, a table with one row per source
// (degrees of freedom, sum of squares, mean square, F and its probability)
// and a label for each row.
#pragma once

#include <cstdint>

#include "frame/options.h"

namespace orvls::anova {

// Columns of a design's table, which is stored by rows.
enum DesignColumn : int64_t { kSourceDf = 0, kSourceSs = 1, kSourceMs = 2, kSourceF = 3, kSourceP = 4 };
constexpr int64_t kDesignColumns = 5;
constexpr int64_t kNoTest = -1;
constexpr int kLabelLength = 48;

template <class Real>
struct DesignOptions {
    Real* user_table = nullptr;       // the table goes here instead of a new array
    int64_t nested_option = 0;        // kept for the caller; no effect on the analysis
    bool locations_random = false;    // tests of treatments against their location interaction
    char*** labels = nullptr;         // receives the allocated labels
};

// Walks the option list of a design routine.
template <class Real>
void read_design_options(OptionReader& options, DesignOptions<Real>& settings);

// Refuses a first count below 2 (65200), a second below 1 (65201) and a
// third below 2 (65202), each with integer 1 = the count; true when all pass.
// A design with fewer counts leaves the later ones at their least.
bool check_design_counts(int64_t first, int64_t second = 1, int64_t third = 2);

// A short allocation: type 5 code 201 with the count's name and value.
void refuse_allocation(const char* count_name, int64_t count);

enum class MissingOutcome;
// Reports an estimation of missing values that failed: too many missing
// as type 5 `too_many_code`, a short allocation as type 5 code 201 with the
// count's name and value.  True when the estimates stand.
bool missing_estimated(MissingOutcome outcome, int64_t too_many_code, const char* count_name, int64_t count);

// One source of a table.  A source tested against no row, or against a row
// without a positive mean square or degrees of freedom, gets NaN for F and
// its probability; a source with no degrees of freedom gets NaN for its mean
// square as well.
template <class Real>
struct Source {
    char label[kLabelLength];
    Real df;
    Real ss;
    int64_t tested_by;  // the row whose mean square is the denominator, or kNoTest
};

// Forms `label` with the formatted-print routine.
void set_label(char* label, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Fills one source of a table.
template <class Real>
void set_source(Source<Real>& source, const char* label, Real df, Real ss, int64_t tested_by)
{
    set_label(source.label, "%s", label);
    source.df = df;
    source.ss = ss;
    source.tested_by = tested_by;
}

// The table of the sources, written to the caller's array or to a new one
// (returned), and the labels when asked for.  On a short allocation, type 5
// code 201 with the given count's name and value, and null.
template <class Real>
Real* finish_table(const Source<Real>* sources, int64_t n_sources, const DesignOptions<Real>& settings,
                   const char* count_name, int64_t count);

}  // namespace orvls::anova
