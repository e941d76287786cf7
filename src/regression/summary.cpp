// Regression summaries: sequential sums of squares, the summary of one
// dependent variable, and the public routine that hands them out.
#include "regression/summary.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <limits>
#include <type_traits>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "frame/report_table.h"
#include "orvls.h"
#include "regression/inference.h"
#include "regression/outputs.h"
#include "regression/precision.h"
#include "regression/report_text.h"

namespace orvls::regression {

namespace {

// The zero-based coefficient range [first, last) of effect e.
struct EffectRange {
    int64_t first, last;
};

EffectRange effect_range(int64_t intcep, int64_t ief, const int64_t* irbef, int64_t e)
{
    if (ief <= 0)
        return {intcep + e, intcep + e + 1};
    return {irbef[e] - 1, irbef[e + 1] - 1};
}

int64_t effect_count(int64_t ief) { return ief < 0 ? -ief : ief; }

int64_t coefficient_count(int64_t intcep, int64_t ief, const int64_t* irbef)
{
    return ief <= 0 ? intcep - ief : irbef[ief] - 1;
}

// The effect starts must not decrease (20425); true when they do not.
bool effect_starts_ordered(int64_t ief, const int64_t* irbef)
{
    for (int64_t e = 0; e < ief; ++e) {
        if (irbef[e + 1] < irbef[e]) {
            orvls_e1sti(1, e + 1);
            orvls_e1sti(2, e + 2);
            orvls_e1sti(3, irbef[e]);
            orvls_e1sti(4, irbef[e + 1]);
            orvls_ermes(5, 20425);
            return false;
        }
    }
    return true;
}

// A negative diagonal of the factor marks a reduced model, which only the
// printed total's label tells.
template <class Real>
bool negative_diagonal(int64_t ncoef, const Real* r, int64_t ldr)
{
    for (int64_t j = 0; j < ncoef; ++j)
        if (r[j + j * ldr] < 0)
            return true;
    return false;
}

// The centred sum of squares of each coefficient's column, read off the
// factor, that the diagonal of the inverse turns into a variance inflation
// factor: +inf at a dropped coefficient, NaN at a negative diagonal.
template <class Real>
void inflation_bases(int64_t intcep, int64_t ncoef, const Real* r, int64_t ldr, Real* t)
{
    auto R = [&](int64_t i, int64_t j) { return r[i + j * ldr]; };
    for (int64_t j = 0; j < ncoef; ++j) {
        const Real d = R(j, j);
        if (d == 0) {
            t[j] = std::numeric_limits<Real>::infinity();
        } else if (!(d > 0)) {
            t[j] = missing_value<Real>();
        } else if (j == 0 && intcep) {
            t[j] = d * d;
        } else {
            Real sum = 0;
            for (int64_t k = intcep; k <= j; ++k)
                if (R(k, k) > 0)
                    sum += R(k, j) * R(k, j);
            t[j] = sum;
        }
    }
}


// What the printed summary shows, as orvls_rstat leaves it.
template <class Real>
struct SummaryTables {
    int64_t intcep, ief, ncoef;
    bool negative_diagonal;
    const Real* aov;
    const Real *sqss, *coef, *covb;
    int64_t ldsqss, ldcoef, ldcovb;
};

// Section 1: the summary line, then the analysis of variance.
template <class Real>
void print_anova(const SummaryTables<Real>& t)
{
    const Real* aov = t.aov;
    static const char* const summary_labels[] = {"R-squared\n(percent)", "Adjusted\nR-squared",
                                                 "Est. Std. Dev.\nof Model Error", "\nMean",
                                                 "Coefficient of\nVar. (percent)"};
    const Real summary[] = {aov[kRSquared], aov[kAdjustedRSquared], aov[kErrorDeviation], aov[kMean],
                            aov[kVariation]};
    const bool without_mean = std::isnan(aov[kMean]) && std::isnan(aov[kVariation]);
    write_report_table(ReportTable{"", without_mean ? "%8.3f%8.3f%10.4W" : "%8.3f%8.3f%10.4W%10.4W%10.4W", nullptr,
                                   LabelChoice{0, nullptr}, LabelChoice{2, summary_labels}, 0},
                       1, without_mean ? 3 : 5, summary, 1);
    const Real none = missing_value<Real>();
    // Column-major: sources down, statistics across.
    const Real table[] = {aov[kModelDf], aov[kErrorDf], aov[kTotalDf], aov[kModelSs], aov[kErrorSs], aov[kTotalSs],
                          aov[kModelMs], aov[kErrorMs], none, aov[kOverallF], none, none, aov[kProbF], none, none};
    static const char* const columns[] = {"\nDF", "Sum of\nSquares", "Mean\nSquare", "\nOverall F",
                                          "Prob. of\nLarger F"};
    const char* const sources[] = {"Regression", "Residual",
                                   t.negative_diagonal ? "Reduced Model Total"
                                   : t.intcep          ? "Corrected Total  "
                                                       : "Uncorrected Total"};
    write_report_table(ReportTable{"\n* * * Analysis of Variance * * *", "%7.1W%10.4W%10.4W%9.3f%7.4f", "\nSource",
                                   LabelChoice{2, sources}, LabelChoice{2, columns}, 0},
                       3, 5, table, 3);
}

template <class Real>
void print_summary(const char* print, const SummaryTables<Real>& t)
{
    if (print_selects(print, '1'))
        print_anova(t);
    if (print_selects(print, '2')) {
        static const char* const columns[] = {"Degrees of\nFreedom", "Sum of \nSquares", "\nF-statistic",
                                              "Prob. of \nLarger F"};
        write_report_table(ReportTable{"\n* * * Sequential Statistics * * *\n", "%10.4W%10.4W%9.3f%7.4f",
                                       t.ief > 0 ? "\nEffect" : "Indep.\nVariable", LabelChoice{1, nullptr},
                                       LabelChoice{2, columns}, 0},
                           effect_count(t.ief), 4, t.sqss, t.ldsqss);
    }
    if (print_selects(print, '3')) {
        static const char* const columns[] = {"\nEstimate", "Standard\nError", "\nt-statistic",
                                              "Prob. of\nLarger |t|", "Variance\nInflation"};
        write_report_table(ReportTable{"\n* * * Inference on Coefficients * * *\n", "%10.4W%10.4W%10.4W%7.4f%10.4W",
                                       "\nCoef.", LabelChoice{1, nullptr}, LabelChoice{2, columns}, 0},
                           t.ncoef, 5, t.coef, t.ldcoef);
    }
    if (print_selects(print, '4'))
        write_report_table(
            ReportTable{"\n* * * Variance-Covariance Matrix for the Coefficient Estimates * * *\n", "%12.6W", nullptr,
                        LabelChoice{1, nullptr}, LabelChoice{1, nullptr}, 1},
            t.ncoef, t.ncoef, t.covb, t.ldcovb);
}

}  // namespace

template <class Real>
void orvls_rsqss(int64_t intcep, int64_t ief, const int64_t* irbef, const Real* b, const Real* r, int64_t ldr,
                 Real dfe, Real sse, Real* sqss, int64_t ldsqss)
{
    if (ief > 0 && !effect_starts_ordered(ief, irbef))
        return;
    const int64_t ncoef = coefficient_count(intcep, ief, irbef);
    const Real error_ms = ratio(sse, dfe);
    for (int64_t e = 0; e < effect_count(ief); ++e) {
        const EffectRange range = effect_range(intcep, ief, irbef, e);
        Real df = 0, ss = 0;
        for (int64_t j = range.first; j < range.last; ++j) {
            if (!(r[j + j * ldr] > 0))
                continue;
            Real inner = 0;
            for (int64_t k = j; k < ncoef; ++k)
                inner += r[j + k * ldr] * b[k];
            df += 1;
            ss += inner * inner;
        }
        const Real f = ratio(ratio(ss, df), error_ms);
        sqss[e] = df;
        sqss[e + ldsqss] = ss;
        sqss[e + 2 * ldsqss] = f;
        sqss[e + 3 * ldsqss] = upper_f_probability(f, df, dfe);
    }
}

template <class Real>
void orvls_rstat(int64_t intcep, int64_t ief, const int64_t* irbef, const Real* b, const Real* r, int64_t ldr,
                 Real dfe, Real sse, const char* print, Real* aov, Real* sqss, int64_t ldsqss, Real* coef,
                 int64_t ldcoef, Real* covb, int64_t ldcovb)
{
    orvls_rsqss(intcep, ief, irbef, b, r, ldr, dfe, sse, sqss, ldsqss);
    if (is_fatal(orvls_n1rty(0)))
        return;
    const int64_t ncoef = coefficient_count(intcep, ief, irbef);
    Real dfr = 0, ssr = 0;
    for (int64_t e = 0; e < effect_count(ief); ++e) {
        dfr += sqss[e];
        ssr += sqss[e + ldsqss];
    }
    Real mean = missing_value<Real>();
    if (intcep && r[0] > 0) {
        Real inner = 0;
        for (int64_t k = 0; k < ncoef; ++k)
            inner += r[k * ldr] * b[k];
        mean = inner / r[0];
    }
    orvls_g1aov(dfr, ssr, dfe, sse, mean, aov);
    Real* vif = coef + 4 * ldcoef;
    inflation_bases(intcep, ncoef, r, ldr, vif);
    orvls_rcovb(ncoef, r, ldr, Real(1), covb, ldcovb);
    if (is_fatal(orvls_n1rty(0)))
        return;
    const Real s2 = aov[kErrorMs];
    for (int64_t j = 0; j < ncoef; ++j) {
        if (!std::isnan(vif[j]) && !std::isinf(vif[j]))
            vif[j] *= covb[j + j * ldcovb];
        for (int64_t i = 0; i < ncoef; ++i)
            covb[i + j * ldcovb] = std::isnan(s2) ? s2 : covb[i + j * ldcovb] * s2;
    }
    // The standard errors go in the t column, where the coefficient table
    // would put them anyway.
    Real* se = coef + ldcoef;
    for (int64_t j = 0; j < ncoef; ++j)
        se[j] = std::isnan(s2) ? s2 : std::sqrt(std::max(Real(0), covb[j + j * ldcovb]));
    if (std::isnan(s2)) {
        for (int64_t j = 0; j < ncoef; ++j) {
            coef[j] = b[j];
            coef[j + 2 * ldcoef] = coef[j + 3 * ldcoef] = s2;
        }
    }
    if (!std::isnan(s2)) {
        WorkArray<Real> errors(static_cast<std::size_t>(ncoef));
        if (!errors.ok()) {
            orvls_e1sti(1, ncoef);
            orvls_e1stl(1, "n_independent");
            orvls_ermes(5, 201);
            return;
        }
        std::copy(se, se + ncoef, errors.get());
        orvls_rcoef(ncoef, b, errors.get(), dfe, coef, ldcoef);
    }
    if (!is_fatal(orvls_n1rty(0)))
        print_summary(print, SummaryTables<Real>{intcep, ief, ncoef, negative_diagonal(ncoef, r, ldr), aov, sqss, coef,
                                                 covb, ldsqss, ldcoef, ldcovb});
}

template void orvls_rsqss<float>(int64_t, int64_t, const int64_t*, const float*, const float*, int64_t, float, float,
                                 float*, int64_t);
template void orvls_rsqss<double>(int64_t, int64_t, const int64_t*, const double*, const double*, int64_t, double,
                                  double, double*, int64_t);
template void orvls_rstat<float>(int64_t, int64_t, const int64_t*, const float*, const float*, int64_t, float, float,
                                 const char*, float*, float*, int64_t, float*, int64_t, float*, int64_t);
template void orvls_rstat<double>(int64_t, int64_t, const int64_t*, const double*, const double*, int64_t, double,
                                  double, const char*, double*, double*, int64_t, double*, int64_t, double*, int64_t);

namespace {

template <class Real>
using Info = std::conditional_t<std::is_same_v<Real, float>, orvls_f_regression_info, orvls_d_regression_info>;

// The summary option accepts its own code for the covariance row length
// besides the one the fit uses.
constexpr int kSummaryCovColDim = 11060;

template <class Real>
struct SummarySettings {
    Output<Real> anova, covariances, t_tests, vif, sqss;
    int64_t coef_cov_col_dim = -1, t_tests_col_dim = 4, dependent_index = 0;
};

template <class Real>
void read_summary_options(OptionReader& options, SummarySettings<Real>& s)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_ANOVA_TABLE: read_output(options, s.anova, true, "anova_table", "ORVLS_ANOVA_TABLE"); break;
        case ORVLS_ANOVA_TABLE_USER:
            read_output(options, s.anova, false, "anova_table", "ORVLS_ANOVA_TABLE");
            break;
        case ORVLS_COEF_COVARIANCES:
            read_output(options, s.covariances, true, "coef_covariances", "ORVLS_COEF_COVARIANCES");
            break;
        case ORVLS_COEF_COVARIANCES_USER:
            read_output(options, s.covariances, false, "coef_covariances", "ORVLS_COEF_COVARIANCES");
            break;
        case ORVLS_COEF_T_TESTS: read_output(options, s.t_tests, true, "coef_t_tests", "ORVLS_COEF_T_TESTS"); break;
        case ORVLS_COEF_T_TESTS_USER:
            read_output(options, s.t_tests, false, "coef_t_tests", "ORVLS_COEF_T_TESTS");
            break;
        case ORVLS_COEF_VIF: read_output(options, s.vif, true, "coef_vif", "ORVLS_COEF_VIF"); break;
        case ORVLS_COEF_VIF_USER: read_output(options, s.vif, false, "coef_vif", "ORVLS_COEF_VIF"); break;
        case ORVLS_COEF_COV_COL_DIM:
        case kSummaryCovColDim: s.coef_cov_col_dim = options.integer(); break;
        case ORVLS_T_TESTS_COL_DIM: s.t_tests_col_dim = options.integer(); break;
        case ORVLS_DEPENDENT_INDEX: s.dependent_index = options.integer(); break;
        case ORVLS_SQSS: read_output(options, s.sqss, true, "sqss", "ORVLS_SQSS"); break;
        case ORVLS_SQSS_USER: read_output(options, s.sqss, false, "sqss", "ORVLS_SQSS"); break;
        default: options.unknown(code); break;
        }
    }
}

