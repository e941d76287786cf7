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
#define orvls_error_code                   orvls_20227
#define orvls_error_options                orvls_20228
/* END NUMBERED SYMBOLS */

/* ---------------------------------------------------------------------- */
/* Complex scalars, laid out as two reals (real part first).              */
typedef struct { float re, im; } orvls_f_complex;
typedef struct { double re, im; } orvls_d_complex;

/* ---------------------------------------------------------------------- */
/* BEGIN FRAME */
/* Error types. */
#define ORVLS_NOTE              1 /* results stand */
#define ORVLS_ALERT             2 /* results stand */
#define ORVLS_WARNING           3 /* results stand */
#define ORVLS_FATAL             4 /* results void */
#define ORVLS_TERMINAL          5 /* results void */
#define ORVLS_WARNING_IMMEDIATE 6 /* results stand, reported at once */
#define ORVLS_FATAL_IMMEDIATE   7 /* results void, reported at once */
#define ORVLS_INTERNAL          8 /* the process ends */

/* A print routine receives each report: type, code, routine name, message. */
typedef void (*orvls_print_routine)(int64_t type, int64_t code, const char *name, const char *message);
/* An observer of every report and of every return to the caller. */
typedef void (*orvls_checksum_hook)(int64_t type, int64_t code, const char *message);

/* The error stack.  A routine pushes its name on entry and pops it on exit;
 * an error recorded meanwhile is reported when the routine the caller called
 * returns.  Message parameters are numbered 1 to 9. */
ORVLS_API void orvls_e1psh(const char *name);
ORVLS_API void orvls_e1pop(const char *name);
ORVLS_API void orvls_e1mes(int64_t type, int64_t code, const char *message_template);
ORVLS_API void orvls_ermes(int64_t type, int64_t code);
ORVLS_API void orvls_e1sti(int64_t i, int64_t value);
ORVLS_API void orvls_e1str(int64_t i, float value);
ORVLS_API void orvls_e1std(int64_t i, double value);
ORVLS_API void orvls_e1stc(int64_t i, orvls_f_complex value);
ORVLS_API void orvls_e1stz(int64_t i, const orvls_d_complex *value);
ORVLS_API void orvls_e1stl(int64_t i, const char *text);
/* Type of the routine now running (level 0) or of the one that returned last (level 1). */
ORVLS_API int64_t orvls_n1rty(int64_t level);
/* Code of the routine that returned last: after a public call, that call's code. */
ORVLS_API int64_t orvls_error_code(void);
/* Read (type -8..-1) or set (type 0: types 1-7, values >= 0; type 1..8: values >= 1)
 * the print and stop settings of an error type. */
ORVLS_API void orvls_e1pos(int64_t type, int64_t *print, int64_t *stop);
/* Library-wide observer of reports; NULL turns it off. */
ORVLS_API void orvls_set_at_checksum(orvls_checksum_hook hook);
/* Selector 1 increments a library-wide counter and returns it; 2 returns it and clears it. */
ORVLS_API int64_t orvls_n1rnof(int64_t selector);

/* orvls_error_options(code, values..., code, values..., 0): per-thread error
 * settings (signal trapping is library-wide).  Types given to the GET/SET
 * codes must lie in 1..7. */
ORVLS_API void orvls_error_options(int code, ...);
#define ORVLS_ERROR_MSG_FILE_NAME  11400 /* const char * */
#define ORVLS_ERROR_MSG_PATH       11410 /* const char *: search path of the message file */
#define ORVLS_ERROR_PRINT_PROC     11420 /* orvls_print_routine; NULL restores the default */
#define ORVLS_FULL_TRACEBACK       11850 /* int */
#define ORVLS_GET_ERROR_FILE       11970 /* FILE ** */
#define ORVLS_GET_PRINT            11990 /* int type, int64_t * */
#define ORVLS_GET_STOP             12000 /* int type, int64_t * */
#define ORVLS_GET_TRACEBACK        12010 /* int type, int64_t * */
#define ORVLS_ERROR_FILE           14490 /* FILE * */
#define ORVLS_SET_PRINT            14520 /* int type, int value */
#define ORVLS_SET_STOP             14530 /* int type, int value */
#define ORVLS_SET_TRACEBACK        14540 /* int type, int value */
#define ORVLS_SIGNAL_TRAPPING_ON   16040
#define ORVLS_SIGNAL_TRAPPING_OFF  16041
#define ORVLS_SIGNAL_TRAPPING      16042 /* int */
#define ORVLS_GET_PRINT_MODE       50000 /* int64_t * */
#define ORVLS_PRINT_MODE           50010 /* int64_t: one of the modes below */
#define ORVLS_PRINT_MODE_STREAM    50020 /* reports go to the error stream (default) */
#define ORVLS_PRINT_MODE_BOX       50030 /* each report as one captioned block on the error stream */
#define ORVLS_PRINT_MODE_CONSOLE   50040 /* reports go to standard output with CR LF line ends */

/* Public routines run under a guard that turns an invalid access or an
 * invalid instruction into an error (on by default).  With the guard on only
 * one thread may use the library; call this before a second thread's first
 * call to turn it off. */
ORVLS_API void orvls_skip_signal_handler(void);
/* Releases memory that the library returned. */
ORVLS_API void orvls_free_allocated_memory(void *pointer);

/* Transposition: a is row-major rows x columns; b receives its transpose, in
 * column-major order of that shape.  In place when a == b. */
ORVLS_API void orvls_f_m1ran(int64_t rows, int64_t columns, float *a, float *b);
ORVLS_API void orvls_d_m1ran(int64_t rows, int64_t columns, double *a, double *b);
ORVLS_API void orvls_i_m1ran(int64_t rows, int64_t columns, int64_t *a, int64_t *b);
/* END FRAME */

/* ---------------------------------------------------------------------- */
/* BEGIN MACHINE */
/* The thread's standard streams: n = 1, 2, 3 (input, output, error) stores
 * stream n through the pointer; n = -1, -2, -3 sets it from the pointer. */
ORVLS_API void orvls_umach(int64_t n, FILE **stream);
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
