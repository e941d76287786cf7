// Transposition of a row-major matrix into column-major order of the same
// shape, out of place or in place.  Workers use it to hand the caller's
// row-major data to column-major kernels and back.
#include <algorithm>
#include <cstring>

#include "frame/memory.h"
#include "orvls.h"

namespace orvls {

namespace {

constexpr int64_t kTile = 32;  // tiles keep both source and target rows in cache

// b := transpose of a (rows x columns, row-major), a and b distinct.
template <class T>
void transpose_out_of_place(int64_t rows, int64_t columns, const T* a, T* b)
{
    for (int64_t i0 = 0; i0 < rows; i0 += kTile) {
        const int64_t i1 = std::min(i0 + kTile, rows);
        for (int64_t j0 = 0; j0 < columns; j0 += kTile) {
            const int64_t j1 = std::min(j0 + kTile, columns);
            for (int64_t i = i0; i < i1; ++i)
                for (int64_t j = j0; j < j1; ++j)
                    b[i + j * rows] = a[i * columns + j];
        }
    }
}

// A square matrix transposed by swaps across the diagonal, tile by tile.
template <class T>
void transpose_square_in_place(int64_t n, T* a)
{
    for (int64_t i0 = 0; i0 < n; i0 += kTile) {
        const int64_t i1 = std::min(i0 + kTile, n);
        for (int64_t j0 = i0; j0 < n; j0 += kTile) {
            const int64_t j1 = std::min(j0 + kTile, n);
            for (int64_t i = i0; i < i1; ++i)
                for (int64_t j = std::max(j0, i + 1); j < j1; ++j)
                    std::swap(a[i * n + j], a[j * n + i]);
        }
    }
}

// In place without extra memory: the element at position p moves to
// p * rows mod (rows * columns - 1).  Each cycle is moved once, from its
// smallest position.
template <class T>
void transpose_by_cycles(int64_t rows, int64_t columns, T* a)
{
    const int64_t last = rows * columns - 1;
    auto target = [&](int64_t p) { return static_cast<int64_t>((static_cast<__int128>(p) * rows) % last); };
    for (int64_t start = 1; start < last; ++start) {
        int64_t p = target(start);
        while (p > start)
            p = target(p);
        if (p < start)
            continue;  // this cycle was moved from a smaller position
        T carried = a[start];
        p = start;
        do {
            const int64_t next = target(p);
            std::swap(carried, a[next]);
            p = next;
        } while (p != start);
    }
}

template <class T>
void m1ran(int64_t rows, int64_t columns, T* a, T* b)
{
    orvls_e1psh("M1RAN_F");
    if (rows < 1) {
        orvls_e1sti(1, rows);
        orvls_ermes(5, 620);
    }
    if (columns < 1) {
        orvls_e1sti(1, columns);
        orvls_ermes(5, 621);
    }
    if (orvls_n1rty(0) == 0) {
        const auto count = static_cast<std::size_t>(rows * columns);
        if (rows == columns) {
            if (a != b)
                std::memcpy(b, a, count * sizeof(T));
            transpose_square_in_place(rows, b);
        } else if (a != b) {
            transpose_out_of_place(rows, columns, a, b);
        } else if (WorkArray<T> work(count); work.ok()) {
            transpose_out_of_place(rows, columns, a, work.get());
            std::memcpy(b, work.get(), count * sizeof(T));
        } else {
            transpose_by_cycles(rows, columns, b);
        }
    }
    orvls_e1pop("M1RAN_F");
}

}  // namespace

}  // namespace orvls

extern "C" {
ORVLS_API void orvls_f_m1ran(int64_t rows, int64_t columns, float* a, float* b) { orvls::m1ran(rows, columns, a, b); }
ORVLS_API void orvls_d_m1ran(int64_t rows, int64_t columns, double* a, double* b) { orvls::m1ran(rows, columns, a, b); }
ORVLS_API void orvls_i_m1ran(int64_t rows, int64_t columns, int64_t* a, int64_t* b)
{
    orvls::m1ran(rows, columns, a, b);
}
}