// The record's own fields, then the choice of dependent variable and the
// row lengths; true when all pass.
template <class Real>
bool check_summary(const Info<Real>& info, SummarySettings<Real>& s)
{
    int64_t checks = 0;
    orvls_check_range(info.n_parameters, "regression_info->n_parameters", 1, 0, &checks);
    orvls_check_range(info.intercept, "regression_info->intercept", 0, 1, &checks);
    orvls_check_range(info.n_parameters - info.intercept, "abs(n_independent)", 0, -1, &checks);
    if (orvls_n1rty(0) > 0)
        return false;
    if (s.dependent_index < 0 || s.dependent_index >= info.n_dependent) {
        orvls_e1sti(1, s.dependent_index);
        orvls_e1sti(2, info.n_dependent);
        orvls_ermes(5, 20693);
        return false;
    }
    const int64_t k = s.dependent_index;
    orvls_check_not_negative(info.df_error, "regression_info->df_error", &checks);
    orvls_check_not_negative(info.sscp_error[k + k * info.n_dependent], "regression_info->sscp_error[0]", &checks);
    if (s.coef_cov_col_dim < 0)
        s.coef_cov_col_dim = info.n_parameters;
    if (s.covariances.wanted())
        orvls_check_col_dim(s.coef_cov_col_dim, "coef_cov_col_dim", info.n_parameters, "n_parameters");
    if (s.t_tests.wanted())
        orvls_check_col_dim(s.t_tests_col_dim, "t_tests_col_dim", 4, "the columns of the coefficient table");
    return orvls_n1rty(0) == 0;
}

