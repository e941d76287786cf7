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
/* Run-time frame: CPU clock, error settings, machine constants, version */
#define orvls_ctime                        orvls_20226
#define orvls_error_code                   orvls_20227
#define orvls_error_options                orvls_20228
#define orvls_i_machine                    orvls_20229
#define orvls_f_machine                    orvls_20230
#define orvls_d_machine                    orvls_20231
#define orvls_f_constant                   orvls_20232
#define orvls_d_constant                   orvls_20233
#define orvls_version                      orvls_20234
#define orvls_f_test_nan                   orvls_20235
#define orvls_d_test_nan                   orvls_20236

/* Matrix printing and the per-thread print settings */
#define orvls_i_write_matrix               orvls_20197
#define orvls_f_write_matrix               orvls_20198
#define orvls_d_write_matrix               orvls_20199
#define orvls_page                         orvls_20200
#define orvls_write_options                orvls_20201

/* Scalar complex helpers: float form on the even number, double on the odd */
#define orvls_c_neg                        orvls_20000
#define orvls_z_neg                        orvls_20001
#define orvls_c_div                        orvls_20008
#define orvls_z_div                        orvls_20009

/* Scalar maximum, minimum and powers */
#define orvls_i_min                        orvls_20138
#define orvls_f_min                        orvls_20139
#define orvls_d_min                        orvls_20140
#define orvls_i_max                        orvls_20143
#define orvls_f_max                        orvls_20144
#define orvls_d_max                        orvls_20145
#define orvls_f_integer_power              orvls_20149
#define orvls_d_integer_power              orvls_20150
#define orvls_f_power                      orvls_20151
#define orvls_d_power                      orvls_20152

/* Unconstrained minimisation */
#define orvls_f_min_uncon_multivar         orvls_20160
#define orvls_d_min_uncon_multivar         orvls_20161

/* Special functions */
#define orvls_f_gamma                      orvls_20040
#define orvls_d_gamma                      orvls_20041
#define orvls_f_log_gamma                  orvls_20042
#define orvls_d_log_gamma                  orvls_20043
#define orvls_f_gamma_incomplete           orvls_20044
#define orvls_d_gamma_incomplete           orvls_20045
#define orvls_f_beta                       orvls_20046
#define orvls_d_beta                       orvls_20047
#define orvls_f_log_beta                   orvls_20048
#define orvls_d_log_beta                   orvls_20049
#define orvls_f_beta_incomplete            orvls_20050
#define orvls_d_beta_incomplete            orvls_20051
#define orvls_f_erf                        orvls_20052
#define orvls_d_erf                        orvls_20053
#define orvls_f_erfc                       orvls_20054
#define orvls_d_erfc                       orvls_20055
#define orvls_f_erfc_inverse               orvls_20056
#define orvls_d_erfc_inverse               orvls_20057
#define orvls_f_factorial                  orvls_20058
#define orvls_d_factorial                  orvls_20059
#define orvls_f_binomial_coefficient       orvls_20060
#define orvls_d_binomial_coefficient       orvls_20061

/* Continuous distribution functions and inverses */
#define orvls_f_normal_cdf                 orvls_20070
#define orvls_d_normal_cdf                 orvls_20071
#define orvls_f_normal_inverse_cdf         orvls_20072
#define orvls_d_normal_inverse_cdf         orvls_20073
#define orvls_f_bivariate_normal_cdf       orvls_20074
#define orvls_d_bivariate_normal_cdf       orvls_20075
#define orvls_f_t_cdf                      orvls_20076
#define orvls_d_t_cdf                      orvls_20077
#define orvls_f_t_inverse                  orvls_20078
#define orvls_d_t_inverse                  orvls_20079
#define orvls_f_chi_squared_cdf            orvls_20080
#define orvls_d_chi_squared_cdf            orvls_20081
#define orvls_f_chi_squared_inverse_cdf    orvls_20082
#define orvls_d_chi_squared_inverse_cdf    orvls_20083
#define orvls_f_F_cdf                      orvls_20084
#define orvls_d_F_cdf                      orvls_20085
#define orvls_f_F_inverse_cdf              orvls_20086
#define orvls_d_F_inverse_cdf              orvls_20087
#define orvls_f_gamma_cdf                  orvls_20088
#define orvls_d_gamma_cdf                  orvls_20089
#define orvls_f_gamma_inverse_cdf          orvls_20090
#define orvls_d_gamma_inverse_cdf          orvls_20091
#define orvls_f_beta_cdf                   orvls_20092
#define orvls_d_beta_cdf                   orvls_20093
#define orvls_f_beta_inverse_cdf           orvls_20094
#define orvls_d_beta_inverse_cdf           orvls_20095

