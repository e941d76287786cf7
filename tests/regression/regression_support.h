// Shared pieces of the regression tests: the public routine in either
// precision, and the reference fits written by tools/gen_regression_refs.py.
#pragma once

#include <cmath>
#include <cstdint>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "capture.h"
#include "orvls.h"

template <class Real>
using RegressionInfo = std::conditional_t<sizeof(Real) == sizeof(float), orvls_f_regression_info,
                                          orvls_d_regression_info>;

template <class Real, class... Options>
Real* regression(int64_t n_rows, int64_t n_independent, Real* x, Real* y, Options... options)
{
    if constexpr (sizeof(Real) == sizeof(float))
        return orvls_f_regression(n_rows, n_independent, x, y, options...);
    else
        return orvls_d_regression(n_rows, n_independent, x, y, options...);
}

// One reference fit: every keyed line of its block, as numbers.
struct Fit {
    std::string name;
    std::map<std::string, std::vector<double>> values;
    int64_t n() const { return int64_t(values.at("shape")[0]); }
    int64_t p() const { return int64_t(values.at("shape")[1]); }
    int64_t q() const { return int64_t(values.at("shape")[2]); }
    bool intercept() const { return values.at("shape")[3] != 0; }
    bool has(const std::string& key) const { return values.count(key) != 0; }
    template <class Real>
    std::vector<Real> as(const std::string& key) const
    {
        const std::vector<double>& v = values.at(key);
        return std::vector<Real>(v.begin(), v.end());
    }
};

// The fits of one file under tests/regression/data/.
inline std::vector<Fit> read_fits(const std::string& file = "fits.txt")
{
    std::ifstream in(std::string(ORVLS_SOURCE_DIR) + "/tests/regression/data/" + file);
    std::vector<Fit> fits;
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string key;
        words >> key;
        if (key.empty() || key[0] == '#' || key == "end")
            continue;
        if (key == "name") {
            fits.emplace_back();
            words >> fits.back().name;
            continue;
        }
        std::vector<double>& v = fits.back().values[key];
        std::string word;
        while (words >> word)
            v.push_back(std::strtod(word.c_str(), nullptr));
    }
    EXPECT_FALSE(fits.empty()) << "no reference fits read";
    return fits;
}

// The largest difference between two arrays relative to the largest
// reference magnitude (NaN must meet NaN).
template <class Real>
double relative_difference(const Real* ours, const std::vector<double>& reference, size_t count)
{
    double scale = 0, worst = 0;
    for (size_t i = 0; i < count; ++i)
        if (std::isfinite(reference[i]))
            scale = std::max(scale, std::fabs(reference[i]));
    for (size_t i = 0; i < count; ++i) {
        if (std::isnan(reference[i]) != std::isnan(double(ours[i])))
            return INFINITY;
        if (std::isfinite(reference[i]))
            worst = std::max(worst, std::fabs(double(ours[i]) - reference[i]) / (scale > 0 ? scale : 1));
    }
    return worst;
}