// Work space of the summary: the sequential table, the five-column
// coefficient table and the covariances, column-major.
template <class Real>
struct SummaryWork {
    WorkArray<Real> sqss, coef, covb;
    bool allocate(int64_t m, int64_t p)
    {
        return sqss.reset(static_cast<std::size_t>(4 * m)) && coef.reset(static_cast<std::size_t>(5 * p)) &&
               covb.reset(static_cast<std::size_t>(p * p));
    }
};

template <class Real>
bool allocate_summary(SummarySettings<Real>& s, SummaryWork<Real>& work, int64_t m, int64_t p)
{
    const bool ok = work.allocate(m, p) && s.anova.allocate_for(kAnovaValues) &&
                    s.covariances.allocate_for(p * s.coef_cov_col_dim) &&
                    s.t_tests.allocate_for(p * s.t_tests_col_dim) && s.vif.allocate_for(p) &&
                    s.sqss.allocate_for(4 * m);
    if (!ok) {
        orvls_e1sti(1, m);
        orvls_e1stl(1, "n_independent");
        orvls_ermes(5, 201);
    }
    return ok;
}

template <class Real>
void deliver_summary(SummarySettings<Real>& s, const SummaryWork<Real>& work, const Real* aov, int64_t m, int64_t p)
{
    if (s.anova.wanted())
        std::copy(aov, aov + kAnovaValues, s.anova.data());
    for (int64_t i = 0; i < p; ++i) {
        if (s.t_tests.wanted())
            for (int64_t c = 0; c < 4; ++c)
                s.t_tests.data()[i * s.t_tests_col_dim + c] = work.coef.get()[i + c * p];
        if (s.vif.wanted())
            s.vif.data()[i] = work.coef.get()[i + 4 * p];
        if (s.covariances.wanted())
            for (int64_t j = 0; j < p; ++j)
                s.covariances.data()[i * s.coef_cov_col_dim + j] = work.covb.get()[i + j * p];
    }
    if (s.sqss.wanted())
        for (int64_t e = 0; e < m; ++e)
            for (int64_t c = 0; c < 4; ++c)
                s.sqss.data()[e * 4 + c] = work.sqss.get()[e + c * m];
    for (Output<Real>* output : {&s.anova, &s.covariances, &s.t_tests, &s.vif, &s.sqss})
        output->hand_over();
}