/* Uniform generators: generator choice, seeds and saved state */
#define orvls_random_option                orvls_20240
#define orvls_random_option_get            orvls_20241
#define orvls_random_seed_set              orvls_20242
#define orvls_random_seed_get              orvls_20243
#define orvls_random_substream_seed_get    orvls_20244
#define orvls_f_random_uniform             orvls_20245
#define orvls_d_random_uniform             orvls_20246
#define orvls_f_random_table_get           orvls_20247
#define orvls_d_random_table_get           orvls_20248
#define orvls_f_random_table_set           orvls_20249
#define orvls_d_random_table_set           orvls_20250
#define orvls_random_GFSR_table_get        orvls_20251
#define orvls_random_GFSR_table_set        orvls_20252
#define orvls_random_MT32_init             orvls_20253
#define orvls_random_MT64_init             orvls_20254

/* Univariate deviates; the Poisson and the sample indices have one form */
#define orvls_f_random_normal              orvls_20260
#define orvls_d_random_normal              orvls_20261
#define orvls_f_random_gamma               orvls_20262
#define orvls_d_random_gamma               orvls_20263
#define orvls_f_random_beta                orvls_20264
#define orvls_d_random_beta                orvls_20265
#define orvls_f_random_binomial            orvls_20266
#define orvls_d_random_binomial            orvls_20267
#define orvls_random_poisson               orvls_20268
#define orvls_f_random_hypergeometric      orvls_20269
#define orvls_d_random_hypergeometric      orvls_20270
#define orvls_f_random_chi_squared         orvls_20271
#define orvls_d_random_chi_squared         orvls_20272
#define orvls_f_random_student_t           orvls_20273
#define orvls_d_random_student_t           orvls_20274
#define orvls_f_random_exponential         orvls_20275
#define orvls_d_random_exponential         orvls_20276
#define orvls_f_random_exponential_mix     orvls_20277
#define orvls_d_random_exponential_mix     orvls_20278
#define orvls_f_random_geometric           orvls_20279
#define orvls_d_random_geometric           orvls_20280
#define orvls_f_random_logarithmic         orvls_20281
#define orvls_d_random_logarithmic         orvls_20282
#define orvls_f_random_neg_binomial        orvls_20283
#define orvls_d_random_neg_binomial        orvls_20284
#define orvls_f_random_lognormal           orvls_20285
#define orvls_d_random_lognormal           orvls_20286
#define orvls_f_random_cauchy              orvls_20287
#define orvls_d_random_cauchy              orvls_20288
#define orvls_f_random_triangular          orvls_20289
#define orvls_d_random_triangular          orvls_20290
#define orvls_f_random_uniform_discrete    orvls_20291
#define orvls_d_random_uniform_discrete    orvls_20292
#define orvls_f_random_von_mises           orvls_20293
#define orvls_d_random_von_mises           orvls_20294
#define orvls_f_random_weibull             orvls_20295
#define orvls_d_random_weibull             orvls_20296
#define orvls_f_random_stable              orvls_20297
#define orvls_d_random_stable              orvls_20298
#define orvls_f_random_general_discrete    orvls_20299
#define orvls_d_random_general_discrete    orvls_20300
#define orvls_f_random_general_continuous  orvls_20301
#define orvls_d_random_general_continuous  orvls_20302
#define orvls_f_discrete_table_setup       orvls_20303
#define orvls_d_discrete_table_setup       orvls_20304
#define orvls_f_continuous_table_setup     orvls_20305
#define orvls_d_continuous_table_setup     orvls_20306
#define orvls_random_sample_indices        orvls_20307

