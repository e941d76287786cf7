#include "anova/design.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>

#include "anova/missing.h"
#include "frame/memory.h"
#include "orvls.h"
#include "regression/inference.h"

namespace orvls::anova {

using regression::ratio;
using regression::upper_f_probability;

template <class Real>
void read_design_options(OptionReader& options, DesignOptions<Real>& settings)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_RETURN_USER:
            settings.user_table = non_null_pointer<Real*>(options, "table", "ORVLS_RETURN_USER");
            break;
        case ORVLS_NESTED_OPTION: settings.nested_option = options.integer(); break;
        case ORVLS_DESIGN_OPTION_A: settings.locations_random = options.integer() != 0; break;
        case ORVLS_DESIGN_OPTION_B:
            settings.labels = non_null_pointer<char***>(options, "labels", "ORVLS_DESIGN_OPTION_B");
            break;
        default: options.unknown(code);
        }
    }
}

bool check_design_counts(int64_t first, int64_t second, int64_t third)
{
    const struct {
        int64_t count, least, code;
    } checks[] = {{first, 2, 65200}, {second, 1, 65201}, {third, 2, 65202}};
    for (const auto& check : checks)
        if (check.count < check.least) {
            orvls_e1sti(1, check.count);
            orvls_ermes(5, check.code);
            return false;
        }
    return true;
}

void refuse_allocation(const char* count_name, int64_t count)
{
    orvls_e1stl(1, count_name);
    orvls_e1sti(1, count);
    orvls_ermes(5, 201);
}

bool missing_estimated(MissingOutcome outcome, int64_t too_many_code, const char* count_name, int64_t count)
{
    if (outcome == MissingOutcome::too_many)
        orvls_ermes(5, too_many_code);
    else if (outcome == MissingOutcome::out_of_memory)
        refuse_allocation(count_name, count);
    return outcome == MissingOutcome::estimated;
}

void set_label(char* label, const char* format, ...)
{
    va_list ap;
    va_start(ap, format);
    std::vsnprintf(label, kLabelLength, format, ap);
    va_end(ap);
}

namespace {


// One block the caller frees at once: the row pointers, ended by a null,
// then the texts they point to.
template <class Real>
char** allocate_labels(const Source<Real>* sources, int64_t n_sources)
{
    std::size_t text = 0;
    for (int64_t i = 0; i < n_sources; ++i)
        text += std::strlen(sources[i].label) + 1;
    const std::size_t pointers = (static_cast<std::size_t>(n_sources) + 1) * sizeof(char*);
    char** labels = static_cast<char**>(orvls_malloc(pointers + text));
    if (labels == nullptr)
        return nullptr;
    char* next = reinterpret_cast<char*>(labels) + pointers;
    for (int64_t i = 0; i < n_sources; ++i) {
        labels[i] = next;
        std::strcpy(next, sources[i].label);
        next += std::strlen(next) + 1;
    }
    labels[n_sources] = nullptr;
    return labels;
}

template <class Real>
void fill_row(const Source<Real>* sources, int64_t i, Real* row)
{
    const Real nan = std::numeric_limits<Real>::quiet_NaN();
    const Source<Real>& source = sources[i];
    row[kSourceDf] = source.df;
    row[kSourceSs] = source.ss;
    row[kSourceMs] = source.df > 0 ? source.ss / source.df : nan;
    row[kSourceF] = row[kSourceP] = nan;
    if (source.tested_by == kNoTest || !(source.df > 0))
        return;
    const Source<Real>& error = sources[source.tested_by];
    if (!(error.df > 0) || !(error.ss > 0))
        return;
    row[kSourceF] = ratio(row[kSourceMs], error.ss / error.df);
    row[kSourceP] = upper_f_probability(row[kSourceF], source.df, error.df);
}

}  // namespace

template <class Real>
Real* finish_table(const Source<Real>* sources, int64_t n_sources, const DesignOptions<Real>& settings,
                   const char* count_name, int64_t count)
{
    WorkArray<Real> own;
    Real* table = settings.user_table;
    if (table == nullptr) {
        if (!own.reset(n_sources * kDesignColumns)) {
            refuse_allocation(count_name, count);
            return nullptr;
        }
        table = own.get();
    }
    if (settings.labels != nullptr) {
        char** labels = allocate_labels(sources, n_sources);
        if (labels == nullptr) {
            refuse_allocation(count_name, count);
            return nullptr;
        }
        *settings.labels = labels;
    }
    for (int64_t i = 0; i < n_sources; ++i)
        fill_row(sources, i, table + i * kDesignColumns);
    own.release();
    return table;
}

template void read_design_options<float>(OptionReader&, DesignOptions<float>&);
template void read_design_options<double>(OptionReader&, DesignOptions<double>&);
template float* finish_table<float>(const Source<float>*, int64_t, const DesignOptions<float>&, const char*, int64_t);
template double* finish_table<double>(const Source<double>*, int64_t, const DesignOptions<double>&, const char*,
                                      int64_t);

}  // namespace orvls::anova