template <class Real>
void regression_summary(const Info<Real>* info, OptionReader& options)
{
    SummarySettings<Real> s;
    read_summary_options(options, s);
    if (orvls_n1rty(0) > 0)
        return;
    if (info == nullptr) {
        orvls_e1stl(1, "regression_info");
        orvls_e1stl(2, "regression_summary");
        orvls_ermes(5, 104);
        return;
    }
    if (!check_summary<Real>(*info, s))
        return;
    const int64_t p = info->n_parameters, m = p - info->intercept, k = s.dependent_index;
    SummaryWork<Real> work;
    if (!allocate_summary(s, work, m, p))
        return;
    Real aov[kAnovaValues];
    orvls_rstat(info->intercept, -m, static_cast<const int64_t*>(nullptr), info->coefficients + k * p, info->R, p,
                info->df_error, info->sscp_error[k + k * info->n_dependent], "None", aov, work.sqss.get(), m,
                work.coef.get(), p, work.covb.get(), p);
    if (!is_fatal(orvls_n1rty(0)))
        deliver_summary(s, work, aov, m, p);
}

template <class Real>
void summary_entry(const char* name, const Info<Real>* info, va_list ap)
{
    OptionReader options(ap, 1);
    envelope(name, [&] { regression_summary<Real>(info, options); });
}

}  // namespace

}  // namespace orvls::regression

extern "C" {

ORVLS_API void orvls_f_regression_summary(const orvls_f_regression_info* regression_info, ...)
{
    va_list ap;
    va_start(ap, regression_info);
    orvls::regression::summary_entry<float>("orvls_f_regression_summary", regression_info, ap);
    va_end(ap);
}

ORVLS_API void orvls_d_regression_summary(const orvls_d_regression_info* regression_info, ...)
{
    va_list ap;
    va_start(ap, regression_info);
    orvls::regression::summary_entry<double>("orvls_d_regression_summary", regression_info, ap);
    va_end(ap);
}

}  // extern "C"