/* Simple statistics */
#define orvls_f_simple_statistics          orvls_20206
#define orvls_d_simple_statistics          orvls_20207

/* Linear regression: regressors, fit, summaries, prediction, selection */
#define orvls_f_regressors_for_glm         orvls_20310
#define orvls_d_regressors_for_glm         orvls_20311
#define orvls_f_regression                 orvls_20312
#define orvls_d_regression                 orvls_20313
#define orvls_f_regression_summary         orvls_20314
#define orvls_d_regression_summary         orvls_20315
#define orvls_f_regression_prediction      orvls_20316
#define orvls_d_regression_prediction      orvls_20317
#define orvls_f_regression_selection       orvls_20318
#define orvls_d_regression_selection       orvls_20319
#define orvls_f_regression_stepwise        orvls_20320
#define orvls_d_regression_stepwise        orvls_20321

/* Analysis of variance and multiple comparisons */
#define orvls_f_anova_oneway               orvls_20330
#define orvls_d_anova_oneway               orvls_20331
#define orvls_f_anova_factorial            orvls_20332
#define orvls_d_anova_factorial            orvls_20333
#define orvls_f_anova_nested               orvls_20334
#define orvls_d_anova_nested               orvls_20335
#define orvls_f_anova_balanced             orvls_20336
#define orvls_d_anova_balanced             orvls_20337
#define orvls_f_multiple_comparisons       orvls_20338
#define orvls_d_multiple_comparisons       orvls_20339

/* Designed experiments */
#define orvls_f_crd_factorial              orvls_20340
#define orvls_d_crd_factorial              orvls_20341
#define orvls_f_rcbd_factorial             orvls_20342
#define orvls_d_rcbd_factorial             orvls_20343
#define orvls_f_latin_square               orvls_20344
#define orvls_d_latin_square               orvls_20345
#define orvls_f_lattice                    orvls_20346
#define orvls_d_lattice                    orvls_20347
#define orvls_f_split_plot                 orvls_20348
#define orvls_d_split_plot                 orvls_20349
#define orvls_f_split_split_plot           orvls_20350
#define orvls_d_split_split_plot           orvls_20351
#define orvls_f_strip_plot                 orvls_20352
#define orvls_d_strip_plot                 orvls_20353
#define orvls_f_strip_split_plot           orvls_20354
#define orvls_d_strip_split_plot           orvls_20355
#define orvls_f_yates                      orvls_20356
#define orvls_d_yates                      orvls_20357
#define orvls_f_homogeneity                orvls_20358
#define orvls_d_homogeneity                orvls_20359

/* Contingency tables and exact tests */
#define orvls_f_contingency_table          orvls_20370
#define orvls_d_contingency_table          orvls_20371
#define orvls_f_exact_network              orvls_20372
#define orvls_d_exact_network              orvls_20373
#define orvls_f_exact_enumeration          orvls_20374
#define orvls_d_exact_enumeration          orvls_20375

/* Kalman filter */
#define orvls_f_kalman                     orvls_20455
#define orvls_d_kalman                     orvls_20456

/* Feed-forward networks: model, training, forecasting */
#define orvls_f_mlff_network_init          orvls_20500
#define orvls_d_mlff_network_init          orvls_20501
#define orvls_f_mlff_network               orvls_20502
#define orvls_d_mlff_network               orvls_20503
#define orvls_f_mlff_network_free          orvls_20504
#define orvls_d_mlff_network_free          orvls_20505
#define orvls_f_mlff_network_trainer       orvls_20506
#define orvls_d_mlff_network_trainer       orvls_20507
#define orvls_f_mlff_network_forecast      orvls_20508
#define orvls_d_mlff_network_forecast      orvls_20509
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
/* The floating-point table, n = 1..8: smallest positive normal, largest
 * finite, smallest and largest relative spacing, log10(2) (the double form
 * repeats its high word in its low word), the NaN that marks missing and
 * undefined values, plus and minus infinity.  Another n raises 12009 and
 * gives 0. */
