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

// Transposes in place a rows x columns row-major matrix whose elements are
// runs of `run` values, by following the cycles of the permutation: the
// element at position p moves to p * rows mod (rows * columns - 1).  Each
// cycle is moved once, from its smallest position; `carry` holds one run.
template <class T>
void transpose_runs_by_cycles(int64_t rows, int64_t columns, T* a, int64_t run, T* carry)
{
    const int64_t last = rows * columns - 1;
    auto target = [&](int64_t p) { return static_cast<int64_t>((static_cast<__int128>(p) * rows) % last); };
    for (int64_t start = 1; start < last; ++start) {
        int64_t p = target(start);
        while (p > start)
            p = target(p);
        if (p < start)
            continue;  // this cycle was moved from a smaller position
        std::copy_n(a + start * run, run, carry);
        p = start;
        do {
            p = target(p);
            std::swap_ranges(carry, carry + run, a + p * run);
        } while (p != start);
    }
}

// Rows per block of a tall matrix with `columns` columns: a block fits in
// cache.  A divisor of `rows` near that size is preferred, so that no rows
// are left over.
int64_t block_rows(int64_t rows, int64_t columns)
{
    constexpr int64_t kBlockElements = 16384;
    const int64_t size = std::clamp<int64_t>(kBlockElements / columns, 1, rows);
    for (int64_t d = size; d > size / 2; --d)
        if (rows % d == 0)
            return d;
    return size;
}

// A matrix with one short side is transposed in place through blocks, with
// memory for one block only: tall is rows x short row-major, wide is its
// transpose.  From tall to wide: each block of rows is transposed in cache
// into `short` runs, the runs are put in order by following cycles, and rows
// left over beyond the last whole block are put at the ends of the columns.
// From wide to tall the same steps run backwards.
template <class T>
bool transpose_through_blocks(int64_t rows, int64_t short_side, T* a, bool to_wide)
{
    const int64_t run = block_rows(rows, short_side);
    const int64_t blocks = rows / run;
    const int64_t full = blocks * run;
    const int64_t left = rows - full;
    WorkArray<T> work(static_cast<std::size_t>((run + left) * short_side));
    if (!work.ok())
        return false;
    T* block = work.get();
    T* left_rows = block + run * short_side;
    const std::size_t column_bytes = static_cast<std::size_t>(full) * sizeof(T);
    auto transpose_blocks = [&](int64_t from_rows, int64_t from_columns) {
        for (int64_t b = 0; b < blocks; ++b) {
            T* p = a + b * run * short_side;
            std::copy_n(p, run * short_side, block);
            transpose_out_of_place(from_rows, from_columns, block, p);
        }
    };
    if (to_wide) {
        std::copy_n(a + full * short_side, left * short_side, left_rows);
        transpose_blocks(run, short_side);
        transpose_runs_by_cycles(blocks, short_side, a, run, block);
        for (int64_t j = short_side - 1; j >= 1 && left > 0; --j)
            std::memmove(a + j * rows, a + j * full, column_bytes);
        for (int64_t j = 0; j < short_side; ++j)
            for (int64_t t = 0; t < left; ++t)
                a[j * rows + full + t] = left_rows[t * short_side + j];
    } else {
        for (int64_t j = 0; j < short_side; ++j)
            for (int64_t t = 0; t < left; ++t)
                left_rows[t * short_side + j] = a[j * rows + full + t];
        for (int64_t j = 1; j < short_side && left > 0; ++j)
            std::memmove(a + j * full, a + j * rows, column_bytes);
        transpose_runs_by_cycles(short_side, blocks, a, run, block);
        transpose_blocks(short_side, run);
        std::copy_n(left_rows, left * short_side, a + full * short_side);
    }
    return true;
}

// In place, with a work array: a block's worth when one side is short,
// else the whole matrix.  False when the memory cannot be had.
template <class T>
bool transpose_in_place(int64_t rows, int64_t columns, T* a)
{
    constexpr int64_t kShortSide = 256;
    if (columns <= kShortSide && columns < rows)
        return transpose_through_blocks(rows, columns, a, true);
    if (rows <= kShortSide && rows < columns)
        return transpose_through_blocks(columns, rows, a, false);
    const auto count = static_cast<std::size_t>(rows * columns);
    WorkArray<T> work(count);
    if (!work.ok())
        return false;
    transpose_out_of_place(rows, columns, a, work.get());
    std::copy_n(work.get(), count, a);
    return true;
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
        } else if (!transpose_in_place(rows, columns, b)) {
            T carry;
            transpose_runs_by_cycles(rows, columns, b, 1, &carry);
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
