/*
 * orvls.h - the public interface of the orvls statistical library.
 *
 * One header, valid C99 and C++.  Every public routine exists as
 * orvls_f_<name> (float) and orvls_d_<name> (double); the names below are
 * macros that map each public name to its exported numbered symbol
 * orvls_NNNNN, which is what compiled callers bind to.  The kernels, the
 * error primitives and a few services keep their plain names.
 *
 * Conventions
 *  - Positional integers, integer results and integer arrays are int64_t.
 *  - After the positional arguments most routines take an option list:
 *    an int code followed by that option's values, ended by 0.  Scalar
 *    integer values in the list are int; reals by value are double in both
 *    precisions; the _ADR forms pass a pointer to the routine's own real type.
 *  - Failures are never return codes: a routine records an error on the
 *    calling thread's error stack and returns NULL (or NaN for a scalar).
 *    Read orvls_n1rty(1) and orvls_error_code() after the call.
 *  - Memory the library returns is released with orvls_free_allocated_memory
 *    (or free).
 *  - Public matrices are row-major.
 */
#ifndef ORVLS_H
#define ORVLS_H

#include <stdint.h>
#include <stdio.h>

#if defined(ORVLS_BUILDING)
#define ORVLS_API __attribute__((visibility("default")))
#else
#define ORVLS_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---------------------------------------------------------------------- */
/* Numbered symbols: the one table that assigns every public routine its  */
/* exported number.  Float and double forms are adjacent, float lower.    */
/* BEGIN NUMBERED SYMBOLS */
/* END NUMBERED SYMBOLS */

/* ---------------------------------------------------------------------- */
/* Complex scalars, laid out as two reals (real part first).              */
typedef struct { float re, im; } orvls_f_complex;
typedef struct { double re, im; } orvls_d_complex;

/* ---------------------------------------------------------------------- */
/* BEGIN FRAME */
/* END FRAME */

/* ---------------------------------------------------------------------- */
/* BEGIN MACHINE */
/* END MACHINE */

/* ---------------------------------------------------------------------- */
/* BEGIN KERNELS */
/* END KERNELS */

/* ---------------------------------------------------------------------- */
/* BEGIN PRINTING */
/* END PRINTING */

#ifdef __cplusplus
}
#endif

#endif /* ORVLS_H */
