// Square lattices: k^2 treatments in incomplete blocks of k plots, every
// treatment once in each replicate, possibly at several locations; the
// intra-block analysis.  Blocks absorb locations and replicates, and the
// treatment effects within blocks solve the reduced normal equations
// C tau = Q, with C = n I - (1/k) sum over blocks of N_b N_b' (n the
// replications of a treatment, N_b the incidence of block b) and Q the
// treatment totals of the responses less their block means.  The last
// treatment's effect is held at 0, which leaves C positive definite exactly
// when the blocks link all treatments.
#include <cstdarg>

#include "anova/crossed.h"
#include "anova/design.h"
#include "anova/missing.h"
#include "frame/envelope.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "kernels/symmetric.h"
#include "orvls.h"

namespace orvls::anova {

namespace {

// Subscripts of the plots: location, replicate, block, plot.
constexpr Mask kLocation = 1, kReplicate = 2, kBlock = 4;
constexpr Mask kBlocks = kLocation | kReplicate | kBlock;

struct Lattice {
    int64_t n_replicates = 0, n_locations = 0, k = 0;
    int64_t treatments() const { return k * k; }
    int64_t plots() const { return n_locations * n_replicates * k * k; }
    int64_t blocks() const { return n_locations * n_replicates * k; }
};

void refuse_input(int64_t plot)
{
    orvls_e1sti(1, plot);
    orvls_ermes(5, 65205);
}

// Every treatment number in range and once in each replicate (a replicate
// is a run of k^2 plots, so a repeat also means one left out).
bool check_replicates(const Lattice& d, const int64_t* treatment)
{
    const int64_t t = d.treatments();
    WorkArray<unsigned char> seen(d.plots());
    if (!seen.ok()) {
        refuse_allocation("block_size", d.k);
        return false;
    }
    for (int64_t i = 0; i < d.plots(); ++i)
        seen[i] = 0;
    for (int64_t i = 0; i < d.plots(); ++i) {
        const int64_t j = treatment[i] - 1;
        if (j < 0 || j >= t || seen[i - i % t + j]++) {
            refuse_input(i + 1);
            return false;
        }
    }
    return true;
}

// Forms C less its last row and column and factors it; blocks that leave
// treatments unlinked make it singular (65205).
template <class Real>
bool factor_information(const Lattice& d, const int64_t* treatment, Real* c, Real* factor)
{
    const int64_t m = d.treatments() - 1;
    for (int64_t i = 0; i < m * m; ++i)
        c[i] = 0;
    for (int64_t j = 0; j < m; ++j)
        c[j + j * m] = Real(d.n_locations * d.n_replicates);
    for (int64_t b = 0; b < d.blocks(); ++b)
        for (int64_t p = b * d.k; p < (b + 1) * d.k; ++p)
            for (int64_t q = b * d.k; q < (b + 1) * d.k; ++q)
                if (treatment[p] - 1 < m && treatment[q] - 1 < m)
                    c[(treatment[p] - 1) + (treatment[q] - 1) * m] -= Real(1) / Real(d.k);
    int64_t rank = 0;
    kernels::orvls_chfac(m, c, m, Real(100) * std::numeric_limits<Real>::epsilon(), &rank, factor, m);
    if (rank < m) {
        refuse_input(0);
        return false;
    }
    return true;
}

// The intra-block fit of one complete set of responses.
template <class Real>
struct IntraBlock {
    const Lattice& d;
    const int64_t* treatment;
    const Real* factor;  // of C
    Real* q;             // adjusted treatment totals
    Real* tau;           // treatment effects within blocks, the last 0
    CrossedLayout<Real> layout;

    Real block_mean(int64_t i) const { return layout.mean(kBlocks, layout.cell_of(kBlocks, i)); }

