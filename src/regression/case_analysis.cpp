#include "regression/case_analysis.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "frame/checks.h"
#include "frame/machine.h"
#include "frame/print_format.h"
#include "frame/print_sink.h"
#include "frame/report_printer.h"
#include "frame/tsd.h"
#include "kernels/girts.h"
#include "orvls.h"
#include "regression/inference.h"
#include "regression/outputs.h"
#include "regression/report_text.h"

namespace orvls::regression {

namespace {

inline float t_inverse(float p, float df) { return orvls_f_t_inverse(p, df); }
inline double t_inverse(double p, double df) { return orvls_d_t_inverse(p, df); }

// The t quantiles of the last limits formed on this thread, with the
// degrees of freedom and the confidences they were formed for, so that a
// caller that analyses one row per call pays for them once.  A zeroed
// record (degrees of freedom 0) matches no request that needs a quantile.
template <class Real>
struct QuantileCache {
    Real dfe, confidence_mean, confidence_new, t_mean, t_new;
};

template <class Real>
using QuantileRecord = ThreadRecord<QuantileCache<Real>>;

// The t quantile at (confidence + 100) / 200: 0 at confidence 0, where the
// limits close on the prediction.
template <class Real>
Real limit_quantile(Real confidence, Real dfe)
{
    return confidence == 0 ? Real(0) : t_inverse((confidence + 100) / 200, dfe);
}

// The thread's quantiles, formed afresh for the first rows of a series
// when an input changed; null (200 raised) when the record cannot be had.
template <class Real>
const QuantileCache<Real>* limit_quantiles(int64_t ido, Real dfe, Real conpcm, Real conpcp)
{
    QuantileCache<Real>* cache = QuantileRecord<Real>::get();
    if (cache == nullptr) {
        orvls_ermes(5, 200);
        return nullptr;
    }
    if (ido < 2 && dfe > 0 && (cache->dfe != dfe || cache->confidence_mean != conpcm || cache->confidence_new != conpcp))
        *cache = {dfe, conpcm, conpcp, limit_quantile(conpcm, dfe), limit_quantile(conpcp, dfe)};
    return cache;
}

// The regressors of one row into z (the intercept's 1.0 first): its first
// -iind columns, or orvls_grglm's; false after an error of orvls_grglm.
template <class Real>
bool row_regressors(const Real* row, int64_t ncol, int64_t intcep, int64_t iind, const GlmModel<Real>* glm,
                    int64_t ncoef, Real* z)
{
    if (intcep)
        z[0] = 1;
    if (iind < 0) {
        std::copy(row, row + (ncoef - intcep), z + intcep);
        return true;
    }
    int64_t nreg = 0, missing = 0;
    orvls_grglm(int64_t(1), ncol, row, int64_t(1), glm->nclvar, glm->indcl, glm->nclval, glm->clval, glm->nef,
                glm->nvef, glm->indef, glm->method == 0 ? int64_t(1) : glm->method, &nreg, z + intcep, int64_t(1),
                &missing);
    return !is_fatal(orvls_n1rty(0));
}

// The model of orvls_grglm must yield one regressor per coefficient after
// the intercept (602 otherwise); a model taken straight from x needs no
// check.
template <class Real>
bool regressors_fit(int64_t ncol, int64_t intcep, int64_t iind, const GlmModel<Real>* glm, int64_t ncoef)
{
    if (iind < 0)
        return true;
    int64_t nreg = 0, missing = 0, checks = 0;
    orvls_grglm(int64_t(0), ncol, static_cast<const Real*>(nullptr), int64_t(1), glm->nclvar, glm->indcl, glm->nclval,
                glm->clval, glm->nef, glm->nvef, glm->indef, glm->method == 0 ? int64_t(-1) : -glm->method, &nreg,
                static_cast<Real*>(nullptr), int64_t(1), &missing);
    if (is_fatal(orvls_n1rty(0)))
        return false;
    return orvls_check_range(nreg, "n_regressors", ncoef - intcep, ncoef - intcep, &checks);
}

// ---------------------------------------------------------------- the printed case table

constexpr int64_t kCaseLabelWidth = 10;
constexpr int64_t kCaseColumnWidth = 12;  // two blanks and ten characters
constexpr int64_t kCaseLine = 256;

// Columns of the printed table: the selector's character, the place and
// the label (a format for the confidence of the limits).
struct CaseColumn {
    char section;
    int64_t place;
    const char* label;
};
constexpr CaseColumn kCaseColumns[] = {
    {'1', kObserved, "\nObserved"},
    {'2', kPredicted, "\nPredicted"},
    {'3', kResidual, "\nResidual"},
    {'4', kLeverage, "\nLeverage"},
    {'5', kStandardized, "Standard\nResidual"},
    {'6', kDeleted, "Deleted\nResidual"},
    {'7', kCooksD, "Cook's\nDistance"},
    {'8', kDffits, "\nDFFITS"},
    {'M', kMeanLower, "Lower %4.1f\nMean"},
    {'M', kMeanUpper, "Upper %4.1f\nMean"},
    {'P', kNewLower, "Lower %4.1f\nNew Obs."},
    {'P', kNewUpper, "Upper %4.1f\nNew Obs."},
};
constexpr int64_t kCaseColumnCount = sizeof kCaseColumns / sizeof kCaseColumns[0];

// Writes a line with its trailing blanks dropped.
void print_trimmed(ReportPrinter& out, const char* line)
{
    int64_t length = static_cast<int64_t>(std::strlen(line));
    while (length > 0 && line[length - 1] == ' ')
        --length;
    out.print("%.*s\n", static_cast<int>(length), line);
}

// The two header lines: each label's text before and after its newline.
void print_case_header(ReportPrinter& out, const bool (&shown)[kCaseColumnCount], double conpcm, double conpcp)
{
    for (int line = 0; line < 2; ++line) {
        char text[kCaseLine];
        int64_t used = std::snprintf(text, sizeof text, "%*s", static_cast<int>(kCaseLabelWidth), "");
        for (int64_t c = 0; c < kCaseColumnCount; ++c) {
            if (!shown[c])
                continue;
            char label[64];
            std::snprintf(label, sizeof label, kCaseColumns[c].label, kCaseColumns[c].section == 'M' ? conpcm : conpcp);
            char* newline = std::strchr(label, '\n');
            *newline = '\0';
            used += std::snprintf(text + used, sizeof text - static_cast<std::size_t>(used), "%*s",
                                  static_cast<int>(kCaseColumnWidth), line == 0 ? label : newline + 1);
        }
        print_trimmed(out, text);
    }
}

// The label of a row: the observation number through "%d10", its first
// character replaced by "X" for a leverage above the mark and by "Y" for a
// deleted residual above 2 in magnitude.
template <class Real>
void case_label(int64_t observation, const Real* row, Real mark, char (&label)[32])
{
    std::snprintf(label, sizeof label, "%d10", static_cast<int>(observation));
    if (row[kLeverage] > mark)
        label[0] = 'X';
    if (std::fabs(row[kDeleted]) > 2)
        label[0] = 'Y';
}

template <class Real>
void print_case_rows(ReportPrinter& out, const bool (&shown)[kCaseColumnCount], int64_t iobs, int64_t nrow,
                     const Real* case_table, int64_t ldcase, Real mark)
{
    // A value of magnitude below 10000, or NaN, in fixed notation; others
    // with an exponent.
    Conversion fixed, exponent;
    read_conversions("%9.4f", &fixed);
    read_conversions("%9.2E", &exponent);
    const WriteSettings* settings = write_settings();
    const bool nan_character = settings != nullptr && settings->nan_character != 0;
    for (int64_t i = 0; i < nrow; ++i) {
        const Real* row = case_table + i * ldcase;
        char label[32], text[kCaseLine];
        case_label(iobs + i, row, mark, label);
        int64_t used = std::snprintf(text, sizeof text, "%-*s", static_cast<int>(kCaseLabelWidth), label);
        for (int64_t c = 0; c < kCaseColumnCount; ++c) {
            if (!shown[c])
                continue;
            const Real value = row[kCaseColumns[c].place];
            char cell[kCellSize];
            const bool small = std::isnan(value) || std::fabs(value) < 10000;
            const int64_t length = format_cell(small ? fixed : exponent, double(value), nan_character, cell);
            used += std::snprintf(text + used, sizeof text - static_cast<std::size_t>(used), "%*.*s",
                                  static_cast<int>(kCaseColumnWidth), static_cast<int>(length), cell);
        }
        print_trimmed(out, text);
    }
}

// The leverage above which a row is marked: 2 p / (dfe + p), p the
// number of non-zero diagonals; 0 when the denominator is.
template <class Real>
Real leverage_mark(const CaseFit<Real>& fit)
{
    int64_t rank = 0;
    for (int64_t j = 0; j < fit.ncoef; ++j)
        rank += fit.r[j + j * fit.ldr] != 0;
    return fit.dfe + Real(rank) == 0 ? Real(0) : 2 * Real(rank) / (fit.dfe + Real(rank));
}

// The case table of this call, with the title and the header for the first
// rows of a series.
template <class Real>
void print_cases(const char* print, int64_t ido, int64_t iobs, int64_t nrow, const Real* case_table, int64_t ldcase,
                 const CaseFit<Real>& fit, Real conpcm, Real conpcp)
{
    if (print_selects_none(print))
        return;
    bool shown[kCaseColumnCount];
    bool any = false;
    for (int64_t c = 0; c < kCaseColumnCount; ++c)
        any = (shown[c] = print_selects(print, kCaseColumns[c].section)) || any;
    if (!any)
        return;
    ReportPrinter out;
    if (ido < 2) {
        out.print("\n* * * Case Analysis * * *\n");
        print_case_header(out, shown, double(conpcm), double(conpcp));
    }
    print_case_rows(out, shown, iobs, nrow, case_table, ldcase, leverage_mark(fit));
}

}  // namespace

// ---------------------------------------------------------------- the statistics

template <class Real>
void orvls_r2tin(const CaseFit<Real>& fit, const Real* z, Real e, Real w, Real* a, Real* row, int64_t* nrmiss)
{
    const int64_t p = fit.ncoef;
    bool missing = std::isnan(w);
    for (int64_t j = 0; j < p; ++j)
        missing = missing || std::isnan(z[j]);
    if (missing) {
        ++*nrmiss;
        return;
    }
    const Real eps = machine_table<Real>(4);
    int64_t rank = 0;
    if (kernels::orvls_girts(p, fit.r, fit.ldr, int64_t(1), z, p, int64_t(kernels::kSolveTransposed), std::sqrt(eps),
                             &rank, a, p) != 0) {
        orvls_ermes(3, 20050);
        return;
    }
    Real h = 0;
    for (int64_t j = 0; j < p; ++j)
        h += a[j] * a[j];
    h *= w;
    if (!std::isnan(e) && h > 1 - 10 * eps) {
        if (h > 1 + 1000 * eps) {
            orvls_e1std(1, double(h));
            orvls_ermes(3, 20051);
        }
        h = 1;
    }
    row[kLeverage] = h;
    if (std::isnan(e) || fit.dfe == 0 || w == 0 || h == 1) {
        ++*nrmiss;
        return;
    }
    const Real u = (1 - h) / w;
    const Real s2 = fit.sse / fit.dfe;
    if (s2 == 0 || u == 0)
        return;
    row[kStandardized] = ratio(e, std::sqrt(s2 * u));
    row[kCooksD] = rank == 0 ? missing_value<Real>() : (e * e * w * h / Real(rank)) / ((1 - h) * (1 - h) * s2);
    if (fit.dfe == 1) {
        ++*nrmiss;
        return;
    }
    const Real v = e * e / u;
    Real s2d = (fit.sse - v) / (fit.dfe - 1);
    const Real g = (v + fit.sse) / (fit.dfe - 1);
    if (s2d < 10 * eps * g) {
        if (s2d < -1000 * eps * g) {
            orvls_e1std(1, double(s2d));
            orvls_ermes(3, 20052);
        }
        s2d = 0;
    }
    row[kDeleted] = ratio(e, std::sqrt(s2d * u));
    row[kDffits] = ratio(std::sqrt(h * w) * e, std::sqrt(s2d) * (1 - h));
}

template <class Real>
void orvls_r2ase(int64_t ido, int64_t nrow, int64_t ncol, const Real* x, int64_t ldx, int64_t intcep, int64_t iind,
                 const GlmModel<Real>* glm, int64_t irsp, int64_t iwt, int64_t ipred, Real conpcm, Real conpcp,
                 const char* print, int64_t iobs, const CaseFit<Real>& fit, Real* case_table, int64_t ldcase,
                 int64_t* nrmiss, Real* wk)
{
    const int64_t p = fit.ncoef;
    const Real s2 = fit.dfe > 0 ? fit.sse / fit.dfe : missing_value<Real>();
    const QuantileCache<Real>* quantiles = limit_quantiles(ido, fit.dfe, conpcm, conpcp);
    if (quantiles == nullptr || !regressors_fit(ncol, intcep, iind, glm, p))
        return;
    Real *z = wk, *a = wk + p;
    for (int64_t i = 0; i < nrow; ++i) {
        const Real* data = x + i * ldx;
        Real* row = case_table + i * ldcase;
        std::fill(row, row + kCaseValues, missing_value<Real>());
        const Real w = iwt >= 0 ? data[iwt] : Real(1);
        if (w < 0) {
            orvls_e1sti(1, iobs + i);
            orvls_e1std(1, double(w));
            orvls_ermes(5, 11057);
            return;
        }
        if (!row_regressors(data, ncol, intcep, iind, glm, p, z))
            return;
        Real fitted = 0;
        for (int64_t j = 0; j < p; ++j)
            fitted += z[j] * fit.b[j];
        row[kObserved] = irsp >= 0 ? data[irsp] : missing_value<Real>();
        row[kPredicted] = fitted;
        row[kResidual] = row[kObserved] - fitted;
        orvls_r2tin(fit, z, row[kResidual], w, a, row, nrmiss);
        if (!std::isnan(w) && w != 0 && !std::isnan(fitted) && !std::isnan(s2)) {
            const Real m = s2 * row[kLeverage] / w;
            row[kMeanLower] = fitted - quantiles->t_mean * std::sqrt(m);
            row[kMeanUpper] = fitted + quantiles->t_mean * std::sqrt(m);
            const Real pw = ipred >= 0 ? data[ipred] : Real(1);
            if (std::isnan(pw)) {
                ++*nrmiss;
            } else if (!(pw > 0)) {
                orvls_e1sti(1, iobs + i);
                orvls_e1std(1, double(pw));
                orvls_ermes(4, 20054);
                return;
            } else {
                const Real half = quantiles->t_new * std::sqrt(s2 / (pw * w) + m);
                row[kNewLower] = fitted - half;
                row[kNewUpper] = fitted + half;
            }
        }
        if (std::isnan(w))
            ++*nrmiss;
    }
    print_cases(print, ido, iobs, nrow, case_table, ldcase, fit, conpcm, conpcp);
}

template void orvls_r2tin<float>(const CaseFit<float>&, const float*, float, float, float*, float*, int64_t*);
template void orvls_r2tin<double>(const CaseFit<double>&, const double*, double, double, double*, double*, int64_t*);
template void orvls_r2ase<float>(int64_t, int64_t, int64_t, const float*, int64_t, int64_t, int64_t,
                                 const GlmModel<float>*, int64_t, int64_t, int64_t, float, float, const char*, int64_t,
                                 const CaseFit<float>&, float*, int64_t, int64_t*, float*);
template void orvls_r2ase<double>(int64_t, int64_t, int64_t, const double*, int64_t, int64_t, int64_t,
                                  const GlmModel<double>*, int64_t, int64_t, int64_t, double, double, const char*,
                                  int64_t, const CaseFit<double>&, double*, int64_t, int64_t*, double*);

}  // namespace orvls::regression
