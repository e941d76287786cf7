// Regressors of general linear models, for the routines that fit and
// analyse them: the distinct values of the class variables, and the
// expansion of rows of data into regressors.  Both work on column-major data
// with one-based column indices.
//
// A class table is two parallel items: nclval[k], the number of distinct
// values of class variable k, and clval, the values of all class variables
// end to end, variable k's run starting after the runs of the variables
// before it.  A value is found in its run by linear search with ==, so a
// table made elsewhere (unsorted, or lacking a value) serves as well.
//
// Dummy methods: 1 one column per class; 2 the same without the last class,
// which codes as all zeros; 3 the same without the last class, which codes
// as all -1 (sum to zero).
#pragma once

#include <cstdint>

namespace orvls::regression {

// A class table and a model with one-based columns, under one dummy method:
// nclvar class variables in the columns indcl with their table nclval and
// clval; nef effects, effect e being the nvef[e] columns that follow those
// of the effects before it in indef.
template <class Real>
struct GlmModel {
    int64_t nclvar;
    const int64_t* indcl;
    const int64_t* nclval;
    const Real* clval;
    int64_t nef;
    const int64_t* nvef;
    const int64_t* indef;
    int64_t method;  // 1, 2 or 3
};

// Collects the distinct values of nclvar class variables from nrow rows of
// x (column-major, leading dimension ldx, ncol columns); indcl holds their
// one-based columns.  ido 0 takes all the data at once; 1, 2 and 3 take a
// first, middle and last chunk, the table of the earlier chunks standing in
// nclval, clval and nmiss.  ido 0 and 1 start afresh; ido 0 and 3 sort each
// run ascending.  New values join their run in the order met, clval staying
// packed; clval has room for maxcl values.  nmiss[k] counts the NaN values
// of variable k.  Errors: ido outside 0..3 (5, 602); nrow below 0 (5, 603);
// ldx below nrow (5, 600); a column outside 1..ncol (5, 20235: position,
// column, ncol); more than maxcl values (4, 20236: maxcl).
template <class Real>
void orvls_gclas(int64_t ido, int64_t nrow, int64_t ncol, const Real* x, int64_t ldx, int64_t nclvar,
                 const int64_t* indcl, int64_t maxcl, int64_t* nclval, Real* clval, int64_t* nmiss);

// Expands nrow rows of x (column-major, leading dimension ldx, ncol
// columns) into regressors: row i's regressor k lands at reg[i + k ldreg].
// The class table is nclvar, indcl (one-based columns), nclval and clval.
// The model is nef effects, effect e being the nvef[e] one-based columns
// that follow those of the effects before it in indef.  |idummy| is the
// dummy method; a negative idummy only counts: *nreg receives the number of
// regressors of a row and reg is not touched (it may be null).  *nrmiss
// receives the number of rows with at least one missing effect: one with a
// NaN in a column of the effect or a class value not in the table; all the
// cells of a missing effect are NaN.  Calls of one row at a time (nrow 1,
// ldx and ldreg 1) serve rows stored anywhere.  Errors (all type 5):
// |idummy| outside 1..3 (20232); nrow below 0 (603); ldx or, when writing,
// ldreg below nrow (600); a class column outside 1..ncol (20235); an entry
// of nclval below 1 (20231: position, value); an entry of nvef below 1
// (20237: position, value); an effect column outside 1..ncol (20238:
// position, zero-based column, ncol).  Positions count from 1.
template <class Real>
void orvls_grglm(int64_t nrow, int64_t ncol, const Real* x, int64_t ldx, int64_t nclvar, const int64_t* indcl,
                 const int64_t* nclval, const Real* clval, int64_t nef, const int64_t* nvef, const int64_t* indef,
                 int64_t idummy, int64_t* nreg, Real* reg, int64_t ldreg, int64_t* nrmiss);

}  // namespace orvls::regression