    bool analyse(const Real* v)
    {
        const int64_t levels[4] = {d.n_locations, d.n_replicates, d.k, d.k};
        if (!layout.analyse(4, levels, v))
            return false;
        const int64_t t = d.treatments();
        for (int64_t j = 0; j < t; ++j)
            q[j] = 0;
        for (int64_t i = 0; i < d.plots(); ++i)
            q[treatment[i] - 1] += v[i] - block_mean(i);
        for (int64_t j = 0; j < t; ++j)
            tau[j] = q[j];
        solve_with_factor(t - 1, factor, tau);
        tau[t - 1] = 0;
        return true;
    }
    Real residual(const Real* v, int64_t i) const
    {
        const int64_t first = i - i % d.k;
        Real block_effect = 0;
        for (int64_t p = first; p < first + d.k; ++p)
            block_effect += tau[treatment[p] - 1];
        return v[i] - block_mean(i) - (tau[treatment[i] - 1] - block_effect / Real(d.k));
    }
    // Sums of squares of treatments ignoring blocks (sums: t values of
    // work space), and eliminating them.
    Real unadjusted_treatments(const Real* v, Real* sums) const
    {
        const int64_t t = d.treatments();
        for (int64_t j = 0; j < t; ++j)
            sums[j] = 0;
        for (int64_t i = 0; i < d.plots(); ++i)
            sums[treatment[i] - 1] += v[i] - layout.grand_mean();
        const Real n = Real(d.n_locations * d.n_replicates);
        Real ss = 0;
        for (int64_t j = 0; j < t; ++j)
            ss += sums[j] * sums[j] / n;
        return ss;
    }
    Real adjusted_treatments() const
    {
        Real ss = 0;
        for (int64_t j = 0; j < d.treatments(); ++j)
            ss += tau[j] * q[j];
        return ss;
    }
};

template <class Real>
void form_sources(const IntraBlock<Real>& fit, const Real* data, Real unadjusted, int64_t n_missing,
                  Source<Real>* sources)
{
    const Lattice& d = fit.d;
    const CrossedLayout<Real>& a = fit.layout;
    const bool several = d.n_locations > 1;
    const int64_t replicates = several ? 1 : 0;
    const int64_t error = replicates + 4;
    Real error_ss = 0;
    for (int64_t i = 0; i < d.plots(); ++i) {
        const Real e = fit.residual(data, i);
        error_ss += e * e;
    }
    Real df, blocks_ss;
    a.pool([](Mask m) { return (m & kBlock) && !(m & ~kBlocks); }, df, blocks_ss);
    const Real adjusted = fit.adjusted_treatments();
    const Real treatments_df = Real(d.treatments() - 1);
    const Real blocks_df = Real(d.blocks() - d.n_locations * d.n_replicates);

    int64_t row = 0;
    if (several)
        set_source(sources[row++], "Locations .................", a.effect_df(kLocation), a.effect_ss(kLocation),
                   replicates);
    set_source(sources[row++], several ? "Replicates within Locations" : "Replicates ................",
               a.effect_df(kReplicate) + a.effect_df(kLocation | kReplicate),
               a.effect_ss(kReplicate) + a.effect_ss(kLocation | kReplicate), error);
    set_source(sources[row++], "Treatments (unadjusted) ...", treatments_df, unadjusted, kNoTest);
    set_source(sources[row++], "Treatments (adjusted) .....", treatments_df, adjusted, error);
    set_source(sources[row++], "Blocks (adjusted) .........", blocks_df, blocks_ss + adjusted - unadjusted, error);
    set_source(sources[row++], "Intra-Block Error .........",
               Real(d.plots() - d.blocks() - d.treatments() + 1 - n_missing), error_ss, kNoTest);
    set_source(sources[row], "Corrected Total ...........", Real(d.plots() - 1 - n_missing), a.total_ss(), kNoTest);
}

template <class Real>
Real* lattice(int64_t n_replicates, int64_t n_locations, int64_t block_size, const int64_t* treatment, const Real* y,
              OptionReader& options)
{
    DesignOptions<Real> settings;
    read_design_options(options, settings);
    if (orvls_n1rty(0) > 0 || !check_design_counts(n_replicates, n_locations, block_size))
        return nullptr;

    const Lattice d{n_replicates, n_locations, block_size};
    if (!check_replicates(d, treatment))
        return nullptr;
    const int64_t m = d.treatments() - 1;
    const int64_t n_rows = n_locations > 1 ? 7 : 6;
    WorkArray<Real> data(d.plots()), c(m * m), factor(m * m), q(m + 1), tau(m + 1), sums(m + 1);
    WorkArray<Source<Real>> sources(n_rows);
    if (!data.ok() || !c.ok() || !factor.ok() || !q.ok() || !tau.ok() || !sums.ok() || !sources.ok()) {
        refuse_allocation("block_size", block_size);
        return nullptr;
    }
    if (!factor_information(d, treatment, c.get(), factor.get()))
        return nullptr;
    for (int64_t i = 0; i < d.plots(); ++i)
        data[i] = y[i];

    IntraBlock<Real> fit{d, treatment, factor.get(), q.get(), tau.get(), {}};
    auto residuals = [&](const Real* v, const int64_t* where, int64_t n_where, Real* out) {
        if (!fit.analyse(v))
            return false;
        for (int64_t k = 0; k < n_where; ++k)
            out[k] = fit.residual(v, where[k]);
        return true;
    };
    int64_t n_missing = 0;
    const MissingOutcome outcome = estimate_missing_by(d.plots(), data.get(), residuals, &n_missing);
    if (!missing_estimated(outcome, 65205, "block_size", block_size))
        return nullptr;
    if (!fit.analyse(data.get())) {
        refuse_allocation("block_size", block_size);
        return nullptr;
    }
    form_sources(fit, data.get(), fit.unadjusted_treatments(data.get(), sums.get()), n_missing, sources.get());
    return finish_table(sources.get(), n_rows, settings, "block_size", block_size);
}

template <class Real>
Real* lattice_entry(const char* name, int64_t n_replicates, int64_t n_locations, int64_t block_size,
                    const int64_t* treatment, const Real* y, va_list ap)
{
    OptionReader options(ap, 5);
    return envelope<Real*>(name, nullptr,
                           [&] { return lattice(n_replicates, n_locations, block_size, treatment, y, options); });
}

}  // namespace

}  // namespace orvls::anova

extern "C" {

ORVLS_API float* orvls_f_lattice(int64_t n_replicates, int64_t n_locations, int64_t block_size,
                                 const int64_t* treatment, const float* y, ...)
{
    va_list ap;
    va_start(ap, y);
    float* table =
        orvls::anova::lattice_entry("orvls_f_lattice", n_replicates, n_locations, block_size, treatment, y, ap);
    va_end(ap);
    return table;
}

ORVLS_API double* orvls_d_lattice(int64_t n_replicates, int64_t n_locations, int64_t block_size,
                                  const int64_t* treatment, const double* y, ...)
{
    va_list ap;
    va_start(ap, y);
    double* table =
        orvls::anova::lattice_entry("orvls_d_lattice", n_replicates, n_locations, block_size, treatment, y, ap);
    va_end(ap);
    return table;
}

}  // extern "C"