ORVLS_API float orvls_amach(int64_t n);
ORVLS_API double orvls_dmach(int64_t n);

/* The same tables as public routines (n = 1..8), and the integer table
 * (n = 0..12): 8, integer base, digits and largest value of a short and of
 * an int, floating-point base, then digits, smallest and largest exponent
 * of a float and of a double.  Out of range: 132, result 0. */
ORVLS_API float orvls_f_machine(int64_t n);
ORVLS_API double orvls_d_machine(int64_t n);
ORVLS_API int64_t orvls_i_machine(int64_t n);

/* The thread's standard streams: n = 1, 2, 3 (input, output, error) stores
 * stream n through the pointer; n = -1, -2, -3 sets it from the pointer. */
ORVLS_API void orvls_umach(int64_t n, FILE **stream);

/* orvls_output_file(code, value, ..., 0): reads or sets the calling
 * thread's output and error streams (ORVLS_GET_ERROR_FILE and
 * ORVLS_ERROR_FILE above; the output stream with the two codes below).
 * Other threads keep their own streams. */
ORVLS_API void orvls_output_file(int code, ...);
#define ORVLS_GET_OUTPUT_FILE   11980 /* FILE ** */
#define ORVLS_OUTPUT_FILE       14510 /* FILE * */

/* 1 when x is NaN (differs from itself), else 0; infinities are not NaN.
 * The test_nan forms are the same as public routines. */
ORVLS_API int64_t orvls_ifnan(float x);
ORVLS_API int64_t orvls_difnan(double x);
ORVLS_API int64_t orvls_f_test_nan(float x);
ORVLS_API int64_t orvls_d_test_nan(double x);

/* orvls_d_constant(name, ..., 0): a named physical or mathematical constant
 * (AMU, ATM, AU, AVOGADRO, BOLTZMAN(N), C, CATALAN, E, ELECTRONCHARGE,
 * ELECTRONMASS, ELECTRONVOLT, EULER, FARADAY, FINESTRUCTURE, GAMMA, GAS,
 * GRAVITY, HBAR, PERFECTGASVOLUME, PI, PLANCK, PROTONMASS, RYDBERG,
 * SPEEDLIGHT, STANDARDGRAVITY, STANDARDPRESSURE, STEFANBOLTZMAN(N),
 * WATERTRIPLE), named without regard to case, in SI units or in the unit
 * that ORVLS_UNIT gives.  NaN on failure.
 *
 * Unit expressions (case is ignored, blanks between tokens are skipped):
 *     expression := term { ("*" | "/") term }        left to right:
 *                                                    J/mole/K = J/(mole*K)
 *     term       := factor [ "^" ["+" | "-"] digits ] integer powers
 *     factor     := word | "(" expression ")"
 *     word       := letters and digits, e.g. M, KM, KILOMETER, 1
 * A word is read, first match winning, as
 *     1. a unit name: MIN is the minute, MICRON the micron, T the tesla;
 *     2. a full prefix and a unit name: KILOMETER, MILLISECOND, MEGAHERTZ;
 *     3. a one-letter prefix and a unit name: KM, KG, MS, NM, UFARAD.
 *        The letters are A atto, F femto, P pico, N nano, U micro, M milli,
 *        C centi, K kilo, G giga, T tera, D deci; mega, myria and deca have
 *        none.  So FT is the femtotesla: write FOOT or FEET.
 * A prefix binds to its unit before a power: CM^3 is 1e-6 M^3.  Powers lie
 * within -99..99, as do the exponents of the result; groups nest at most 16
 * deep.  The text "SI" (alone) is the SI unit of the constant's own
 * dimension.  Some unit names carry values of their own making: C is
 * 1/s*A, L is s^3, SEC is dimensionless and AMU is the kilogram; use
 * COULOMB, LITER and S, and the constant AMU for the atomic mass unit.
 *
 * Errors: 12112 the unit differs in dimension from the constant (string 1,
 * 2 = the constant's unit and the unit asked for); 12113 (warning, the
 * result stands) a temperature scale with an offset (CELSIUS, DEGC, DEGF,
 * FAHRENHEIT) took part: only the scale factor is applied, which is right
 * for differences of temperature; 12114 a word that is not a unit (string 1
 * = the unit text, int 1 = its position, int 2 = its length); 12115 a unit
 * text that cannot be read, or whose power, exponents or factor run out of
 * range (string 1 = the text, int 1 = the position); 12116 an unknown
 * constant name (string 1 = the name). */
