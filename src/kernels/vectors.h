// The common shape of the vector kernels: a length, a first element and a
// stride.  n below 1 does nothing; unit strides take a plain loop that the
// compiler vectorises; other strides take a general loop, and a negative
// stride starts at the far end of the vector, (1 - n) * stride elements on.
#pragma once

#include <cstdint>

#include "orvls.h"

namespace orvls::kernels {

// One vector argument as the caller gave it.
template <class T>
struct Vector {
    T* first;
    int64_t stride;
};

template <class T>
inline Vector<T> vector(T* x, int64_t stride)
{
    return {x, stride};
}

// The element the loop visits first.
template <class T>
inline T* loop_start(int64_t n, T* x, int64_t stride)
{
    return stride < 0 ? x + (1 - n) * stride : x;
}

template <class... T>
inline bool unit_strides(Vector<T>... v)
{
    return ((v.stride == 1) && ...);
}

// body(x[i], y[i], ...) for i = 0 .. n-1, elements by reference.
template <class Body, class... T>
inline void for_each_element(int64_t n, Body body, Vector<T>... v)
{
    if (n < 1)
        return;
    if (unit_strides(v...)) {
        for (int64_t i = 0; i < n; ++i)
            body(v.first[i]...);
        return;
    }
    auto walk = [&](auto... p) {
        for (int64_t i = 0; i < n; ++i)
            body(p.first[i * p.stride]...);
    };
    walk(Vector<T>{loop_start(n, v.first, v.stride), v.stride}...);
}

// Element i of a vector in loop order, for kernels that walk parts of it.
template <class T>
struct InOrder {
    T* first;
    int64_t stride;
    T& operator[](int64_t i) const { return first[i * stride]; }
};

// Only for n of 1 or more.
template <class T>
inline InOrder<T> in_order(int64_t n, T* x, int64_t stride)
{
    return {loop_start(n, x, stride), stride};
}

// A column-major matrix.
template <class T>
struct Matrix {
    T* first;
    int64_t leading_dimension;
    T& operator()(int64_t i, int64_t j) const { return first[i + j * leading_dimension]; }
    T* column(int64_t j) const { return first + j * leading_dimension; }
};

// The sum of term(x[i], y[i], ...).  The unit-stride path keeps Lanes partial
// sums, so that the additions do not wait on each other and vectorise.
template <int Lanes, class Sum, class Term, class... T>
inline Sum sum_of(int64_t n, Term term, Vector<T>... v)
{
    Sum total = Sum(0);
    if (n < 1)
        return total;
    if (unit_strides(v...)) {
        Sum partial[Lanes] = {};
        int64_t i = 0;
        for (; i + Lanes <= n; i += Lanes)
            for (int lane = 0; lane < Lanes; ++lane)
                partial[lane] += term(v.first[i + lane]...);
        for (int lane = 0; lane < Lanes; ++lane)
            total += partial[lane];
        for (; i < n; ++i)
            total += term(v.first[i]...);
        return total;
    }
    auto walk = [&](auto... p) {
        for (int64_t i = 0; i < n; ++i)
            total += term(p.first[i * p.stride]...);
    };
    walk(Vector<T>{loop_start(n, v.first, v.stride), v.stride}...);
    return total;
}

// y := beta y; a beta of 0 clears y, NaN included, as the published
// operations do.
template <class Real>
void scale_by_beta(int64_t n, Real beta, Real* y, int64_t incy)
{
    if (beta == 1)
        return;
    if (beta == 0)
        for_each_element(n, [](Real& yi) { yi = 0; }, vector(y, incy));
    else
        for_each_element(n, [beta](Real& yi) { yi *= beta; }, vector(y, incy));
}

// Complex elements: the public types, with the few operations the kernels use.
template <class Real>
struct ComplexOf;
template <>
struct ComplexOf<float> {
    using type = orvls_f_complex;
};
template <>
struct ComplexOf<double> {
    using type = orvls_d_complex;
};
template <class Real>
using Complex = typename ComplexOf<Real>::type;

inline orvls_f_complex times(orvls_f_complex a, orvls_f_complex b)
{
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
inline orvls_d_complex times(orvls_d_complex a, orvls_d_complex b)
{
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
inline orvls_f_complex times(float a, orvls_f_complex b) { return {a * b.re, a * b.im}; }
inline orvls_d_complex times(double a, orvls_d_complex b) { return {a * b.re, a * b.im}; }
template <class Real>
inline Real times(Real a, Real b)
{
    return a * b;
}

}  // namespace orvls::kernels