ORVLS_API float orvls_f_constant(const char *name, ...);
ORVLS_API double orvls_d_constant(const char *name, ...);
#define ORVLS_UNIT              15750 /* const char *: unit of the result */

/* orvls_version(selector): a text the caller frees with
 * orvls_free_allocated_memory, read from an environment variable set when
 * the library is installed; empty when it is unset. */
ORVLS_API char *orvls_version(int64_t selector);
#define ORVLS_COMPILER_VERSION  10780 /* KVL_COMPILER_VERSION */
#define ORVLS_LIBRARY_VERSION   12760 /* "ORVL Statkit Version " and KVL_VERSION */
#define ORVLS_LICENSE_NUMBER    12770 /* KVL_LICENSE_NUMBER */
#define ORVLS_OS_VERSION        13630 /* KVL_OS_VERSION */

/* CPU time of the calling thread, in seconds. */
ORVLS_API double orvls_ctime(void);
/* END MACHINE */

/* ---------------------------------------------------------------------- */
/* BEGIN SPECIAL */
/* Special functions.  Scalar, no option list; NaN (0 for the factorial) on
 * failure, with the error on the stack. */
/* Gamma(x) and log|Gamma(x)|. */
ORVLS_API float orvls_f_gamma(float x);
ORVLS_API double orvls_d_gamma(double x);
ORVLS_API float orvls_f_log_gamma(float x);
ORVLS_API double orvls_d_log_gamma(double x);
/* The lower incomplete gamma function: the integral of t^(a-1) e^-t over [0, x]. */
ORVLS_API float orvls_f_gamma_incomplete(float a, float x);
ORVLS_API double orvls_d_gamma_incomplete(double a, double x);
/* B(a, b), log B(a, b) and the regularised incomplete beta I_x(a, b). */
ORVLS_API float orvls_f_beta(float a, float b);
ORVLS_API double orvls_d_beta(double a, double b);
ORVLS_API float orvls_f_log_beta(float a, float b);
ORVLS_API double orvls_d_log_beta(double a, double b);
ORVLS_API float orvls_f_beta_incomplete(float x, float a, float b);
ORVLS_API double orvls_d_beta_incomplete(double x, double a, double b);
/* erf(x), erfc(x), and the y with erfc(y) = x for 0 < x < 2. */
ORVLS_API float orvls_f_erf(float x);
ORVLS_API double orvls_d_erf(double x);
ORVLS_API float orvls_f_erfc(float x);
ORVLS_API double orvls_d_erfc(double x);
ORVLS_API float orvls_f_erfc_inverse(float x);
ORVLS_API double orvls_d_erfc_inverse(double x);
/* n! as an integer (through Gamma(n + 1) truncated: exact up to 20!). */
ORVLS_API int64_t orvls_f_factorial(int64_t n);
ORVLS_API int64_t orvls_d_factorial(int64_t n);
/* The binomial coefficient C(n, m), with any fraction cut off. */
ORVLS_API float orvls_f_binomial_coefficient(int64_t n, int64_t m);
ORVLS_API double orvls_d_binomial_coefficient(int64_t n, int64_t m);
/* END SPECIAL */

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
