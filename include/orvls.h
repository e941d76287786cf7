/**
 * @file orvls.h
 * @brief The public interface of the orvls statistical library.
 *
 * One header, valid C99 and C++.  Every public routine exists as
 * `orvls_f_<name>` (float) and `orvls_d_<name>` (double); the names are
 * macros that map each public name to its exported numbered symbol
 * `orvls_NNNNN`, which is what compiled callers bind to.  The kernels, the
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
 *    Read orvls_n1rty(1) and orvls_error_code() after the call.  An error
 *    is told below by its type (see @ref ORVLS_NOTE and the types after it),
 *    its code and the message parameters it sets (int 1, real 1, text 1,
 *    ...); its text comes from the message file `orvls_e.bin`.
 *  - Every routine with an option list may raise, besides the errors told
 *    with it: type 5 code 11001, an unknown option code (int 1 = the code,
 *    int 2 = its place); type 5 code 104, a null array given to an option
 *    that fills one; type 5 code 200, not enough memory.  Any public
 *    routine may raise type 5 code 102 when the signal guard catches a
 *    signal in it, and type 4 code 499 when a second thread called the
 *    library while signal trapping was on.
 *  - Memory the library returns is released with orvls_free_allocated_memory()
 *    (or free).
 *  - Public matrices are row-major.
 *
 * The message file is searched for in the directories of the search path
 * set with @ref ORVLS_ERROR_MSG_PATH, else of `ORVLSERRPATH` (a `;`-separated
 * list, `$NAME` items standing for the value of the variable NAME), else of
 * the default list `.;$LIB;/lib;c:/lib;<datadir>/orvls`, whose last item is the
 * data directory of the installed library (`share/orvls` under the install
 * prefix): an installed library finds its messages without `ORVLSERRPATH`.
 * Without the file, reports read "Error code N.".
 */
#ifndef ORVLS_H
#define ORVLS_H

#include <stdint.h>
#include <stdio.h>

/** @cond INTERNAL */
#if defined(ORVLS_BUILDING)
#define ORVLS_API __attribute__((visibility("default")))
#else
#define ORVLS_API
#endif
/** @endcond */

#ifdef __cplusplus
extern "C" {
#endif

/* Every public routine, option code and record field below carries a
 * Doxygen comment, and each family's section is a Doxygen group; the docs
 * target fails on anything undocumented.  An option code defined again in a
 * later family keeps a plain comment there: Doxygen refuses a member
 * documented in two groups. */

/* ---------------------------------------------------------------------- */
/* Numbered symbols: the one table that assigns every public routine its  */
/* exported number.  Float and double forms are adjacent, float lower.    */
/** @cond NUMBERED_SYMBOLS */
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
#define orvls_f_anova_oneway               orvls_20520
#define orvls_d_anova_oneway               orvls_20521
#define orvls_f_multiple_comparisons       orvls_20522
#define orvls_d_multiple_comparisons       orvls_20523
#define orvls_f_anova_factorial            orvls_20524
#define orvls_d_anova_factorial            orvls_20525
#define orvls_f_anova_nested               orvls_20526
#define orvls_d_anova_nested               orvls_20527
#define orvls_f_anova_balanced             orvls_20528
#define orvls_d_anova_balanced             orvls_20529

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
/** @endcond */

/* ---------------------------------------------------------------------- */
/** A complex float, laid out as two reals. */
typedef struct {
    float re; /**< real part */
    float im; /**< imaginary part */
} orvls_f_complex;
/** A complex double, laid out as two reals. */
typedef struct {
    double re; /**< real part */
    double im; /**< imaginary part */
} orvls_d_complex;

/* ---------------------------------------------------------------------- */
/* BEGIN FRAME */
/** @addtogroup frame
 * @{ */
/* Error types. */
#define ORVLS_NOTE              1 /**< error type 1, note: results stand; not printed by default */
#define ORVLS_ALERT             2 /**< error type 2, alert: results stand; not printed by default */
#define ORVLS_WARNING           3 /**< error type 3, warning: results stand */
#define ORVLS_FATAL             4 /**< error type 4, fatal: results void; stops the program by default */
#define ORVLS_TERMINAL          5 /**< error type 5, terminal: results void, reported at once; stops by default */
#define ORVLS_WARNING_IMMEDIATE 6 /**< error type 6: results stand, reported at once */
#define ORVLS_FATAL_IMMEDIATE   7 /**< error type 7: results void, reported at once */
#define ORVLS_INTERNAL          8 /**< error type 8, internal: reported with a traceback, the process ends */

/** A print routine receives each report instead of the error stream
 * (@ref ORVLS_ERROR_PRINT_PROC).
 * @param type the error type, 1 to 8
 * @param code the error code
 * @param name the routine that raised the error
 * @param message the message, its parameters substituted */
typedef void (*orvls_print_routine)(int64_t type, int64_t code, const char *name, const char *message);
/** An observer of every report and of every return to the caller
 * (orvls_set_at_checksum()).
 * @param type the error type, or 0 on a clean return
 * @param code the error code
 * @param message the message, its parameters substituted */
typedef void (*orvls_checksum_hook)(int64_t type, int64_t code, const char *message);

/** Pushes a routine's name on the calling thread's error stack.  A routine
 * pushes its name on entry and pops it on exit; an error recorded
 * meanwhile is reported when the routine the caller called returns.
 * Errors: type 8 code 60000, the stack is more than 200 deep.
 * @param name the routine's name, kept by pointer until the pop */
ORVLS_API void orvls_e1psh(const char *name);
/** Pops a routine's name from the error stack and reports what its level
 * holds, by the print, stop and traceback settings of the error's type.
 * Errors: type 8 code 60001, `name` is not at the top (text 1, 2 = the
 * name given and the one on top).
 * @param name the name given to the matching orvls_e1psh() */
ORVLS_API void orvls_e1pop(const char *name);
/** Records an error of the running routine with a message template.  The
 * template substitutes the message parameters: `%(I1)` integer, `%(D1)`
 * `%(R1)` real, `%(C1)` `%(Z1)` complex, `%(L1)` text (digits 1 to 9,
 * optionally with a printf conversion as in `%(D1%.3g)`), `%/` a newline.
 * Type 0 with code 0 clears the level's error.  A type
 * outside -1..8 is an internal error (type 8 code 160) that ends the
 * process.
 * @param type the error type, 1 to 8 (see @ref ORVLS_NOTE)
 * @param code the error code
 * @param message_template the message with parameter references */
ORVLS_API void orvls_e1mes(int64_t type, int64_t code, const char *message_template);
/** Records an error with the template of its code from the message file;
 * otherwise as orvls_e1mes().
 * @param type the error type, 1 to 8
 * @param code the error code, looked up modulo 100000 */
ORVLS_API void orvls_ermes(int64_t type, int64_t code);
/** Sets integer message parameter i (`%(I<i>)`); an index outside 1..9 is ignored.
 * @param i the parameter's number, 1 to 9
 * @param value its value */
ORVLS_API void orvls_e1sti(int64_t i, int64_t value);
/** Sets real message parameter i (`%(R<i>)`) from a float.
 * @param i the parameter's number, 1 to 9
 * @param value its value */
ORVLS_API void orvls_e1str(int64_t i, float value);
/** Sets real message parameter i (`%(D<i>)`) from a double.
 * @param i the parameter's number, 1 to 9
 * @param value its value */
ORVLS_API void orvls_e1std(int64_t i, double value);
/** Sets complex message parameter i (`%(C<i>)`) from a float complex.
 * @param i the parameter's number, 1 to 9
 * @param value its value */
ORVLS_API void orvls_e1stc(int64_t i, orvls_f_complex value);
/** Sets complex message parameter i (`%(Z<i>)`) from a double complex.
 * @param i the parameter's number, 1 to 9
 * @param value its address */
ORVLS_API void orvls_e1stz(int64_t i, const orvls_d_complex *value);
/** Sets text message parameter i (`%(L<i>)`); the text is kept by pointer
 * until the message is formed.
 * @param i the parameter's number, 1 to 9 (or -1 to -9, the same)
 * @param text the text */
ORVLS_API void orvls_e1stl(int64_t i, const char *text);
/** The error type of the routine now running (level 0) or of the routine
 * that returned last (level 1): 0 when clean.  Errors: type 8 code 122, a
 * level other than 0 and 1.
 * @param level 0 or 1
 * @return the error type, 0 to 8 */
ORVLS_API int64_t orvls_n1rty(int64_t level);
/** The error code of the routine that returned last: after a public call,
 * that call's code, 0 when clean.
 * @return the error code */
ORVLS_API int64_t orvls_error_code(void);
/** Reads or sets the print and stop settings of error types.  Type -8..-1
 * reads the settings of type -type into *print and *stop; type 0 sets
 * types 1 to 7 from the values that are 0 or more; type 1..8 sets that
 * type from the values that are 1 or more.  By default types 3 to 8 are
 * printed and types 4, 5 and 8 stop the program.  Errors: type 5 code 132,
 * a type outside -8..8 (int 3 = the type).
 * @param type the type, as above
 * @param print the print setting, read or given (1 prints)
 * @param stop the stop setting, read or given (1 stops the program with
 *        the type as its exit status) */
ORVLS_API void orvls_e1pos(int64_t type, int64_t *print, int64_t *stop);
/** Sets the library-wide observer of reports.
 * @param hook the observer; NULL turns it off */
ORVLS_API void orvls_set_at_checksum(orvls_checksum_hook hook);
/** A library-wide counter.  Errors: type 8 code 60003, another selector.
 * @param selector 1 increments the counter and returns it; 2 returns it
 *        and clears it
 * @return the counter */
ORVLS_API int64_t orvls_n1rnof(int64_t selector);

/** Sets or reads the calling thread's error settings (signal trapping is
 * library-wide): orvls_error_options(code, values..., code, values..., 0).
 * Errors: type 5 code 132, a type given to a GET or SET code outside 1..7
 * (int 3 = the type); type 5 code 200, no memory for a text copy; type 5
 * code 11001, an unknown code.
 * @param code the first option code, then its values, more codes, and 0 */
ORVLS_API void orvls_error_options(int code, ...);
#define ORVLS_ERROR_MSG_FILE_NAME  11400 /**< const char *: accepted and without effect (the file is orvls_e.bin) */
#define ORVLS_ERROR_MSG_PATH       11410 /**< const char *: search path of the message file, before ORVLSERRPATH */
#define ORVLS_ERROR_PRINT_PROC     11420 /**< orvls_print_routine: receives the reports; NULL restores the default */
#define ORVLS_FULL_TRACEBACK       11850 /**< int: 1 makes tracebacks list every level of the stack */
#define ORVLS_GET_ERROR_FILE       11970 /**< FILE **: receives the thread's error stream */
#define ORVLS_GET_PRINT            11990 /**< int type, int64_t *: receives the print setting of the type */
#define ORVLS_GET_STOP             12000 /**< int type, int64_t *: receives the stop setting of the type */
#define ORVLS_GET_TRACEBACK        12010 /**< int type, int64_t *: receives the traceback setting of the type */
#define ORVLS_ERROR_FILE           14490 /**< FILE *: the thread's error stream, where reports go */
#define ORVLS_SET_PRINT            14520 /**< int type, int value: 1 prints reports of the type, 0 not */
#define ORVLS_SET_STOP             14530 /**< int type, int value: 1 stops the program after a report of the type */
#define ORVLS_SET_TRACEBACK        14540 /**< int type, int value: 1 adds a traceback to reports of the type */
#define ORVLS_SIGNAL_TRAPPING_ON   16040 /**< turns the signal guard on (the default) */
#define ORVLS_SIGNAL_TRAPPING_OFF  16041 /**< turns the signal guard off, as orvls_skip_signal_handler() */
#define ORVLS_SIGNAL_TRAPPING      16042 /**< int: 1 on, 0 off */
#define ORVLS_GET_PRINT_MODE       50000 /**< int64_t *: receives the print mode */
#define ORVLS_PRINT_MODE           50010 /**< int64_t: the print mode, one of the modes below */
#define ORVLS_PRINT_MODE_STREAM    50020 /**< print mode: reports go to the error stream (default) */
#define ORVLS_PRINT_MODE_BOX       50030 /**< print mode: each report as one captioned block on the error stream */
#define ORVLS_PRINT_MODE_CONSOLE   50040 /**< print mode: reports go to standard output with CR LF line ends */

/** Turns the signal guard off.  Public routines run under a guard that
 * turns an invalid access or an invalid instruction into an error (on by
 * default).  With the guard on only one thread may use the library; call
 * this before a second thread's first call. */
ORVLS_API void orvls_skip_signal_handler(void);
/** Releases memory that the library returned.
 * @param pointer what a routine returned; NULL does nothing */
ORVLS_API void orvls_free_allocated_memory(void *pointer);

/** Transposes a matrix: a is row-major rows by columns; b receives its
 * transpose, that is a in column-major order.  In place when a == b.
 * Errors: type 5 code 620, rows below 1; type 5 code 621, columns below 1.
 * @param rows the rows of a
 * @param columns the columns of a
 * @param a the matrix
 * @param b its transpose, rows * columns elements, or a itself */
ORVLS_API void orvls_f_m1ran(int64_t rows, int64_t columns, float *a, float *b);
/** @copydoc orvls_f_m1ran() */
ORVLS_API void orvls_d_m1ran(int64_t rows, int64_t columns, double *a, double *b);
/** @copydoc orvls_f_m1ran() */
ORVLS_API void orvls_i_m1ran(int64_t rows, int64_t columns, int64_t *a, int64_t *b);
/** @} */
/* END FRAME */

/* ---------------------------------------------------------------------- */
/* BEGIN MACHINE */
/** @addtogroup machine
 * @{ */
/** The floating-point table: 1 smallest positive normal, 2 largest finite,
 * 3 smallest and 4 largest relative spacing, 5 log10(2) (the double form
 * repeats its high word in its low word), 6 the NaN that marks missing and
 * undefined values, 7 plus and 8 minus infinity.  Errors: type 5 code
 * 12009, n outside 1..8 (int 1 = n); the result is then 0.
 * @param n the entry, 1 to 8
 * @return the entry */
ORVLS_API float orvls_amach(int64_t n);
/** @copydoc orvls_amach() */
ORVLS_API double orvls_dmach(int64_t n);

/** The floating-point table of orvls_amach() as a public routine.  Errors:
 * type 5 code 132, n outside 1..8 (int 1, 2 = the bounds, int 3 = n); the
 * result is then 0.
 * @param n the entry, 1 to 8
 * @return the entry */
ORVLS_API float orvls_f_machine(int64_t n);
/** @copydoc orvls_f_machine() */
ORVLS_API double orvls_d_machine(int64_t n);
/** The integer table: 0 the value 8, 1 integer base, 2 digits
 * and 3 largest value of a short, 4 digits and 5 largest value of an int,
 * 6 floating-point base, then 7 digits, 8 smallest and 9 largest exponent
 * of a float, and 10 to 12 the same of a double.  Errors: type 5 code 132,
 * n outside 0..12; the result is then 0.
 * @param n the entry, 0 to 12
 * @return the entry */
ORVLS_API int64_t orvls_i_machine(int64_t n);

/** Reads or sets the calling thread's standard streams.  Errors: type 5
 * code 12010, another n (int 1 = n); type 5 code 200, no memory for the
 * thread's settings.
 * @param n 1, 2, 3 (input, output, error) store stream n through the
 *        pointer; -1, -2, -3 set it from the pointer
 * @param stream where the stream is read from or stored */
ORVLS_API void orvls_umach(int64_t n, FILE **stream);

/** Reads or sets the calling thread's output and error streams:
 * orvls_output_file(code, value, ..., 0), with @ref ORVLS_GET_ERROR_FILE
 * and @ref ORVLS_ERROR_FILE for the error stream and the two codes below
 * for the output stream.  Other threads keep their own streams.  Errors:
 * type 5 code 11001, an unknown code.
 * @param code the first option code, then its value, more pairs, and 0 */
ORVLS_API void orvls_output_file(int code, ...);
#define ORVLS_GET_OUTPUT_FILE   11980 /**< FILE **: receives the thread's output stream */
#define ORVLS_OUTPUT_FILE       14510 /**< FILE *: the thread's output stream, where printing goes */

/** Tests for NaN: infinities are not NaN.
 * @param x the value
 * @return 1 when x is NaN (differs from itself), else 0 */
ORVLS_API int64_t orvls_ifnan(float x);
/** @copydoc orvls_ifnan() */
ORVLS_API int64_t orvls_difnan(double x);
/** The NaN test of orvls_ifnan() as a public routine.
 * @param x the value
 * @return 1 when x is NaN, else 0 */
ORVLS_API int64_t orvls_f_test_nan(float x);
/** @copydoc orvls_f_test_nan() */
ORVLS_API int64_t orvls_d_test_nan(double x);

/** A named physical or mathematical constant:
 * orvls_d_constant(name, [ORVLS_UNIT, unit,] 0).  The names (without
 * regard to case) are AMU, ATM, AU, AVOGADRO, BOLTZMAN(N), C, CATALAN, E,
 * ELECTRONCHARGE, ELECTRONMASS, ELECTRONVOLT, EULER, FARADAY,
 * FINESTRUCTURE, GAMMA, GAS, GRAVITY, HBAR, PERFECTGASVOLUME, PI, PLANCK,
 * PROTONMASS, RYDBERG, SPEEDLIGHT, STANDARDGRAVITY, STANDARDPRESSURE,
 * STEFANBOLTZMAN(N) and WATERTRIPLE; the value is in SI units or in the
 * unit that @ref ORVLS_UNIT gives.
 *
 * Unit expressions (case is ignored, blanks between tokens are skipped):
 * @verbatim
   expression := term { ("*" | "/") term }        left to right:
                                                  J/mole/K = J/(mole*K)
   term       := factor [ "^" ["+" | "-"] digits ] integer powers
   factor     := word | "(" expression ")"
   word       := letters and digits, e.g. M, KM, KILOMETER, 1
   @endverbatim
 * A word is read, first match winning, as
 *  1. a unit name: MIN is the minute, MICRON the micron, T the tesla;
 *  2. a full prefix and a unit name: KILOMETER, MILLISECOND, MEGAHERTZ;
 *  3. a one-letter prefix and a unit name: KM, KG, MS, NM, UFARAD.
 *     The letters are A atto, F femto, P pico, N nano, U micro, M milli,
 *     C centi, K kilo, G giga, T tera, D deci; mega, myria and deca have
 *     none.  So FT is the femtotesla: write FOOT or FEET.
 *
 * A prefix binds to its unit before a power: CM^3 is 1e-6 M^3.  Powers lie
 * within -99..99, as do the exponents of the result; groups nest at most 16
 * deep.  The text "SI" (alone) is the SI unit of the constant's own
 * dimension.  Some unit names carry values of their own making: C is
 * 1/s*A, L is s^3, SEC is dimensionless and AMU is the kilogram; use
 * COULOMB, LITER and S, and the constant AMU for the atomic mass unit.
 *
 * Errors (type 5 unless told): 12112 the unit differs in dimension from the
 * constant (text 1, 2 = the constant's unit and the unit asked for); 12113
 * (type 3, the result stands) a temperature scale with an offset (CELSIUS,
 * DEGC, DEGF, FAHRENHEIT) took part: only the scale factor is applied,
 * which is right for differences of temperature; 12114 a word that is not
 * a unit (text 1 = the unit text, int 1 = its position, int 2 = its
 * length); 12115 a unit text that cannot be read, or whose power,
 * exponents or factor run out of range (text 1 = the text, int 1 = the
 * position); 12116 an unknown constant name (text 1 = the name); 11001 an
 * unknown option code.
 * @param name the constant's name
 * @param ... the option list, ended by 0
 * @return the constant, NaN on failure */
ORVLS_API float orvls_f_constant(const char *name, ...);
/** @copydoc orvls_f_constant() */
ORVLS_API double orvls_d_constant(const char *name, ...);
#define ORVLS_UNIT              15750 /**< const char *: unit of the result of orvls_d_constant() */

/** A version text, read from an environment variable set when the library
 * is installed; the value part is empty when the variable is unset.
 * Errors: type 5 code 103, an unknown selector (int 1 = the selector);
 * type 5 code 200, no memory.
 * @param selector one of the four codes below
 * @return a text the caller frees with orvls_free_allocated_memory(), NULL
 *         on failure */
ORVLS_API char *orvls_version(int64_t selector);
#define ORVLS_COMPILER_VERSION  10780 /**< selector: the compiler version, from KVL_COMPILER_VERSION */
#define ORVLS_LIBRARY_VERSION   12760 /**< selector: "ORVL Statkit Version " and KVL_VERSION */
#define ORVLS_LICENSE_NUMBER    12770 /**< selector: the licence number, from KVL_LICENSE_NUMBER */
#define ORVLS_OS_VERSION        13630 /**< selector: the system version, from KVL_OS_VERSION */

/** The CPU time of the calling thread.
 * @return seconds */
ORVLS_API double orvls_ctime(void);
/** @} */
/* END MACHINE */

/* ---------------------------------------------------------------------- */
/* BEGIN SPECIAL */
/** @addtogroup special
 * @{ */
/** Gamma(x).  Errors: type 5 code 9024, x = 0; type 5 code 9006, x a
 * negative integer (real 1 = x); type 4 code 9009, x above the overflow
 * limit (real 1 = x, real 2 = the limit); type 4 code 9011, x so near 0
 * that the result overflows (real 1 = x); type 2 code 9014, x below the
 * underflow limit, the result is 0 (real 1, 2 as for 9009); type 3 code
 * 9020, x so near a negative integer that digits are lost (real 1 = x);
 * type 4 code 9021, the reflection term is 0 (real 1 = x).
 * @param x the argument
 * @return Gamma(x), NaN on failure */
ORVLS_API float orvls_f_gamma(float x);
/** @copydoc orvls_f_gamma() */
ORVLS_API double orvls_d_gamma(double x);
/** log|Gamma(x)|.  Errors: type 4 code 9013, |x| above the overflow limit
 * (real 1 = x, real 2 = the limit); type 5 code 9024, x = 0, and type 5
 * code 9006, x a negative integer (real 1 = x); type 3 code 9020, x so
 * near a negative integer that digits are lost (real 1 = x).
 * @param x the argument
 * @return log|Gamma(x)|, NaN on failure */
ORVLS_API float orvls_f_log_gamma(float x);
/** @copydoc orvls_f_log_gamma() */
ORVLS_API double orvls_d_log_gamma(double x);
/** The lower incomplete gamma function: the integral of t^(a-1) e^-t over
 * [0, x].  Errors: type 5 code 9032, a not above 0 (real 1 = a); type 5
 * code 9033, x below 0 (real 1 = x); type 4 codes 9034 and 9035, the
 * series or the continued fraction did not converge in 200 terms; type 3
 * code 9037, digits lost.
 * @param a the shape, above 0
 * @param x the upper limit, 0 or more
 * @return the integral, NaN on failure */
ORVLS_API float orvls_f_gamma_incomplete(float a, float x);
/** @copydoc orvls_f_gamma_incomplete() */
ORVLS_API double orvls_d_gamma_incomplete(double a, double x);
/** The beta function B(a, b) = Gamma(a) Gamma(b) / Gamma(a + b).  Errors:
 * type 5 code 9031, a or b not above 0 (real 1 = a, real 2 = b); type 2
 * code 9018, the result underflows and is 0 (real 1 = a, real 2 = b).
 * @param a the first parameter, above 0
 * @param b the second parameter, above 0
 * @return B(a, b), NaN on failure */
ORVLS_API float orvls_f_beta(float a, float b);
/** @copydoc orvls_f_beta() */
ORVLS_API double orvls_d_beta(double a, double b);
/** log B(a, b).  Errors: type 5 code 9038, a or b not above 0.
 * @param a the first parameter, above 0
 * @param b the second parameter, above 0
 * @return log B(a, b), NaN on failure */
ORVLS_API float orvls_f_log_beta(float a, float b);
/** @copydoc orvls_f_log_beta() */
ORVLS_API double orvls_d_log_beta(double a, double b);
/** The regularised incomplete beta function I_x(a, b).  Errors: type 5
 * code 120, x outside [0, 1] (text 1 = "x", reals 1 and 2 = the bounds,
 * real 3 = x); type 5 code 9031, a or b not above 0 (real 1 = a, real 2 =
 * b).  A NaN argument gives NaN without an error; an infinite shape gives
 * the limit (all mass at 0 for b infinite, at 1 for a infinite; NaN when
 * both are).  The finite sum takes one term per unit of the second shape
 * of its arrangement, so beyond 2^24 a continued fraction serves instead,
 * in double for both forms.  Measured against R's pbeta over shapes to
 * 1e15 (tests/special/data/beta_large_shapes.csv), the relative error of
 * the smaller tail is below 3e-6 when min(x, 1 - x) is at least 1e-8, and
 * grows about as 1e-12 / min(x, 1 - x) below that (a few percent near
 * 1e-15), where 1 - x no longer carries the digits the other tail needs.
 * @param x the upper limit, 0 to 1
 * @param a the first parameter, above 0
 * @param b the second parameter, above 0
 * @return I_x(a, b), NaN on failure */
ORVLS_API float orvls_f_beta_incomplete(float x, float a, float b);
/** @copydoc orvls_f_beta_incomplete() */
ORVLS_API double orvls_d_beta_incomplete(double x, double a, double b);
/** The error function erf(x); it raises no error.
 * @param x the argument
 * @return erf(x) */
ORVLS_API float orvls_f_erf(float x);
/** @copydoc orvls_f_erf() */
ORVLS_API double orvls_d_erf(double x);
/** The complementary error function erfc(x) = 1 - erf(x).  Errors: type 2
 * code 9015, x beyond the underflow limit, the result is 0 (real 1 = x,
 * real 2 = the limit).
 * @param x the argument
 * @return erfc(x) */
ORVLS_API float orvls_f_erfc(float x);
/** @copydoc orvls_f_erfc() */
ORVLS_API double orvls_d_erfc(double x);
/** The inverse of erfc: the y with erfc(y) = x.  Errors: type 4 code 120,
 * x outside (0, 2) (text 1 = "x", reals 1 and 2 = the bounds, real 3 = x);
 * type 3 code 30002, x so near 2 that the result is less accurate (real 1
 * = x, real 2 = the limit); type 4 code 30003, Newton's method did not
 * converge in 100 steps.
 * @param x the argument, 0 < x < 2
 * @return y, NaN on failure */
ORVLS_API float orvls_f_erfc_inverse(float x);
/** @copydoc orvls_f_erfc_inverse() */
ORVLS_API double orvls_d_erfc_inverse(double x);
/** n! as an integer, through Gamma(n + 1) truncated: exact up to 20!
 * (the float form is exact while Gamma(n + 1) is in float).  Errors: type
 * 5 code 603, n below 0 (text 1 = "n", int 1 = n, int 2 = 0), the result
 * is 0; type 4 code 9009, Gamma(n + 1) overflows (real 1 = n + 1, real 2 =
 * the limit).
 * @param n the argument, 0 or more
 * @return n! */
ORVLS_API int64_t orvls_f_factorial(int64_t n);
/** @copydoc orvls_f_factorial() */
ORVLS_API int64_t orvls_d_factorial(int64_t n);
/** The binomial coefficient C(n, m), with any fraction cut off.  Errors:
 * type 5 code 603, m or n below 0 (text 1 = its name, int 1 = its value,
 * int 2 = 0); type 5 code 600, n below m (texts 1, 2 = "n", "m", ints 1, 2
 * = their values); type 5 code 20402, the coefficient overflows.
 * @param n the size of the set, 0 or more
 * @param m the size of the subsets, 0 to n
 * @return C(n, m), NaN on failure */
ORVLS_API float orvls_f_binomial_coefficient(int64_t n, int64_t m);
/** @copydoc orvls_f_binomial_coefficient() */
ORVLS_API double orvls_d_binomial_coefficient(int64_t n, int64_t m);
/** @} */
/* END SPECIAL */

/* ---------------------------------------------------------------------- */
/* BEGIN RANDOM */
/** @addtogroup random
 * @{ */
#define ORVLS_RETURN_USER 14280 /**< real * or int64_t *: the caller's array for the result, which is returned */

/** Chooses the calling thread's generator.  Errors: type 5 code 602, an
 * option outside 1..9 (text 1 = "generator_option", int 1 = the option).
 * @param generator_option 1 to 9, as on the family page */
ORVLS_API void orvls_random_option(int64_t generator_option);
/** The calling thread's generator.
 * @return 1 to 9 */
ORVLS_API int64_t orvls_random_option_get(void);
/** Seeds the calling thread's stream.
 * @param seed 1 to 2147483646; 0 takes a fresh seed from the clock at each
 *        call; any other value is ignored */
ORVLS_API void orvls_random_seed_set(int64_t seed);
/** The current state of the congruential generators and the register (the
 * twisters keep theirs in their tables).
 * @return the seed that continues the stream */
ORVLS_API int64_t orvls_random_seed_get(void);
/** The seed a fixed jump ahead in the stream of option 1, 3 or 5.  Errors:
 * type 5 code 65100, the thread's generator is a shuffled one (2, 4, 6);
 * type 5 code 65101, it is option 7, 8 or 9.
 * @param seed the seed of the current substream
 * @return the seed of the next substream, 0 on failure */
ORVLS_API int64_t orvls_random_substream_seed_get(int64_t seed);

/** Uniform deviates of the thread's stream on (0, 1):
 * orvls_d_random_uniform(n_random, [ORVLS_RETURN_USER, r,] 0).  Only the
 * first option pair is read.  Errors: type 5 code 603, n_random below 1;
 * type 5 code 11001, an unknown option code; type 5 code 104, a null
 * array; type 5 code 200, no memory.
 * @param n_random the number of deviates, 1 or more
 * @param ... the option list, ended by 0
 * @return an array the caller frees (or r), NULL on failure */
ORVLS_API float *orvls_f_random_uniform(int64_t n_random, ...);
/** @copydoc orvls_f_random_uniform() */
ORVLS_API double *orvls_d_random_uniform(int64_t n_random, ...);

/** Reads the shuffle table of generators 2, 4 and 6: 128 values in (0, 1).
 * Each get routine takes the address of a pointer that receives an array
 * it allocates, or fills the caller's array given with
 * @ref ORVLS_RETURN_USER (the pointer is then left alone).  Errors: type 5
 * code 11001, an unknown option code; type 5 code 200, no memory.
 * @param table receives the allocated table
 * @param ... the option list, ended by 0 */
ORVLS_API void orvls_f_random_table_get(float **table, ...);
/** @copydoc orvls_f_random_table_get() */
ORVLS_API void orvls_d_random_table_get(double **table, ...);
/** Sets the shuffle table; a first element not above 0 restarts it from the
 * stream at the next draw.  Errors: type 5 code 11031, a value outside (0,
 * 1) (real 1 = the value, int 1 = its zero-based index).
 * @param table 128 values */
ORVLS_API void orvls_f_random_table_set(const float *table);
/** @copydoc orvls_f_random_table_set() */
ORVLS_API void orvls_d_random_table_set(const double *table);
/** Reads the shift register of generator 7: 1565 integers, the 1563 words
 * then the two taps; as orvls_f_random_table_get().
 * @param table receives the allocated table
 * @param ... the option list, ended by 0 */
ORVLS_API void orvls_random_GFSR_table_get(int64_t **table, ...);
/** Sets the shift register; a first word below 1 restarts it from the stream.
 * Errors: type 5 code 65102, a word below 1 or a tap outside 1..1563 (int
 * 1 = the value, int 2 = its zero-based index).
 * @param table 1565 integers */
ORVLS_API void orvls_random_GFSR_table_set(const int64_t *table);
/** Reads the state of the 32-bit twister (generator 8): 625 words, the
 * index (0..625) then the state; as orvls_f_random_table_get().
 * @param table receives the allocated table
 * @param ... the option list, ended by 0 */
ORVLS_API void orvls_random_MT32_table_get(uint32_t **table, ...);
/** Sets the state of the 32-bit twister; an index above 625 restarts it.
 * @param table 625 words */
ORVLS_API void orvls_random_MT32_table_set(const uint32_t *table);
/** Reads the state of the 64-bit twister (generator 9): 313 words, the
 * index then the state; as orvls_f_random_table_get().
 * @param table receives the allocated table
 * @param ... the option list, ended by 0 */
ORVLS_API void orvls_random_MT64_table_get(uint64_t **table, ...);
/** Sets the state of the 64-bit twister; an index above 313 restarts it.
 * @param table 313 words */
ORVLS_API void orvls_random_MT64_table_set(const uint64_t *table);
/** The published initialisation of the 32-bit twister by an array; the
 * next draw starts the new stream.  Errors: type 5 code 603, key_length
 * below 1; type 5 code 200, no memory.
 * @param key_length the words of the key, 2 or more (a single word is
 *        ignored)
 * @param key the key */
ORVLS_API void orvls_random_MT32_init(int64_t key_length, const uint32_t *key);
/** The published initialisation of the 64-bit twister by an array; as
 * orvls_random_MT32_init().
 * @param key_length the words of the key, 2 or more
 * @param key the key */
ORVLS_API void orvls_random_MT64_init(int64_t key_length, const uint64_t *key);
/** @} */
/* END RANDOM */

/* ---------------------------------------------------------------------- */
/* BEGIN DEVIATES */
/** @addtogroup deviates
 * @{ */
/* Options of orvls_d_random_normal.  Reals by value are double in both
 * precisions; the _ADR forms pass the address of a real of the routine's
 * precision. */
#define ORVLS_MEAN                 20410 /**< double: the mean of the normal deviates, added last; default 0 */
#define ORVLS_MEAN_ADR             20415 /**< real *: the mean by address */
#define ORVLS_VARIANCE             20420 /**< double: the variance; deviates are scaled by its root; default 1 */
#define ORVLS_VARIANCE_ADR         20425 /**< real *: the variance by address */
#define ORVLS_ACCEPT_REJECT_METHOD 20430 /**< normal deviates by Kinderman and Ramage's exact method */

/** Normal deviates: by default each uniform through a fast four-figure
 * normal inverse; with @ref ORVLS_ACCEPT_REJECT_METHOD an exact composition
 * method.  Errors: type 5 code 20457, a variance not above 0 (real 1 = the
 * variance), and the errors common to the family.
 * @param n_random the number of deviates, 1 or more
 * @param ... the option list, ended by 0
 * @return an array the caller frees (or the ORVLS_RETURN_USER array), NULL
 *         on failure */
ORVLS_API float *orvls_f_random_normal(int64_t n_random, ...);
/** @copydoc orvls_f_random_normal() */
ORVLS_API double *orvls_d_random_normal(int64_t n_random, ...);
/** Gamma deviates of shape a, unit scale.  a = 1 takes one uniform a
 * deviate; a = 1/2 halves squared normal deviates of
 * orvls_d_random_normal(); a < 1: Ahrens and Dieter's method; a > 1:
 * Schmeiser and Lal's.  Errors: type 5 code 11036, a not above 0 (real 1
 * = a); type 5 code 11037, the envelope overflows, or its points merge for
 * shapes so large that a +- sqrt(a) round to a.
 * @param n_random the number of deviates, 1 or more
 * @param a the shape, above 0
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API float *orvls_f_random_gamma(int64_t n_random, float a, ...);
/** @copydoc orvls_f_random_gamma() */
ORVLS_API double *orvls_d_random_gamma(int64_t n_random, double a, ...);
/** Beta deviates: Johnk's method when both shapes are below 1, inversion
 * when one is 1, a two-part envelope when they lie on either side of 1,
 * Cheng's method when both exceed 1.  Errors: type 5 codes 11033 and
 * 11034, pin or qin not above 0 (real 1 = the value); type 5 code 11035, a
 * deviate of Johnk's method underflows to 0 or 1.
 * @param n_random the number of deviates, 1 or more
 * @param pin the first shape, above 0
 * @param qin the second shape, above 0
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API float *orvls_f_random_beta(int64_t n_random, float pin, float qin, ...);
/** @copydoc orvls_f_random_beta() */
ORVLS_API double *orvls_d_random_beta(int64_t n_random, double pin, double qin, ...);
/** Binomial deviates: inversion when n min(p, 1 - p) <= 10, else the
 * triangle-parallelogram-exponential method.  Errors: type 5 code 603, n
 * below 1; type 5 code 120, p outside (0, 1).
 * @param n_random the number of deviates, 1 or more
 * @param n the number of trials, 1 or more
 * @param p the probability of success, 0 < p < 1
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API int64_t *orvls_f_random_binomial(int64_t n_random, int64_t n, float p, ...);
/** @copydoc orvls_f_random_binomial() */
ORVLS_API int64_t *orvls_d_random_binomial(int64_t n_random, int64_t n, double p, ...);
/** Poisson deviates, in float arithmetic: inversion below a mean of 15,
 * else the triangle-parallelogram-exponential method.  Errors: type 5 code
 * 11032, theta not above 0 (real 1 = theta).
 * @param n_random the number of deviates, 1 or more
 * @param theta the mean, above 0
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API int64_t *orvls_random_poisson(int64_t n_random, float theta, ...);
/** Hypergeometric deviates: the number of defectives in a sample drawn
 * without replacement from a lot, by inversion from the lowest possible
 * value, or item-by-item sampling when its probability lies within eps of
 * 0 or 1.  Errors: type 5 code 65005, sample_size outside 1..lot_size or
 * defectives outside 0..lot_size (ints 1 to 3 = the parameters); type 5
 * code 65006, the probability of the lowest value underflows (real 1).
 * @param n_random the number of deviates, 1 or more
 * @param sample_size the size of the sample, 1 to lot_size
 * @param defectives the defectives in the lot, 0 to lot_size
 * @param lot_size the size of the lot
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API int64_t *orvls_f_random_hypergeometric(int64_t n_random, int64_t sample_size, int64_t defectives,
                                                 int64_t lot_size, ...);
/** @copydoc orvls_f_random_hypergeometric() */
ORVLS_API int64_t *orvls_d_random_hypergeometric(int64_t n_random, int64_t sample_size, int64_t defectives,
                                                 int64_t lot_size, ...);
/** Chi-squared deviates: -2 log of a product of df/2 uniforms for even
 * integer df up to 16, else twice a gamma deviate of shape df/2.  Errors:
 * type 5 code 120, df not above 0.
 * @param n_random the number of deviates, 1 or more
 * @param df the degrees of freedom, above 0
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API float *orvls_f_random_chi_squared(int64_t n_random, float df, ...);
/** @copydoc orvls_f_random_chi_squared() */
ORVLS_API double *orvls_d_random_chi_squared(int64_t n_random, double df, ...);
/** Student's t deviates by Bailey's polar method: two uniforms a trial, a
 * trial accepted with probability pi/4.  Errors: type 5 code 120, df not
 * above 0.
 * @param n_random the number of deviates, 1 or more
 * @param df the degrees of freedom, above 0
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API float *orvls_f_random_student_t(int64_t n_random, float df, ...);
/** @copydoc orvls_f_random_student_t() */
ORVLS_API double *orvls_d_random_student_t(int64_t n_random, double df, ...);
/** Exponential deviates of mean 1: -log u.
 * @param n_random the number of deviates, 1 or more
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API float *orvls_f_random_exponential(int64_t n_random, ...);
/** @copydoc orvls_f_random_exponential() */
ORVLS_API double *orvls_d_random_exponential(int64_t n_random, ...);
/** Deviates of the mixture p Exp(mean theta1) + (1 - p) Exp(mean theta2),
 * one uniform a deviate (it picks the component and serves the
 * exponential).  Errors: type 5 code 120, theta1 or theta2 not above 0, or
 * p outside [0, 1].
 * @param n_random the number of deviates, 1 or more
 * @param theta1 the mean of the first component, above 0
 * @param theta2 the mean of the second component, above 0
 * @param p the weight of the first component, 0 to 1
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API float *orvls_f_random_exponential_mix(int64_t n_random, float theta1, float theta2, float p, ...);
/** @copydoc orvls_f_random_exponential_mix() */
ORVLS_API double *orvls_d_random_exponential_mix(int64_t n_random, double theta1, double theta2, double p, ...);
/** Geometric deviates: the trial of the first success, 1, 2, ...  Errors:
 * type 5 code 20662, p outside (0, 1) (real 1 = p).
 * @param n_random the number of deviates, 1 or more
 * @param p the probability of success, 0 < p < 1
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API int64_t *orvls_f_random_geometric(int64_t n_random, float p, ...);
/** @copydoc orvls_f_random_geometric() */
ORVLS_API int64_t *orvls_d_random_geometric(int64_t n_random, double p, ...);
/** Logarithmic deviates, P(x) = -a^x/(x log(1 - a)), x = 1, 2, ...  Errors:
 * type 5 code 20570, a outside (0, 1) (real 1 = a).
 * @param n_random the number of deviates, 1 or more
 * @param a the parameter, 0 < a < 1
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API int64_t *orvls_f_random_logarithmic(int64_t n_random, float a, ...);
/** @copydoc orvls_f_random_logarithmic() */
ORVLS_API int64_t *orvls_d_random_logarithmic(int64_t n_random, double a, ...);
/** Negative binomial deviates: failures before the rn-th success, as
 * Poisson deviates of gamma means.  Errors: type 5 code 120, rn not above
 * 0 or p outside (0, 1).
 * @param n_random the number of deviates, 1 or more
 * @param rn the number of successes, above 0, not necessarily whole
 * @param p the probability of success, 0 < p < 1
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API int64_t *orvls_f_random_neg_binomial(int64_t n_random, float rn, float p, ...);
/** @copydoc orvls_f_random_neg_binomial() */
ORVLS_API int64_t *orvls_d_random_neg_binomial(int64_t n_random, double rn, double p, ...);
/** Lognormal deviates exp(scale z + location), z standard normal (by the
 * composition method).  Errors: type 5 code 20664, scale not above 0 (real
 * 1 = scale).
 * @param n_random the number of deviates, 1 or more
 * @param location the mean of the logarithm
 * @param scale the standard deviation of the logarithm, above 0
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API float *orvls_f_random_lognormal(int64_t n_random, float location, float scale, ...);
/** @copydoc orvls_f_random_lognormal() */
ORVLS_API double *orvls_d_random_lognormal(int64_t n_random, double location, double scale, ...);
/** Standard Cauchy deviates.
 * @param n_random the number of deviates, 1 or more
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API float *orvls_f_random_cauchy(int64_t n_random, ...);
/** @copydoc orvls_f_random_cauchy() */
ORVLS_API double *orvls_d_random_cauchy(int64_t n_random, ...);
/** Triangular deviates on (0, 1), mode 1/2.
 * @param n_random the number of deviates, 1 or more
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API float *orvls_f_random_triangular(int64_t n_random, ...);
/** @copydoc orvls_f_random_triangular() */
ORVLS_API double *orvls_d_random_triangular(int64_t n_random, ...);
/** Discrete uniform deviates on 1..k.  Errors: type 5 code 603, k below 1.
 * @param n_random the number of deviates, 1 or more
 * @param k the largest value, 1 or more
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API int64_t *orvls_f_random_uniform_discrete(int64_t n_random, int64_t k, ...);
/** @copydoc orvls_f_random_uniform_discrete() */
ORVLS_API int64_t *orvls_d_random_uniform_discrete(int64_t n_random, int64_t k, ...);
/** Von Mises deviates on (-pi, pi), by Best and Fisher's method.  Errors:
 * type 5 code 20572, c below sqrt(eps)/2 (real 1 = c).
 * @param n_random the number of deviates, 1 or more
 * @param c the concentration
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API float *orvls_f_random_von_mises(int64_t n_random, float c, ...);
/** @copydoc orvls_f_random_von_mises() */
ORVLS_API double *orvls_d_random_von_mises(int64_t n_random, double c, ...);
/** Weibull deviates (-log u)^(1/a).  Errors: type 5 code 120, a not above
 * 0; type 3 code 20571, deviates were held at the smallest or largest
 * normal real (the results stand).
 * @param n_random the number of deviates, 1 or more
 * @param a the shape, above 0
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API float *orvls_f_random_weibull(int64_t n_random, float a, ...);
/** @copydoc orvls_f_random_weibull() */
ORVLS_API double *orvls_d_random_weibull(int64_t n_random, double a, ...);
/** Stable deviates of unit scale and centre 0, by the method of Chambers,
 * Mallows and Stuck (two uniforms a deviate).  The characteristic function
 * is exp(-|t|^alpha (1 - i beta sign(t) tan(pi alpha / 2))) for alpha != 1
 * and exp(-|t| (1 + i beta (2 / pi) sign(t) log|t|)) for alpha = 1: alpha
 * = 2 is the normal of variance 2, (1, 0) the Cauchy, (1/2, 1) the Levy
 * law with P(X <= x) = erfc(sqrt(1 / (2x))).  Errors: type 5 code 120,
 * alpha or beta out of range.
 * @param n_random the number of deviates, 1 or more
 * @param alpha the index, in (0, 2]
 * @param beta the skewness, in [-1, 1]
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API float *orvls_f_random_stable(int64_t n_random, float alpha, float beta, ...);
/** @copydoc orvls_f_random_stable() */
ORVLS_API double *orvls_d_random_stable(int64_t n_random, double alpha, double beta, ...);

/** The table of a general discrete law on first, first + 1, ...,
 * first + n_values - 1: probability(x) is evaluated at each value (weights
 * need not sum to 1), and the n_values cumulative probabilities, normalised
 * to end at 1, are returned.  Errors: type 5 code 603, n_values below 1;
 * type 5 code 65121, a negative or non-finite weight (int 1 = the
 * one-based place, real 1 = the weight); type 5 code 65122, weights
 * summing to 0; type 5 code 150, a null function.
 * @param probability the weight of each value
 * @param first the first value
 * @param n_values the number of values, 1 or more
 * @param ... the option list, ended by 0
 * @return the cumulative table, n_values reals, NULL on failure */
ORVLS_API float *orvls_f_discrete_table_setup(float (*probability)(int64_t x), int64_t first, int64_t n_values, ...);
/** @copydoc orvls_f_discrete_table_setup() */
ORVLS_API double *orvls_d_discrete_table_setup(double (*probability)(int64_t x), int64_t first, int64_t n_values,
                                               ...);
/** Deviates of a general discrete law from its cumulative table: one
 * uniform a deviate, a binary search.  Errors: type 5 code 603, n_values
 * below 1; type 5 code 65121, a decreasing table (int 1 = the one-based
 * place, real 1 = the value); type 5 code 65122, a table not ending at 1;
 * type 5 code 150, a null table.
 * @param n_random the number of deviates, 1 or more
 * @param first the first value
 * @param n_values the number of values, 1 or more
 * @param cumulative the cumulative probabilities, as from
 *        orvls_d_discrete_table_setup()
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API int64_t *orvls_f_random_general_discrete(int64_t n_random, int64_t first, int64_t n_values,
                                                   const float *cumulative, ...);
/** @copydoc orvls_f_random_general_discrete() */
ORVLS_API int64_t *orvls_d_random_general_discrete(int64_t n_random, int64_t first, int64_t n_values,
                                                   const double *cumulative, ...);
/** The table of a general continuous law: n_points rows (x, F(x)), x
 * increasing, on [lower, upper] from the caller's distribution function,
 * rescaled to run from 0 to 1 on the range (the law is truncated there).
 * Between rows F is taken as linear; the interval whose midpoint the
 * straight line misses most is split until the n_points are placed.
 * Errors: type 5 code 603, n_points below 2; type 5 code 65120, lower not
 * below upper; type 5 code 65121, F decreasing; type 5 code 65122, F at the
 * ends outside [0, 1] or not rising over the range; type 5 code 150, a null function; type 3 code 65128 (the
 * table stands), some midpoint is still missed by more than 1e-4, or the
 * range leaves out more than 1e-4 of probability (real 1 = the largest
 * miss): more points or a wider range are needed.
 * @param cdf the distribution function
 * @param n_points the rows of the table, 2 or more
 * @param lower the lower end of the range
 * @param upper the upper end of the range
 * @param ... the option list, ended by 0
 * @return the table, n_points rows of 2 reals, NULL on failure */
ORVLS_API float *orvls_f_continuous_table_setup(float (*cdf)(float x), int64_t n_points, float lower, float upper,
                                                ...);
/** @copydoc orvls_f_continuous_table_setup() */
ORVLS_API double *orvls_d_continuous_table_setup(double (*cdf)(double x), int64_t n_points, double lower,
                                                 double upper, ...);
/** Deviates of a general continuous law from its table (x, F(x)), whose
 * density is constant between rows: one uniform a deviate, inverted by a
 * binary search and linear interpolation.  Errors: type 5 code 603,
 * n_points below 2; type 5 code 65120, abscissae not increasing; type 5
 * code 65121, F decreasing; type 5 code 65122, F not running from 0 to 1
 * (int 1 = the one-based row, real 1 = the value); type 5 code 150, a null
 * table.
 * @param n_random the number of deviates, 1 or more
 * @param n_points the rows of the table, 2 or more
 * @param table n_points rows (x, F(x)), as from
 *        orvls_d_continuous_table_setup()
 * @param ... the option list, ended by 0
 * @return an array of n_random deviates, NULL on failure */
ORVLS_API float *orvls_f_random_general_continuous(int64_t n_random, int64_t n_points, const float *table, ...);
/** @copydoc orvls_f_random_general_continuous() */
ORVLS_API double *orvls_d_random_general_continuous(int64_t n_random, int64_t n_points, const double *table, ...);

/** n_indices distinct indices from 1..n_population, each subset equally
 * likely, in increasing order, by Floyd's algorithm: exactly n_indices
 * double uniforms of the stream, memory in proportion to n_indices.  An
 * index is 1 + trunc(u j) for a population of j, so populations beyond the
 * stream's resolution (2^31 for the congruential generators) reach only
 * some of their members.  Errors: type 5 code 603, n_population below 1;
 * type 5 code 602, n_indices outside 1..n_population.
 * @param n_indices the size of the sample
 * @param n_population the size of the population, 1 or more
 * @param ... the option list, ended by 0
 * @return an array of n_indices indices, NULL on failure */
ORVLS_API int64_t *orvls_random_sample_indices(int64_t n_indices, int64_t n_population, ...);
/** @} */
/* END DEVIATES */

/* ---------------------------------------------------------------------- */
/* BEGIN DISTRIBUTIONS */
/** @addtogroup distributions
 * @{ */
/** The standard normal distribution function P(X <= x); it raises no
 * error (the lower tail underflows to 0 in silence).
 * @param x the argument
 * @return P(X <= x) */
ORVLS_API float orvls_f_normal_cdf(float x);
/** @copydoc orvls_f_normal_cdf() */
ORVLS_API double orvls_d_normal_cdf(double x);
/** The inverse of the standard normal distribution function: the x with
 * P(X <= x) = p.  Errors: type 5 code 9041, p outside (0, 1) (real 1 = p).
 * @param p the probability, 0 < p < 1
 * @return x, NaN on failure */
ORVLS_API float orvls_f_normal_inverse_cdf(float p);
/** @copydoc orvls_f_normal_inverse_cdf() */
ORVLS_API double orvls_d_normal_inverse_cdf(double p);
/** P(X <= x, Y <= y) for standard normals X, Y with correlation rho.
 * Errors: type 5 code 20030, |rho| above 1 (real 1 = rho); type 6 code
 * 20031, rho is 1 or -1 and the law degenerate: the result stands (for 1,
 * P(X <= min(x, y))).
 * @param x the first argument
 * @param y the second argument
 * @param rho the correlation, -1 to 1
 * @return the probability, NaN on failure */
ORVLS_API float orvls_f_bivariate_normal_cdf(float x, float y, float rho);
/** @copydoc orvls_f_bivariate_normal_cdf() */
ORVLS_API double orvls_d_bivariate_normal_cdf(double x, double y, double rho);
/** Student's t with df >= 1 degrees of freedom (not necessarily whole):
 * P(T <= t), by Hill's method.  Exact (the incomplete beta function) for
 * t^2 >= df, and by finite sums for whole df below 20; otherwise (df not
 * whole, or df >= 20) a normal approximation.  Its lower tail (t < 0) has a
 * relative error of at most 1.6% at df = 1.25, 0.62% at 1.5, 3.6e-4 at 2.5,
 * 4.5e-5 at 3.5, 2.5e-6 at 5.5, 5.4e-8 at 10.5 and 1.2e-8 from 20 on; the
 * absolute error is at most 3.4e-3 (df = 1.25).  It gives 0 where the true
 * tail lies below about 1e-78, and above 1/2 it is 1 less the tail, so
 * accurate in absolute terms only.  (Measured with tools/measure_limits.py.)
 * Errors: type 5 code
 * 9042, df below 1 (real 1 = df).
 * @param t the argument
 * @param df the degrees of freedom, 1 or more, not necessarily whole
 * @return P(T <= t), NaN on failure */
ORVLS_API float orvls_f_t_cdf(float t, float df);
/** @copydoc orvls_f_t_cdf() */
ORVLS_API double orvls_d_t_cdf(double t, double df);
/** The t with P(T <= t) = p, 0 < p < 1, by Hill's inverse: exact for
 * df = 2, the cotangent with pi/2 taken as 1.570796 for df = 1 (relative
 * error up to 1.0e-5), the beta inverse below for 1 < df < 2, and for
 * df > 2 a rational approximation with a relative error of at most 2.1e-4
 * (at df = 2.25, p = 0.2), smaller as df grows.
 * Errors: type 5 code
 * 9042, df below 1 (real 1 = df); type 5 code 9043, p outside (0, 1) (real
 * 1 = p); type 5 code 9046, for df below 2, p so near 0 or 1 that its
 * tail probability is 0 (real 1 = that tail); type 4 code 9008, the
 * inverse is infinite, the result is +infinity.
 * @param p the probability, 0 < p < 1
 * @param df the degrees of freedom, 1 or more
 * @return the t with P(T <= t) = p, NaN on failure */
ORVLS_API float orvls_f_t_inverse(float p, float df);
/** @copydoc orvls_f_t_inverse() */
ORVLS_API double orvls_d_t_inverse(double p, double df);
/** Chi-squared with df >= 0.5 degrees of freedom: P(X <= chi_squared).
 * Up to 65 degrees of freedom a series or an asymptotic expansion, which
 * give 0 for chi_squared <= 1e-12 (and for 25 < df <= 65 below 2) and 1
 * above 200.  Above 65 degrees of freedom the Wilson-Hilferty normal
 * approximation, which is poor in the lower tail.  Measured over df 66 to
 * 1e5 (worst near 66), its relative error where the true value P is about
 * 1e-1 is 8.8e-4; 1e-2: 5.0e-3; 1e-3: 2.6%; 1e-4: 4.7%; 1e-6: 15%; 1e-8:
 * 41%; 1e-10: 85%; 1e-12: 137%; further out the value is wrong by factors
 * (4.7 at 1e-16, 84 at 1e-24, 1e16 at 1e-95).  In the upper tail 1 - P is
 * off by up to 12% (df = 70), and 1 is returned once z > 5, where 1 - P is
 * up to 2.9e-7.  The absolute error is at most 1.7e-4.  It gives 0 for
 * chi_squared < 2 (the true value is then below 1.8e-39) and, with alert
 * 9019, where the normal deviate falls below -18.8055.  (Measured with
 * tools/measure_limits.py.)
 * Errors: type 1 code 9055,
 * chi_squared below 0, the result is 0 (text 1 = "chi_squared", real 1 =
 * its value); type 5 code 9051, df below 0.5 (real 1 = df); type 2 code
 * 9019, the result underflows and is 0.
 * @param chi_squared the argument
 * @param df the degrees of freedom, 0.5 or more
 * @return the probability, NaN on failure */
ORVLS_API float orvls_f_chi_squared_cdf(float chi_squared, float df);
/** @copydoc orvls_f_chi_squared_cdf() */
ORVLS_API double orvls_d_chi_squared_cdf(double chi_squared, double df);
/** The chi_squared with P(X <= chi_squared) = p, 0 < p < 1: the point
 * where the distribution function above crosses p, so above 65 degrees of
 * freedom the root of the Wilson-Hilferty form, with a relative error up to
 * 0.85% for 1e-6 <= p <= 1 - 1e-6 and 3.9% at p = 1e-12 (df = 66).
 * Errors: type 5
 * code 9043, p outside (0, 1) (real 1 = p); type 5 code 9051, df below 0.5
 * (real 1 = df); type 3 code 9052, no bracket of the root was found, and
 * type 3 code 9053, the search did not converge in 100 steps (reals 1 to 3
 * = p, df and the tolerance): the last estimate is returned.
 * @param p the probability, 0 < p < 1
 * @param df the degrees of freedom, 0.5 or more
 * @return the quantile, NaN on failure */
ORVLS_API float orvls_f_chi_squared_inverse_cdf(float p, float df);
/** @copydoc orvls_f_chi_squared_inverse_cdf() */
ORVLS_API double orvls_d_chi_squared_inverse_cdf(double p, double df);
/** The F distribution function.  Errors: type 5 code 9048, a degrees of
 * freedom not above 0 (real 1, 2 = both); type 1 code 9050, f not above
 * 0, the result is 0 (real 1 = f).
 * @param f the argument
 * @param df_numerator the numerator degrees of freedom, above 0
 * @param df_denominator the denominator degrees of freedom, above 0
 * @return the probability, NaN on failure */
ORVLS_API float orvls_f_F_cdf(float f, float df_numerator, float df_denominator);
/** @copydoc orvls_f_F_cdf() */
ORVLS_API double orvls_d_F_cdf(double f, double df_numerator, double df_denominator);
/** The f with P(F <= f) = p, 0 < p < 1, through the beta inverse below,
 * whose accuracy it shares.
 * Errors: type 5 code 9043,
 * p outside (0, 1) (real 1 = p); type 5 code 9048, a degrees of freedom
 * not above 0 (real 1, 2 = both); type 4 code 9008, the inverse is
 * infinite, the result is +infinity.
 * @param p the probability, 0 < p < 1
 * @param df_numerator the numerator degrees of freedom, above 0
 * @param df_denominator the denominator degrees of freedom, above 0
 * @return the quantile, NaN on failure */
ORVLS_API float orvls_f_F_inverse_cdf(float p, float df_numerator, float df_denominator);
/** @copydoc orvls_f_F_inverse_cdf() */
ORVLS_API double orvls_d_F_inverse_cdf(double p, double df_numerator, double df_denominator);
/** The gamma distribution function of shape a and unit scale.  Errors:
 * type 1 code 9055, x below 0, the result is 0 (text 1 = "x", real 1 =
 * x); type 5 code 9056, a not above 0 (real 1 = a); type 4 code 9010, the
 * function cannot be computed without overflow (real 1 = x, real 2 = a).
 * @param x the argument
 * @param a the shape, above 0
 * @return the probability, NaN on failure */
ORVLS_API float orvls_f_gamma_cdf(float x, float a);
/** @copydoc orvls_f_gamma_cdf() */
ORVLS_API double orvls_d_gamma_cdf(double x, double a);
/** The x with P(X <= x) = p, 0 < p < 1: a bracket from a starting point,
 * then at most 100 rounds of refinement; where it converges the relative
 * error is below 1e-14.  For small p with a small shape, where the
 * quantile is tiny, the 100 rounds can run out: fatal error 11105 (type 4),
 * and the value returned is then meaningless, at times negative (-0.28 for
 * p = 1e-10, a = 0.05).  Measured, it is refused for p up to 0.5 with
 * a = 0.01, up to 0.05 with a = 0.05, 0.016 with a = 0.1, 8.9e-4 with
 * a = 0.25, 8.9e-6 with a = 0.5, 5e-8 with a = 1, 1.6e-11 with a = 2 and
 * 5e-15 with a = 3, though not at every p below; from a = 5 on, never for
 * p >= 5e-17.  Test orvls_n1rty(1) before using the value.  (Measured with
 * tools/measure_limits.py.)
 * Errors: type 5 code
 * 9043, p outside (0, 1) (real 1 = p); type 5 code 9056, a not above 0
 * (real 1 = a); type 5 code 40023, a above the largest shape served (real
 * 1 = a, real 2 = the limit); type 5 code 40024, the starting value
 * overflows, for a very small a (real 1 = a); type 5 code 40025, no
 * bracket of the root was found (real 1 = p, real 2 = a); type 4 code
 * 11105, Newton's method did not converge in 100 steps: the last estimate
 * is returned.
 * @param p the probability, 0 < p < 1
 * @param a the shape, above 0
 * @return the quantile, NaN on failure */
ORVLS_API float orvls_f_gamma_inverse_cdf(float p, float a);
/** @copydoc orvls_f_gamma_inverse_cdf() */
ORVLS_API double orvls_d_gamma_inverse_cdf(double p, double a);
/** The beta distribution function.  Errors: type 5 codes 11033 and 11034,
 * pin or qin not above 0 (real 1 = the value); type 1 code 20415, x not
 * above 0, the result is 0; type 1 code 20416, x not below 1, the result
 * is 1 (real 1 = x).
 * @param x the argument
 * @param pin the first shape, above 0
 * @param qin the second shape, above 0
 * @return the probability, NaN on failure */
ORVLS_API float orvls_f_beta_cdf(float x, float pin, float qin);
/** @copydoc orvls_f_beta_cdf() */
ORVLS_API double orvls_d_beta_cdf(double x, double pin, double qin);
/** The x with P(X <= x) = p, 0 < p < 1: bisection when both shapes exceed
 * 1 and are within a factor 10, then Newton steps on the log of the
 * incomplete beta function, whose ratio comes from a continued fraction
 * cut after max(s x - P, 0) + 0.7 (log(P + Q + 15))^2 terms.  When a shape
 * is well below 1 that cut leaves the steps converging to a point off the
 * root, with no warning: relative errors of 3.7% (p = 0.75, pin = 0.1,
 * qin = 5), 2.9e-4 (p = 0.25, pin = 5, qin = 0.1), 8.4e-5 (p = 0.75,
 * pin = 0.25, qin = 50); with both shapes at least 1/2 they stay below
 * 4.2e-6, and with both at least 1 below 1e-9.  Warning 9047 (type 3)
 * when 100 steps do not converge; the value then stood within 1e-13 on
 * every point measured.  (Measured with tools/measure_limits.py.)
 * Errors: type 5 codes
 * 9044 and 9045, pin or qin not above 0 (real 1 = the value); type 5 code
 * 9046, p outside (0, 1) (real 1 = p); type 3 code 9047, the iteration did
 * not converge in 100 steps (real 1 = p, real 2 = the last estimate, which
 * is returned).
 * @param p the probability, 0 < p < 1
 * @param pin the first shape, above 0
 * @param qin the second shape, above 0
 * @return the quantile, NaN on failure */
ORVLS_API float orvls_f_beta_inverse_cdf(float p, float pin, float qin);
/** @copydoc orvls_f_beta_inverse_cdf() */
ORVLS_API double orvls_d_beta_inverse_cdf(double p, double pin, double qin);
/** @} */
/* END DISTRIBUTIONS */

/* ---------------------------------------------------------------------- */
/* BEGIN STATISTICS */
/** @addtogroup statistics
 * @{ */
/** Simple statistics of the columns of a data matrix:
 * orvls_d_simple_statistics(n_observations, n_variables, x, options..., 0).
 * x holds n_observations rows by n_variables columns, row-major, NaN
 * marking a missing value.  The result has one column per variable and
 * these rows: 0 mean, 1 variance, 2 standard deviation, 3 skewness, 4
 * excess kurtosis, 5 minimum, 6 maximum, 7 range, 8 coefficient of
 * variation, 9 count (the sum of the frequencies used), 10 and 11 the
 * confidence limits of the mean, 12 and 13 those of the variance; with
 * @ref ORVLS_MEDIAN also 14 the median, with @ref ORVLS_MEDIAN_AND_SCALE
 * also 15 the median absolute deviation and 16 the scale (row 15 over the
 * normal quantile at 0.75).  Undefined statistics are NaN, with a warning.
 * A confidence of 0 or below leaves its two rows unwritten.  x is
 * transposed in place during the call and restored before it returns
 * (except after a fatal error in the moment kernel): it must not be shared
 * meanwhile.
 *
 * Errors, type 5 (no result): 603, n_observations or n_variables below 1
 * (text 1 = the name, int 1 = the value); 600, a row length
 * (@ref ORVLS_X_COL_DIM, @ref ORVLS_RETURN_COL_DIM) below n_variables,
 * refused before x is read (ints 1, 2 = the row length and n_variables);
 * 11117, both median options, or
 * one twice (text 1 = their names); 11064 and 11065, a confidence of the
 * means or of the variances of 100 or more (real 1 = it); 11066, the count
 * of observations fell below 0; 201, no memory (text 1, int 1 = the size
 * it depends on); 200, 11001, 104 as for every routine.  Type 4 (no
 * result): 11055, a negative frequency, and 11057, a negative weight (int
 * 1 = the row, real 1 = the value).  Type 6 (the result stands, NaN where
 * undefined): 11062 and 11288, rows with missing values were left out
 * (listwise, elementwise); 11067, no variable has two observations; 11068,
 * the weights sum to about 0; 11070, no valid data; and per variable (int
 * 1 = the variable, numbered from 1): 11069 its weights sum to about 0,
 * 11071 a negative range, 11072 at most one observation, 11073 a range too
 * small for its moments, 11074 and 11075 skewness or kurtosis undefined,
 * 11076 a constant variable, 11077 a sum of squares not above 0, 11078
 * coefficient of variation undefined, 11079 and 11081 a negative standard
 * deviation or variance; 11080 and 11082, a quantile of the confidence
 * limits could not be computed.
 * @param n_observations the rows of x, 1 or more
 * @param n_variables the columns of x, 1 or more
 * @param x the data, row-major
 * @param ... the option list, ended by 0
 * @return the statistics, a matrix the caller frees with
 *         orvls_free_allocated_memory() (or the ORVLS_RETURN_USER array),
 *         NULL after a fatal error */
ORVLS_API float *orvls_f_simple_statistics(int64_t n_observations, int64_t n_variables, float *x, ...);
/** @copydoc orvls_f_simple_statistics() */
ORVLS_API double *orvls_d_simple_statistics(int64_t n_observations, int64_t n_variables, double *x, ...);
#define ORVLS_CONFIDENCE_MEANS         10880 /**< double: percent confidence of rows 10, 11; default 95 */
#define ORVLS_CONFIDENCE_MEANS_ADR     10890 /**< real *: the same by address */
#define ORVLS_CONFIDENCE_VARIANCES     10910 /**< double: percent confidence of rows 12, 13; default 95 */
#define ORVLS_CONFIDENCE_VARIANCES_ADR 10920 /**< real *: the same by address */
#define ORVLS_FREQUENCIES              11790 /**< const real *: one frequency per observation; default each 1 */
#define ORVLS_MEDIAN                   13150 /**< add row 14, the median */
#define ORVLS_MEDIAN_AND_SCALE         13160 /**< add rows 14 to 16; excludes ORVLS_MEDIAN, and neither twice */
#define ORVLS_RETURN_USER              14280 /* real *: fill this array and return it (documented with the generators) */
#define ORVLS_RETURN_COL_DIM           14800 /**< int: row length of the result; default n_variables */
#define ORVLS_WEIGHTS                  15400 /**< const real *: one weight per observation; default each 1 */
#define ORVLS_X_COL_DIM                15470 /**< int: row length of x; default n_variables */
#define ORVLS_MISSING_LISTWISE         18010 /**< a row with any NaN is left out for all variables (default) */
#define ORVLS_MISSING_ELEMENTWISE      18011 /**< a NaN leaves out only that value */
/** @} */
/* END STATISTICS */

/* ---------------------------------------------------------------------- */
/* BEGIN REGRESSORS */
/** @addtogroup regression
 * @{ */
/**
 * @brief Regressors of a general linear model from a table with class variables.
 *
 * orvls_d_regressors_for_glm(n_observations, x, n_class, n_cont, options..., 0)
 * (float: orvls_f_regressors_for_glm) turns a table whose columns are class
 * (categorical) variables and continuous variables into the regressor
 * matrix of a linear model, one row per observation.  The intercept is
 * never among the regressors.
 *
 * The model is a list of effects, each a list of one or more columns of x.
 * An effect with no class column yields one regressor, the product of its
 * columns (a continuous column listed twice is its square).  An effect with
 * class columns yields, for each combination of their coded classes, the
 * product of their dummy codes and of its continuous columns; the last
 * column listed varies fastest.  A class variable with c distinct values
 * codes as c columns (dummy method 1: 1 in the column of its class), or as
 * c - 1 columns (method 2: the last class all 0; method 3, sum to zero: the
 * last class all -1).  Classes are the distinct values of the column,
 * ascending, compared exactly; a class variable with a single value yields
 * no column under methods 2 and 3, nor does any effect that holds it.  An
 * effect with a NaN in one of its columns is NaN across all its regressors
 * in that row; the other effects of the row stand.
 *
 * Without ORVLS_INDICES_EFFECTS the model is generated over the columns 0 to
 * n_class + n_cont - 1: order 1 has each variable alone; order 2 adds the
 * square of each one that is not a class variable, ascending, then each
 * pair (i, j), i < j, ascending (x1, x2, x1*x1, x2*x2, x1*x2 for two
 * continuous variables).
 *
 * x is transposed in place during the call and restored before it returns,
 * on every path: it must not be read or shared meanwhile.
 *
 * @param n_observations rows of x, at least 1.
 * @param x the table, row-major, n_observations rows of x_col_dim values;
 *        by default the first n_class columns are the class variables and
 *        the next n_cont the continuous ones.
 * @param n_class number of class variables, at least 0.
 * @param n_cont number of continuous variables, at least 0.
 * @param ... options, each a code and its values, ended by 0:
 *  - ORVLS_DUMMY_METHOD, int: coding of class variables, 1, 2 or 3; default 1.
 *  - ORVLS_GLM_RESERVED: no value; accepted and ignored.
 *  - ORVLS_INDICES_EFFECTS, int n_effects (at least 0), const int64_t
 *    *n_var_effects (n_effects entries, each at least 1), const int64_t
 *    *indices_effects (the zero-based columns of all effects, one effect
 *    after the other): the model; excludes ORVLS_MODEL_ORDER.
 *  - ORVLS_MODEL_ORDER, int: 1 or 2, the generated model; default 1.
 *  - ORVLS_X_COL_DIM, int: row length of x; default n_class + n_cont.
 *  - ORVLS_REGRESSORS, real **: receives the regressor matrix, row-major,
 *    allocated by the routine and freed by the caller
 *    (orvls_free_allocated_memory); NULL after an error.
 *  - ORVLS_REGRESSORS_USER, real *: the caller's array of n_observations
 *    rows of regressors_col_dim values, filled by the routine.  Of
 *    ORVLS_REGRESSORS and ORVLS_REGRESSORS_USER the last one given counts.
 *  - ORVLS_REGRESSORS_COL_DIM, int: row length of the regressor matrix, at
 *    least the number of regressors; default that number.  Cells beyond the
 *    regressors of a row are not written.
 *  - ORVLS_X_CLASS_COLUMNS, const int64_t *: the n_class zero-based columns
 *    of the class variables, anywhere below x_col_dim; the generated model
 *    still runs over the columns 0 to n_class + n_cont - 1.
 *  Without ORVLS_REGRESSORS or ORVLS_REGRESSORS_USER the routine only
 *  counts the regressors.
 * @return the number of regressors of a row; 0 after an error.
 *
 * Errors (type, code: condition; parameters):
 *  - 5, 11001: unknown option code; int 1 = code, int 2 = its position.
 *  - 5, 104: a null array given to ORVLS_REGRESSORS, ORVLS_REGRESSORS_USER,
 *    ORVLS_X_CLASS_COLUMNS (n_class above 0) or ORVLS_INDICES_EFFECTS
 *    (n_effects above 0); string 1 = argument, string 2 = option.
 *  - 5, 603: n_observations below 1, n_class, n_cont or n_effects below 0;
 *    int 1 = value, int 2 = bound, string 1 = "nobs", "n_class", "n_cont",
 *    "n_effects".
 *  - 5, 20234: n_class + n_cont below 1.
 *  - 5, 11117: ORVLS_MODEL_ORDER and ORVLS_INDICES_EFFECTS both given, or
 *    either twice; string 1 names them.
 *  - 5, 20230: model order outside 1..2; int 1 = order.
 *  - 5, 20232: dummy method outside 1..3.
 *  - 5, 20233: x_col_dim below n_class + n_cont; int 1 = x_col_dim.
 *    (20230, 20232 and 20233 are all reported before the call ends.)
 *  - 5, 20235: a class column outside the row; int 1 = its position from 1,
 *    int 2 = the column counted from 1, int 3 = x_col_dim.
 *  - 5, 20237: an entry of n_var_effects below 1; int 1 = position from 1,
 *    int 2 = value.
 *  - 5, 20238: an entry of indices_effects outside 0..x_col_dim - 1;
 *    int 1 = position from 1, int 2 = the index, int 3 = x_col_dim.
 *  - 5, 20231: a class variable whose values are all NaN; int 1 = the class
 *    variable from 1, int 2 = 0.
 *  - 5, 600: regressors_col_dim below the number of regressors; int 1,
 *    string 1 = the row length and "ORVLS_REGRESSORS_COL_DIM", int 2,
 *    string 2 = the number and "n_regressors".
 *  - 5, 202: no memory; int 1, string 1 = n_observations and
 *    "n_observations", int 2, string 2 = n_class and "n_class" (class
 *    values) or the row length of the result and "n_regressors".
 *  - 5, 200: no memory for a work array.
 */
ORVLS_API int64_t orvls_f_regressors_for_glm(int64_t n_observations, float *x, int64_t n_class, int64_t n_cont,
                                             ...);
/** @copydoc orvls_f_regressors_for_glm() */
ORVLS_API int64_t orvls_d_regressors_for_glm(int64_t n_observations, double *x, int64_t n_class, int64_t n_cont,
                                             ...);
#define ORVLS_DUMMY_METHOD       11270 /**< int: 1 all dummies, 2 leave out the last class, 3 sum to zero */
#define ORVLS_GLM_RESERVED       12020 /**< no value: accepted and ignored */
#define ORVLS_INDICES_EFFECTS    12300 /**< int, const int64_t *, const int64_t *: the effects of the model */
#define ORVLS_MODEL_ORDER        13210 /**< int: 1 or 2, order of the generated model; for orvls_d_anova_factorial() the highest order of interaction in the model */
#define ORVLS_REGRESSORS         16000 /**< real **: receives the allocated regressor matrix */
#define ORVLS_REGRESSORS_USER    16010 /**< real *: the caller's array for the regressors */
#define ORVLS_REGRESSORS_COL_DIM 16020 /**< int: row length of the regressor matrix */
#define ORVLS_X_CLASS_COLUMNS    16030 /**< const int64_t *: zero-based columns of the class variables */
/** @} */
/* END REGRESSORS */

/* ---------------------------------------------------------------------- */
/* BEGIN REGRESSION */
/** @addtogroup regression
 * @{ */
/**
 * @brief The record of a fitted regression (float form).
 *
 * One allocation holds this header and every array behind it, in the order
 * of the fields, so that one free (or orvls_free_allocated_memory) releases
 * it.  The caller owns it.  Arrays sized by n_dependent hold one entry when
 * n_dependent is 0.
 */
typedef struct {
    int64_t n_observations; /**< the row count of the last call */
    int64_t n_rows_missing; /**< rows left out because of missing values */
    int64_t n_dependent;    /**< number of dependent variables */
    int64_t n_parameters;   /**< number of coefficients, intercept included */
    int64_t intercept;      /**< 1 with an intercept, 0 without */
    int64_t rank;           /**< rank of the design, at most n_parameters */
    float df_error;         /**< degrees of freedom for error */
    float *coefficients;    /**< n_parameters by n_dependent, column-major: the estimates */
    float *sscp_error;      /**< n_dependent by n_dependent: error sums of squares and cross-products, both triangles */
    float *R;               /**< n_parameters by n_parameters, column-major, upper triangular; a zero diagonal marks a dropped coefficient */
    float *D;               /**< n_parameters row scale factors, all 1 */
    float *reserved;        /**< n_parameters by n_dependent, allocated and not filled */
    float *x_mean;          /**< weighted means of the independent variables */
    float *x_min;           /**< smallest value of each independent variable over the rows used */
    float *x_max;           /**< largest value of each independent variable over the rows used */
    float *y_mean;          /**< weighted means of the dependent variables */
    float *y_min;           /**< smallest value of each dependent variable over the rows used */
    float *y_max;           /**< largest value of each dependent variable over the rows used */
} orvls_f_regression_info;

/**
 * @brief The record of a fitted regression (double form); fields as in
 * orvls_f_regression_info.
 */
typedef struct {
    int64_t n_observations; /**< the row count of the last call */
    int64_t n_rows_missing; /**< rows left out because of missing values */
    int64_t n_dependent;    /**< number of dependent variables */
    int64_t n_parameters;   /**< number of coefficients, intercept included */
    int64_t intercept;      /**< 1 with an intercept, 0 without */
    int64_t rank;           /**< rank of the design, at most n_parameters */
    double df_error;        /**< degrees of freedom for error */
    double *coefficients;   /**< n_parameters by n_dependent, column-major: the estimates */
    double *sscp_error;     /**< n_dependent by n_dependent: error sums of squares and cross-products, both triangles */
    double *R;              /**< n_parameters by n_parameters, column-major, upper triangular; a zero diagonal marks a dropped coefficient */
    double *D;              /**< n_parameters row scale factors, all 1 */
    double *reserved;       /**< n_parameters by n_dependent, allocated and not filled */
    double *x_mean;         /**< weighted means of the independent variables */
    double *x_min;          /**< smallest value of each independent variable over the rows used */
    double *x_max;          /**< largest value of each independent variable over the rows used */
    double *y_mean;         /**< weighted means of the dependent variables */
    double *y_min;          /**< smallest value of each dependent variable over the rows used */
    double *y_max;          /**< largest value of each dependent variable over the rows used */
} orvls_d_regression_info;

/**
 * @brief Fits linear models with a common set of regressors (float form;
 * the double form orvls_d_regression is the same with double).
 *
 * The fit updates an upper-triangular factor one row at a time with
 * modified plane rotations, so the data may arrive in several calls and
 * rows may be removed as well as added.  Columns that are constant (beyond
 * the first, or of value 0) or collinear within the tolerance are dropped:
 * their coefficients are 0 and the rank falls.
 *
 * @param n_rows        rows of this call: at least 1 with ido 0, at least 0 otherwise
 * @param n_independent number of independent variables, at least 0
 * @param x             n_rows by x_col_dim, row-major, the independent variables
 *                      in its first n_independent columns; with ORVLS_X_INDICES all
 *                      the data, and x is transposed in place during the call and
 *                      restored before it returns (it must not be shared meanwhile)
 * @param y             n_rows by y_col_dim, row-major, the dependent variables;
 *                      not read with ORVLS_X_INDICES
 * @param ...           options, each a code and its values, ended by 0
 * @return the coefficients, n_dependent rows of n_parameters values, the
 *         intercept first (room for n_independent + 1 values a row is
 *         allocated; free it), or the ORVLS_RETURN_USER array.  Calls with
 *         ido 1 or 2 only take rows and return NULL; every result comes with
 *         the call that ends the sequence (ido 0 or 3).  NULL after a fatal error.
 *
 * A NaN in a row, or a NaN frequency or weight, leaves the row out and
 * counts it as missing; a frequency of 0 skips the row without counting
 * it; a weight of 0 counts the row in df_error only.  Each thread has its
 * own sequence per precision; a sequence must stay on its thread, and its
 * intercept and centering are those of its first call.
 *
 * Errors (type, code: meaning):
 *  - 5, 11001: unknown option code (int 1 = code, int 2 = position)
 *  - 5, 603 / 602: n_independent or n_dependent negative, ido outside 0 to 3,
 *    the frequency or weight column of ORVLS_X_INDICES below -1; 602 also when
 *    a later call of a sequence gives another n_independent or n_dependent
 *  - 5, 20463: n_rows below 1 with ido 0 (int 1 = n_rows)
 *  - 5, 20464: n_rows negative with ido above 0 (int 1 = n_rows)
 *  - 5, 20690: ANOVA table or residuals asked with ido other than 0
 *  - 5, 20467 / 20468: frequency / weight column not below x_col_dim (int 1 = column, int 2 = x_col_dim)
 *  - 5, 11038: ORVLS_COEF_COV_COL_DIM without a covariance option
 *  - 5, 11050: tolerance outside 0 to 1 (real 1)
 *  - 5, 11052 / 11053: a dependent / independent column of ORVLS_X_INDICES outside
 *    x (int 1 = its place from 1, int 2 = column from 1, int 3 = x_col_dim)
 *  - 5, 600: x_col_dim below n_independent, y_col_dim below n_dependent, or
 *    coef_cov_col_dim below n_parameters
 *  - 5, 104: a null array or address given to an option
 *  - 5, 11117: ORVLS_X_INDICES together with ORVLS_FREQUENCIES or ORVLS_WEIGHTS
 *  - 4, 20692: ido 0 or 1 while a sequence is open (int 1 = ido); the open sequence ends
 *  - 4, 20691: ido 2 or 3 with no sequence open (int 1 = ido)
 *  - 4, 11055 / 11057: negative frequency / weight with ido 0 (int 1 = row from 1, real 1 = value)
 *  - 4, 11054 / 11056: the same within a sequence (also int 2 = the call number)
 *  - 3, 11047: rank below n_parameters (int 1 = rank)
 *  - 3, 11058: inconsistent triangular system (int 1 = row, int 2 = column, real 1 = value)
 *  - 6, 11049: no degrees of freedom left for error (real 1 = df_error); results stand
 *  - 6, 11048: a removed row held the stored minimum or maximum of a column
 *    (int 1 = column from 1, real 1 = value, string 1 = "xmin" or "xmax")
 *  - 5, 200 / 202 / 203: memory ("n_independent", "n_dependent", and for the
 *    residuals "n_observations")
 * After any fatal error the open sequence ends and every array the routine
 * allocated is freed.
 */
ORVLS_API float *orvls_f_regression(int64_t n_rows, int64_t n_independent, float *x, float *y, ...);
/** @copydoc orvls_f_regression() */
ORVLS_API double *orvls_d_regression(int64_t n_rows, int64_t n_independent, double *x, double *y, ...);
#define ORVLS_ANOVA_TABLE              10080 /**< real **: receives n_dependent rows of the 15-value analysis-of-variance table (ido 0 only): model, error and total df; model, error and total sums of squares; model and error mean squares; F; its probability; R-squared and adjusted R-squared in percent; error standard deviation; mean of y; coefficient of variation in percent */
#define ORVLS_ANOVA_TABLE_USER         10090 /**< real *: the same in the caller's array */
#define ORVLS_COEF_COVARIANCES         10690 /**< real **: receives n_dependent blocks of n_parameters rows of coef_cov_col_dim, the covariances of the coefficients */
#define ORVLS_COEF_COVARIANCES_USER    10700 /**< real *: the same in the caller's array */
#define ORVLS_COEF_COV_COL_DIM         11055 /**< int: row length of the covariance blocks; default n_parameters */
/* ORVLS_FREQUENCIES 11790 and ORVLS_WEIGHTS 15400 (one value per row),
   ORVLS_RETURN_USER 14280 and ORVLS_X_COL_DIM 15470 serve here too. */
#define ORVLS_INTERCEPT                12400 /**< fit an intercept (default) */
#define ORVLS_NO_INTERCEPT             13350 /**< fit no intercept */
#define ORVLS_RANK                     14110 /**< int64_t *: receives (rows - rows missing) - df_error, truncated: the rank when every frequency is 1 */
#define ORVLS_REGRESSION_INFO          14140 /**< orvls_X_regression_info **: receives the record, one allocation */
#define ORVLS_RESIDUAL                 14190 /**< real **: receives n_rows by n_dependent residuals (ido 0 only) */
#define ORVLS_RESIDUAL_USER            14220 /**< real *: the same in the caller's array */
#define ORVLS_TOLERANCE                15040 /**< double: a tolerance; for orvls_d_regression() the collinearity tolerance in 0 to 1, default 100 times the precision's machine epsilon; for orvls_d_mlff_network_trainer() the error at which Stage I counts as converged, default 0.1 */
#define ORVLS_TOLERANCE_ADR            15050 /**< real *: the same by address */
#define ORVLS_X_MEAN                   15490 /**< real **: receives the weighted means of the independent variables */
#define ORVLS_X_MEAN_USER              15500 /**< real *: the same in the caller's array */
#define ORVLS_Y_COL_DIM                15540 /**< int: row length of y; default the larger of 1 and n_dependent */
#define ORVLS_R                        16068 /**< real **: receives the n_parameters by n_parameters factor R, row-major */
#define ORVLS_R_USER                   16069 /**< real *: the same in the caller's array */
#define ORVLS_DF_ERROR                 16071 /**< real *: receives the degrees of freedom for error */
#define ORVLS_N_ROWS_MISSING           20400 /**< int64_t *: receives the number of rows left out for missing values */
#define ORVLS_IDO                      20440 /**< int: 0 all rows in this call (default); 1 first call of a sequence; 2 a middle one; 3 the last */
#define ORVLS_ADD_OBSERVATIONS         20441 /**< the rows are added (default) */
#define ORVLS_DELETE_OBSERVATIONS      20442 /**< the rows are removed from the fit */
#define ORVLS_X_INDICES                20443 /**< const int64_t *independent_columns, const int64_t *dependent_columns, int frequency_column, int weight_column: all data in x, zero-based columns, -1 for no frequency or weight */
#define ORVLS_NO_CENTERING             20880 /**< the intercept column is rotated like any other */
#define ORVLS_CENTERING                20890 /**< the intercept is kept as running means (default; off without an intercept) */
#define ORVLS_N_DEPENDENT              20900 /**< int: number of dependent variables, at least 0; default 1 */
#define ORVLS_SSCP_ERROR               20930 /**< real **: receives the n_dependent by n_dependent error sums of squares and cross-products */
#define ORVLS_SSCP_ERROR_USER          20940 /**< real *: the same in the caller's array */
/**
 * @brief Summaries of a fitted regression for one dependent variable (float
 * form; the double form orvls_d_regression_summary is the same with double).
 *
 * Gives the analysis-of-variance table, the sequential sums of squares of
 * the independent variables in their order of entry, the tests of the
 * coefficients, their variance inflation factors and their covariances.
 * A dropped coefficient (zero diagonal of R) has an infinite variance
 * inflation factor, a zero row of covariances and a standard error of 0.
 * An exact fit has an infinite F, whose probability is given as 1.0.
 *
 * @param regression_info the record of a fit (ORVLS_REGRESSION_INFO of orvls_f_regression)
 * @param ...             options, each a code and its values, ended by 0:
 *  - ORVLS_ANOVA_TABLE (float **), ORVLS_ANOVA_TABLE_USER (float *): the 15 values
 *    (model, error, total df; model, error, total sums of squares; model and error
 *    mean squares; F; its probability; R-squared and adjusted R-squared in percent,
 *    the adjusted one never below 0; error standard deviation; mean of y;
 *    coefficient of variation in percent)
 *  - ORVLS_COEF_T_TESTS, ORVLS_COEF_T_TESTS_USER: n_parameters rows of
 *    ORVLS_T_TESTS_COL_DIM (default 4): estimate, standard error, t, probability of a larger |t|
 *  - ORVLS_COEF_VIF, ORVLS_COEF_VIF_USER: n_parameters variance inflation factors
 *  - ORVLS_COEF_COVARIANCES, ORVLS_COEF_COVARIANCES_USER: n_parameters rows of
 *    ORVLS_COEF_COV_COL_DIM (default n_parameters; the code 11060 is accepted as well)
 *  - ORVLS_SQSS, ORVLS_SQSS_USER: one row per independent variable: df, sum of
 *    squares, F, probability of a larger F (at least one element is allocated)
 *  - ORVLS_DEPENDENT_INDEX (int): the dependent variable, zero-based, default 0
 *
 * Allocated arrays are freed by the caller.  Errors (type, code: meaning):
 *  - 5, 11001: unknown option code (int 1 = code, int 2 = position)
 *  - 5, 104: a null array or record (strings: argument, option)
 *  - 5, 603: regression_info->n_parameters below 1, or n_parameters - intercept negative
 *  - 5, 602: regression_info->intercept not 0 or 1
 *  - 5, 11061: regression_info->df_error or the error sum of squares negative
 *  - 5, 20693: the dependent index outside 0 to n_dependent - 1 (int 1 = index, int 2 = n_dependent)
 *  - 5, 600: ORVLS_COEF_COV_COL_DIM below n_parameters or ORVLS_T_TESTS_COL_DIM below 4
 *  - 5, 11060: R has a zero diagonal with a non-zero in its row
 *  - 5, 201: allocation failed (int 1 = n_independent)
 */
ORVLS_API void orvls_f_regression_summary(const orvls_f_regression_info *regression_info, ...);
/** @copydoc orvls_f_regression_summary() */
ORVLS_API void orvls_d_regression_summary(const orvls_d_regression_info *regression_info, ...);

#define ORVLS_T_TESTS_COL_DIM          15600 /**< int: row length of the coefficient tests; default 4 */
#define ORVLS_DEPENDENT_INDEX          20941 /**< int: the dependent variable summarised, zero-based; default 0 */
#define ORVLS_SQSS                     40519 /**< real **: receives the sequential table, 4 values per independent variable */
#define ORVLS_SQSS_USER                40520 /**< real *: the same in the caller's array */
/**
 * @brief Fitted values of a regression for new or old rows, with limits
 * and case diagnostics (float form; the double form
 * orvls_d_regression_prediction is the same with double).
 *
 * For a row with regressors z (1 first with an intercept) and weight w the
 * leverage is h = w z'(X'WX)^-1 z, read off the factor R with one
 * triangular solve.  With s2 = SSE / df_error and t the t quantile at
 * (confidence + 100) / 200, the limits for the mean are fitted -/+ t
 * sqrt(s2 h / w), those for a new observation fitted -/+ t sqrt(s2 / w +
 * s2 h / w), and the simultaneous (Scheffe) limits fitted -/+ sqrt(s2 h p F)
 * with p the rank and F the F quantile at confidence / 100.  A statistic
 * that cannot be formed (df_error 0, leverage 1, a missing value) is NaN;
 * the fitted values are still returned.  A frequency column is checked but
 * not read: the fit counted a row of frequency f as f copies, and each row
 * gets the diagnostics and limits of one copy, as the fit of the repeated
 * rows would give them.
 *
 * @param regression_info the record of a fit (ORVLS_REGRESSION_INFO of orvls_f_regression)
 * @param n_predict       number of rows, at least 1
 * @param x               n_predict rows of x_col_dim values, the independent variables first
 * @param ...             options, each a code and its values, ended by 0:
 *  - ORVLS_CONFIDENCE (double), ORVLS_CONFIDENCE_ADR (float *): percent for all limits, default 95
 *  - ORVLS_MEAN_LIMITS, ORVLS_NEW_OBSERVATION_LIMITS, ORVLS_SCHEFFE_LIMITS (two float **),
 *    and their _USER forms (two float *): lower and upper limits of each row
 *  - ORVLS_LEVERAGE, ORVLS_RESIDUAL, ORVLS_STANDARDIZED_RESIDUAL, ORVLS_DELETED_RESIDUAL,
 *    ORVLS_COOKSD, ORVLS_DFFITS (float **) and their _USER forms (float *): one value per
 *    row; all but the leverage need ORVLS_Y
 *  - ORVLS_RETURN_USER (float *): the fitted values go here
 *  - ORVLS_WEIGHTS (const float *): the case weights, default 1
 *  - ORVLS_X_COL_DIM (int): row length of x, default the number of independent variables
 *  - ORVLS_Y (const float *), ORVLS_Y_COL_DIM (int, default 1): the observed responses
 *  - ORVLS_DEPENDENT_INDEX (int): the dependent variable, zero-based, default 0
 *  - ORVLS_X_INDICES (const int64_t *independent_columns, const int64_t *dependent_columns,
 *    int frequency_column, int weight_column): all data in x, zero-based columns; the
 *    response is column dependent_columns[dependent index], none when dependent_columns[0]
 *    is negative; -1 for no frequency or weight column
 * @return the n_predict fitted values (free them unless ORVLS_RETURN_USER), or NULL after an error
 *
 * Errors (type, code: meaning):
 *  - 5, 11001: unknown option code (int 1 = code, int 2 = position)
 *  - 5, 104: a null record, x or user array (strings: argument, option)
 *  - 5, 603: n_predict below 1
 *  - 5, 20403: confidence negative or at least 100
 *  - 6, 20404: confidence above 0 and below 50; the limits are formed (real 1 = confidence)
 *  - 5, 20300: intercept neither 0 nor 1; 5, 20301: n_parameters below 1
 *  - 5, 600: x_col_dim below the number of independent variables
 *  - 5, 20694: with ORVLS_Y, the dependent index outside 0 to y_col_dim - 1
 *  - 5, 20693: the dependent index outside 0 to n_dependent - 1
 *  - 5, 20220: a residual diagnostic without ORVLS_Y (string 1 = the first such option asked,
 *    in the order residual, standardized, deleted, Cook's distance, DFFITS)
 *  - 5, 20696: the same with ORVLS_X_INDICES whose first dependent column is negative
 *  - 5, 20697: ORVLS_Y together with ORVLS_X_INDICES
 *  - 5, 20695: with ORVLS_X_INDICES, the dependent column outside 0 to x_col_dim - 1
 *  - 5, 20467, 20468: the frequency or weight column not below x_col_dim (int 1 = column)
 *  - 5, 20053: a regressor column outside 0 to x_col_dim - 1 (ints: place, column, x_col_dim)
 *  - 5, 11057: a negative weight (int 1 = the row, counted from 1; real 1 = weight)
 *  - 3, 20050: a row outside the space of the fitted regressors (its diagnostics stay NaN)
 *  - 3, 20051: a leverage above 1 beyond rounding, set to 1 (real 1 = leverage); only
 *    when the leverage or a residual diagnostic other than the residual was asked for
 *  - 3, 20052: a variance with the case deleted negative beyond rounding, set to 0; only
 *    when the deleted residual or DFFITS was asked for
 *  - 5, 201: allocation failed (int 1 = n_predict)
 */
ORVLS_API float *orvls_f_regression_prediction(const orvls_f_regression_info *regression_info, int64_t n_predict,
                                               const float *x, ...);
/** @copydoc orvls_f_regression_prediction() */
ORVLS_API double *orvls_d_regression_prediction(const orvls_d_regression_info *regression_info, int64_t n_predict,
                                                const double *x, ...);

#define ORVLS_CONFIDENCE                  10860 /**< double: percent confidence of all limits; default 95 */
#define ORVLS_CONFIDENCE_ADR              18000 /**< real *: the same by address */
#define ORVLS_COOKSD                      11000 /**< real **: receives Cook's distance of each row */
#define ORVLS_COOKSD_USER                 11010 /**< real *: the same in the caller's array */
#define ORVLS_DELETED_RESIDUAL            11150 /**< real **: receives the deleted (studentized) residuals */
#define ORVLS_DELETED_RESIDUAL_USER       11160 /**< real *: the same in the caller's array */
#define ORVLS_DFFITS                      11190 /**< real **: receives DFFITS of each row */
#define ORVLS_DFFITS_USER                 11200 /**< real *: the same in the caller's array */
#define ORVLS_LEVERAGE                    12740 /**< real **: receives the leverages */
#define ORVLS_LEVERAGE_USER               12750 /**< real *: the same in the caller's array */
#define ORVLS_NEW_OBSERVATION_LIMITS      13800 /**< real **lower, real **upper: receive the limits for a new observation */
#define ORVLS_NEW_OBSERVATION_LIMITS_USER 13810 /**< real *lower, real *upper: the same in the caller's arrays */
#define ORVLS_MEAN_LIMITS                 13820 /**< real **lower, real **upper: receive the limits for the mean */
#define ORVLS_MEAN_LIMITS_USER            13830 /**< real *lower, real *upper: the same in the caller's arrays */
#define ORVLS_SCHEFFE_LIMITS              14420 /**< real **lower, real **upper: receive the simultaneous limits */
#define ORVLS_SCHEFFE_LIMITS_USER         14425 /**< real *lower, real *upper: the same in the caller's arrays */
#define ORVLS_STANDARDIZED_RESIDUAL       14750 /**< real **: receives the standardized residuals */
#define ORVLS_STANDARDIZED_RESIDUAL_USER  14760 /**< real *: the same in the caller's array */
#define ORVLS_Y                           15535 /**< const real *: the observed responses, y_col_dim a row */

/**
 * @brief Best-subset regression (float form): the subsets of the candidate
 * regressors with the best criterion, by a leaps-and-bounds search over the
 * corrected cross-products.
 *
 * orvls_f_regression_selection(n_rows, n_candidate, x, y, options..., 0).
 * x holds n_rows rows of x_col_dim values, the candidates first; y the
 * n_rows responses.  Rows with a missing value, or a frequency or weight not
 * above 0, are left out.  Candidates are numbered from 0.  A candidate
 * linearly dependent on those before it in the forward ordering takes part in
 * no subset.
 *
 * Results come in groups: one per subset size 1 to the largest size for
 * R-squared, one overall for adjusted R-squared and Mallows Cp.  Within a
 * group the subsets are best first; of two with equal criteria the one met
 * first comes first.  An index array gives where each subset (or group)
 * starts and has one more entry for the end.  The statistics of a subset are
 * one row per variable: coefficient, standard error, t statistic, p-value
 * (the intercept is not listed).
 *
 * Options: ORVLS_R_SQUARED (int size bound), ORVLS_ADJ_R_SQUARED,
 * ORVLS_MALLOWS_CP, ORVLS_MAX_N_BEST, ORVLS_MAX_N_GOOD_SAVED,
 * ORVLS_SELECTION_PRINT_ON / _OFF, ORVLS_X_COL_DIM, ORVLS_FREQUENCIES,
 * ORVLS_WEIGHTS, ORVLS_COV_INPUT, ORVLS_INDEX_VECTORS(_USER),
 * ORVLS_STATISTICS(_USER), ORVLS_CRITERIONS_USER, ORVLS_PRINT_TO_TEXT,
 * ORVLS_PRINT_TO_STDOUT.  The report is produced only for a print target.
 *
 * Errors (type, code):
 *  - 5, 11001: unknown option (int 1 = code, int 2 = position)
 *  - 5, 11117: more than one criterion
 *  - 5, 20061: size bound 0 or of magnitude above n_candidate (int 1 = bound, int 2 = n_candidate)
 *  - 5, 603: n_candidate below 3, n_rows below 1, x_col_dim below
 *    n_candidate, max_n_best below 1, covariance observations below 2
 *  - 5, 600: max_n_good_saved below max_n_best
 *  - 5, 20060: covariance input with fewer than n_candidate + 2 observations
 *    for adjusted R-squared or Cp (int 1 = observations, int 2 = needed)
 *  - 5, 20749: both print targets
 *  - 5, 104: a null array given to an option
 *  - 3, 65328: n_candidate above the mantissa bits, subsets no longer told
 *    apart exactly (int 1 = n_candidate, int 2 = the bits)
 *  - 3, 20105: some candidates linearly dependent and left out
 *  - 3, 20106: total sum of squares of the response almost zero
 *  - 4, 20104: no candidate can enter; nothing is returned
 *  - 5, 202 / 204: memory ("n_candidate", "max_n_good_saved", and for the
 *    results "max_n_best", "max_subset_size")
 * @param n_rows rows of x and y, at least 1
 * @param n_candidate candidate regressors, at least 3
 * @param x n_rows rows of x_col_dim values, the candidates first
 * @param y the n_rows responses
 * @param ... the option list, ended by 0
 */
ORVLS_API void orvls_f_regression_selection(int64_t n_rows, int64_t n_candidate, float *x, float *y, ...);
/** @copydoc orvls_f_regression_selection() */
ORVLS_API void orvls_d_regression_selection(int64_t n_rows, int64_t n_candidate, double *x, double *y, ...);
#define ORVLS_ADJ_R_SQUARED            10050 /**< criterion: adjusted R-squared, one list over all sizes */
#define ORVLS_MALLOWS_CP               12890 /**< criterion: Mallows Cp, one list over all sizes */
#define ORVLS_R_SQUARED                14370 /**< int: criterion R-squared per size, sizes 1 to the magnitude of the value (default, every size) */
#define ORVLS_MAX_N_BEST               13040 /**< int: subsets reported per size, or overall; at least 1, default 1 */
#define ORVLS_MAX_N_GOOD_SAVED         13050 /**< int: subsets held during the search per list, at least max_n_best; default 10 */
#define ORVLS_SELECTION_PRINT_ON       13900 /**< the report is built for the print target (default) */
#define ORVLS_SELECTION_PRINT_OFF      15660 /**< no report */
#define ORVLS_COV_INPUT                15670 /**< int n_observations, const real *cov: the (n_candidate + 1) square covariance matrix, row-major, response last, in place of x and y */
#define ORVLS_INDEX_VECTORS            12290 /**< int64_t **index, int64_t **variables: receive the start of each subset in variables (n_subsets + 1 entries) and its candidates, ascending */
#define ORVLS_INDEX_VECTORS_USER       16066 /**< int64_t *index, int64_t *variables: the same in the caller's arrays */
#define ORVLS_STATISTICS               15610 /**< int64_t **index, real **statistics: receive the start of each subset's rows and the rows of 4 statistics */
#define ORVLS_STATISTICS_USER          16067 /**< int64_t *index, real *statistics: the same in the caller's arrays */
#define ORVLS_CRITERIONS_USER          16065 /**< int64_t *index, real *criterions: the start of each group (n_groups + 1 entries) and the criterion of each subset: R-squared or adjusted R-squared in percent, or Cp */
#define ORVLS_PRINT_TO_TEXT            50100 /**< char **: receives the report as an allocated text */
#define ORVLS_PRINT_TO_STDOUT          50110 /**< the report goes to the standard output */
/**
 * @brief Stepwise regression (float form): forward selection, backward
 * elimination or both, by the p-values of the coefficient t tests, with
 * levels that rank the candidates.
 *
 * orvls_f_regression_stepwise(n_rows, n_candidate, x, y, options..., 0).
 * x holds n_rows rows of x_col_dim values, y the responses (or
 * ORVLS_COV_INPUT gives their covariances).  Backward elimination starts
 * from every candidate with a positive level, the others from none.  Each
 * step first tries a removal (direction not forward, some variable in, and
 * the highest level in the model above n_force): among the variables in at
 * that level, the smallest |t|, removed when its p-value is above the
 * removal limit.  Without a removal (or always, forward) it tries an entry:
 * among those out at the lowest level, the largest |t| they would have,
 * entered when its p-value is below the entry limit.  Ties go to the first
 * variable.  Level 0 variables never move.  The search ends when a step
 * changes nothing or after n_steps steps.
 *
 * Options: ORVLS_BACKWARD (default), ORVLS_FORWARD, ORVLS_STEPWISE;
 * ORVLS_ALL_STEPS (default), ORVLS_FIRST_STEP, ORVLS_INTERMEDIATE_STEP,
 * ORVLS_LAST_STEP (one step each, the search kept per thread from the first
 * to the last); ORVLS_N_STEPS; ORVLS_ENTER_PVALUE(_ADR),
 * ORVLS_REMOVE_PVALUE(_ADR), ORVLS_TOLERANCE(_ADR), ORVLS_N_FORCE,
 * ORVLS_COV_INPUT, ORVLS_LEVELS, ORVLS_FREQUENCIES, ORVLS_WEIGHTS,
 * ORVLS_X_COL_DIM; outputs ORVLS_ANOVA_TABLE(_USER) (15 values of the model
 * at the end of the call), ORVLS_COEF_T_TESTS(_USER),
 * ORVLS_COEF_VIF(_USER), ORVLS_SWEEP_OUT(_USER), ORVLS_SWEEP_HISTORY(_USER);
 * ORVLS_PRINT_TO_TEXT or ORVLS_PRINT_TO_STDOUT for the summary of the
 * variables moved and the steps that last moved them.
 *
 * Errors (type, code):
 *  - 5, 11001: unknown option
 *  - 5, 603: n_candidate below 1, n_rows below 1, covariance observations below 2
 *  - 5, 600: x_col_dim below n_candidate
 *  - 5, 11050: tolerance outside 0 to 1
 *  - 5, 20062: a level below -1 (int 1 = variable, int 2 = level)
 *  - 5, 20063: the response's level not -1, or a candidate's -1 (same)
 *  - 4, 20064: an intermediate or last step with no search open
 *  - 5, 20749: both print targets
 *  - 5, 104: a null array given to an option
 *  - 5, 200 / 201: memory ("n_candidate"); the open search ends
 * @param n_rows rows of x and y, at least 1
 * @param n_candidate candidate variables, at least 1
 * @param x n_rows rows of x_col_dim values, the candidates first
 * @param y the n_rows responses
 * @param ... the option list, ended by 0
 */
ORVLS_API void orvls_f_regression_stepwise(int64_t n_rows, int64_t n_candidate, float *x, float *y, ...);
/** @copydoc orvls_f_regression_stepwise() */
ORVLS_API void orvls_d_regression_stepwise(int64_t n_rows, int64_t n_candidate, double *x, double *y, ...);
#define ORVLS_BACKWARD                 10200 /**< backward elimination (default) */
#define ORVLS_FORWARD                  11770 /**< forward selection */
#define ORVLS_STEPWISE                 14860 /**< removals and entries both */
#define ORVLS_ALL_STEPS                10060 /**< run to the end in this call (default) */
#define ORVLS_FIRST_STEP               11630 /**< open a search and take one step */
#define ORVLS_INTERMEDIATE_STEP        12410 /**< take one more step */
#define ORVLS_LAST_STEP                12680 /**< take one more step and close the search */
#define ORVLS_N_STEPS                  13490 /**< int: steps in this call; default -1, no limit (1 with the single-step options) */
#define ORVLS_ENTER_PVALUE             15690 /**< double: entry when the p-value is below this; default 0.05 */
#define ORVLS_ENTER_PVALUE_ADR         20007 /**< real *: the same by address */
#define ORVLS_REMOVE_PVALUE            15700 /**< double: removal when the p-value is above this; default 0.10 */
#define ORVLS_REMOVE_PVALUE_ADR        20008 /**< real *: the same by address */
#define ORVLS_N_FORCE                  11760 /**< int: variables at this level or below are never removed; default 0 */
#define ORVLS_LEVELS                   15680 /**< const int64_t *: level of each candidate and, last, -1 for the response; default 1 each */
#define ORVLS_COEF_T_TESTS             10710 /**< real **: receives the coefficient tests: estimate, standard error, t, p-value per coefficient (summary) or per candidate (stepwise; for one out: as if it entered) */
#define ORVLS_COEF_T_TESTS_USER        10720 /**< real *: the same in the caller's array */
#define ORVLS_COEF_VIF                 10730 /**< real **: receives the variance inflation factors: per coefficient (summary), or per candidate in the model with NaN for one out (stepwise) */
#define ORVLS_COEF_VIF_USER            10740 /**< real *: the same in the caller's array */
#define ORVLS_SWEEP_OUT                15880 /**< real **: receives the (n_candidate + 1) square swept matrix, row-major */
#define ORVLS_SWEEP_OUT_USER           15890 /**< real *: the same in the caller's array */
#define ORVLS_SWEEP_HISTORY            15900 /**< real **: receives per candidate the step that last moved it, negative for a removal, 0 for none */
#define ORVLS_SWEEP_HISTORY_USER       15910 /**< real *: the same in the caller's array */
/** @} */
/* END REGRESSION */

/* ---------------------------------------------------------------------- */
/* BEGIN ANOVA ONEWAY */
/** @addtogroup anova
 * @{ */
/**
 * @brief One-way analysis of variance, with the group statistics and
 * simultaneous intervals for the differences of the group means (float
 * form; the double form orvls_d_anova_oneway is the same with double).
 *
 * The groups stand one behind the other in y: the first n[0] values are
 * group 1, the next n[1] group 2, and so on.  A NaN is a missing value; a
 * group whose values are all missing drops out (its mean and standard
 * deviation are NaN, its count 0) and does not count in the degrees of
 * freedom: between groups (groups left) - 1, within groups (values) -
 * (groups left).  The sums run in double over values shifted by the first
 * finite response, with compensated summation in two passes, so that
 * responses sharing many leading digits (1e12 plus a small variation) keep
 * at least 12 digits in the sums of squares and F.  An F of +infinity
 * (no variation within groups) has the probability 1.0.
 *
 * Comparisons: the means of the groups that kept values are sorted
 * ascending (the group number breaks ties), and each pair (i, j), i before
 * j in that order, gets a row of 5 values: the number of group i, the
 * number of group j (groups are numbered from 1), the difference mean_i -
 * mean_j, and its lower and upper limit, difference -/+ half width.  With
 * s2 the error mean square, d its degrees of freedom, k the groups left,
 * m = k(k - 1)/2, c = confidence / 100 and a, b the sizes of the pair:
 *  - Tukey(-Kramer): q * sqrt((s2/a + s2/b) / 2), q the studentized range
 *    quantile at c for k means and d degrees of freedom; c must lie from
 *    0.90 to 0.99.  Above 120 degrees of freedom the range quantile takes
 *    the scale as known, which sets it up to 4.3% below the exact quantile
 *    (at 121 degrees of freedom; 0.5% at 1000).  Up to 120 it is the exact
 *    quantile to within 1e-10 relative.
 *  - Dunn-Sidak: t * sqrt(s2/a + s2/b), t the t quantile at 0.5 c^(1/m) + 0.5
 *  - Bonferroni: t * sqrt(s2/a + s2/b), t the t quantile at 1 - (1 - c)/(2m)
 *  - Scheffe: sqrt((k - 1) F (s2/a + s2/b)), F the F quantile at c with k - 1 and d
 *  - one at a time: t * sqrt(s2/a + s2/b), t the t quantile at 1 - (1 - c)/2
 *
 * The t quantiles are those of orvls_d_t_inverse(), whose accuracy they
 * share (relative error up to 2.1e-4 at few degrees of freedom, smaller as
 * they grow).  The table has room for n_groups (n_groups - 1)/2 rows; rows
 * beyond the pairs of the groups left are NaN.
 *
 * @param n_groups number of groups, at least 1
 * @param n        n_groups group sizes, none negative
 * @param y        the n[0] + ... + n[n_groups - 1] responses, group after group
 * @param ...      options, each a code and its values, ended by 0:
 *  - ORVLS_ANOVA_TABLE (float **), ORVLS_ANOVA_TABLE_USER (float *): the 15
 *    values of the analysis-of-variance table (between-groups, within-groups
 *    and total degrees of freedom; the three sums of squares; the two mean
 *    squares; F; its probability; R-squared and adjusted R-squared in percent;
 *    the error standard deviation; the grand mean; the coefficient of
 *    variation in percent)
 *  - ORVLS_CONFIDENCE (double), ORVLS_CONFIDENCE_ADR (float *): the
 *    confidence of the comparisons in percent, default 95
 *  - ORVLS_GROUP_MEANS, ORVLS_GROUP_STD_DEVS (float **) and their _USER forms
 *    (float *): per group the mean and the standard deviation (NaN with
 *    fewer than 2 values)
 *  - ORVLS_GROUP_COUNTS (int64_t **), ORVLS_GROUP_COUNTS_USER (int64_t *):
 *    per group the number of values that are not missing
 *  - at most one of ORVLS_TUKEY, ORVLS_DUNN_SIDAK, ORVLS_BONFERRONI,
 *    ORVLS_SCHEFFE, ORVLS_ONE_AT_A_TIME (float **) or their _USER forms
 *    (float *): the comparison table, 5 values a row
 * @return the probability of a larger F, or NaN after an error
 *
 * Allocated arrays are freed by the caller.  Errors (type, code: meaning):
 *  - 5, 11001: unknown option code (int 1 = code, int 2 = position)
 *  - 5, 104: a null array or address given to an option (strings: argument, option)
 *  - 5, 603: n_groups below 1 (int 1 = value, int 2 = 1, string 1 = "n_groups")
 *  - 5, 11127: a negative group size (int 1 = zero-based group, int 2 = size,
 *    int 3 = group number)
 *  - 5, 11117: two comparison options (string 1 = "ORVLS_TUKEY,
 *    ORVLS_DUNN_SIDAK, ORVLS_BONFERRONI, ORVLS_SCHEFFE, and ORVLS_ONE_AT_A_TIME")
 *  - 5, 11159: Tukey's confidence outside 90 to 99 (real 1 = confidence)
 *  - 5, 20403: another method's confidence negative or at least 100
 *  - 6, 20404: another method's confidence above 0 and below 50; the
 *    intervals are formed (string 1 = "confidence", real 1 = the value)
 *  - 5, 11220: the comparisons cannot be formed: fewer than 2 groups with
 *    values, or no degrees of freedom within groups (11160 stands beside it)
 *  - 5, 201: allocation failed (int 1 = n_groups, string 1 = "n_groups")
 */
ORVLS_API float orvls_f_anova_oneway(int64_t n_groups, const int64_t *n, const float *y, ...);
/** @copydoc orvls_f_anova_oneway() */
ORVLS_API double orvls_d_anova_oneway(int64_t n_groups, const int64_t *n, const double *y, ...);

/* ORVLS_ANOVA_TABLE 10080, ORVLS_ANOVA_TABLE_USER 10090, ORVLS_CONFIDENCE 10860
   and ORVLS_CONFIDENCE_ADR 18000 serve here too. */
#define ORVLS_GROUP_MEANS              12090 /**< real **: receives the mean of each group */
#define ORVLS_GROUP_MEANS_USER         12100 /**< real *: the same in the caller's array */
#define ORVLS_GROUP_STD_DEVS           12110 /**< real **: receives the standard deviation of each group */
#define ORVLS_GROUP_STD_DEVS_USER      12120 /**< real *: the same in the caller's array */
#define ORVLS_GROUP_COUNTS             12130 /**< int64_t **: receives the number of values of each group that are not missing */
#define ORVLS_GROUP_COUNTS_USER        12140 /**< int64_t *: the same in the caller's array */
#define ORVLS_TUKEY                    15090 /**< orvls_d_anova_oneway(): real **, receives Tukey's intervals; orvls_d_multiple_comparisons(): no value, Tukey's honestly significant difference */
#define ORVLS_TUKEY_USER               16057 /**< real *: Tukey's intervals in the caller's array */
#define ORVLS_DUNN_SIDAK               11280 /**< real **: receives the Dunn-Sidak intervals */
#define ORVLS_DUNN_SIDAK_USER          16058 /**< real *: the same in the caller's array */
#define ORVLS_BONFERRONI               10270 /**< orvls_d_anova_oneway(): real **, receives the Bonferroni intervals; orvls_d_multiple_comparisons(): no value, the Bonferroni range */
#define ORVLS_BONFERRONI_USER          16059 /**< real *: the Bonferroni intervals in the caller's array */
#define ORVLS_SCHEFFE                  15870 /**< real **: receives Scheffe's intervals */
#define ORVLS_SCHEFFE_USER             14440 /**< real *: the same in the caller's array */
#define ORVLS_ONE_AT_A_TIME            13560 /**< real **: receives the intervals of each pair at the confidence alone */
#define ORVLS_ONE_AT_A_TIME_USER       16061 /**< real *: the same in the caller's array */

/**
 * @brief Multiple-range tests of group means: which sets of means, taken in
 * sorted order, do not differ significantly (float form; the double form
 * orvls_d_multiple_comparisons is the same with double).
 *
 * The k = n_groups means are sorted ascending.  For each size r from 2 to
 * k and each run of r consecutive sorted means beginning at the i-th, the
 * run does not differ when its range is at most the critical value of r
 * times std_error; result[i] then becomes r, and for r above 2 result[i + 1]
 * is cleared, as that run lies inside this one.  So result[i] ends as the
 * size of the largest set, beginning at the i-th smallest mean, whose
 * means do not differ, or 0 when that mean differs from the next.  With p
 * = 1 - alpha (exactly 0.99 at alpha 0.01, 0.90 at 0.10) and Q(p; r, df)
 * the studentized range quantile, the critical values are:
 *  - ORVLS_STEP_DOWN_RANGE (default, Newman-Keuls): Q(p; r, df), growing with r
 *  - ORVLS_TUKEY: Q(p; k, df) for every r
 *  - ORVLS_RANGE_METHOD_2 (Duncan's multiple range test): Q(p^(r - 1); r, df),
 *    the protection level of a range of r
 *  - ORVLS_RANGE_METHOD_3 (the Ryan, Einot-Gabriel and Welsch range test):
 *    Q(p^(r/k); r, df) for r below k - 1, Q(p; r, df) for r = k - 1 and k
 *  - ORVLS_BONFERRONI: sqrt(2) t, t the t quantile at 1 - alpha / (k(k - 1))
 * The range quantiles take the scale as known above 120 degrees of freedom.
 *
 * @param n_groups  number of means, at least 2
 * @param means     the n_groups means
 * @param df        degrees of freedom of std_error, at least 1
 * @param std_error the standard error of one mean, not negative
 * @param ...       options, each a code and its values, ended by 0:
 *  - one of ORVLS_STEP_DOWN_RANGE, ORVLS_TUKEY, ORVLS_RANGE_METHOD_2,
 *    ORVLS_RANGE_METHOD_3, ORVLS_BONFERRONI (no value)
 *  - ORVLS_ALPHA (double), ORVLS_ALPHA_ADR (float *): the significance
 *    level, from 0.01 to 0.10 (each end widened by machine epsilon), default 0.01
 *  - ORVLS_RETURN_USER (int64_t *): the caller's array for the result
 * @return n_groups - 1 sizes (free them unless ORVLS_RETURN_USER), or NULL after an error
 *
 * Errors (type, code: meaning):
 *  - 5, 11001: unknown option code (int 1 = code, int 2 = position)
 *  - 5, 104: a null ORVLS_RETURN_USER array
 *  - 5, 11117: two methods (string 1 = "ORVLS_TUKEY, ORVLS_STEP_DOWN_RANGE,
 *    ORVLS_RANGE_METHOD_2, ORVLS_RANGE_METHOD_3, and ORVLS_BONFERRONI")
 *  - 5, 11150: n_groups below 2 (int 1 = n_groups)
 *  - 5, 11151: std_error negative (real 1)
 *  - 5, 11152: df below 1 (real 1)
 *  - 5, 11153: alpha outside 0.01 to 0.10 (real 1)
 *  - 5, 201: allocation failed (int 1 = n_groups, string 1 = "n_groups")
 */
ORVLS_API int64_t *orvls_f_multiple_comparisons(int64_t n_groups, const float *means, float df, float std_error, ...);
/** @copydoc orvls_f_multiple_comparisons() */
ORVLS_API int64_t *orvls_d_multiple_comparisons(int64_t n_groups, const double *means, double df, double std_error,
                                                ...);

#define ORVLS_STEP_DOWN_RANGE          40180 /**< the range of each run of r means against the range quantile of r means (Newman-Keuls); the default */
#define ORVLS_RANGE_METHOD_2           40181 /**< Duncan's multiple range test: the range quantile of r means at (1 - alpha)^(r - 1) */
#define ORVLS_RANGE_METHOD_3           40182 /**< the Ryan, Einot-Gabriel and Welsch range test: the range quantile of r means at (1 - alpha)^(r/k) below r = k - 1 */
#define ORVLS_ALPHA                    10070 /**< double: the significance level, 0.01 to 0.10; default 0.01 */
#define ORVLS_ALPHA_ADR                10075 /**< real *: the same by address */
/** @} */
/* END ANOVA ONEWAY */

/* ---------------------------------------------------------------------- */
/* BEGIN ANALYSIS OF VARIANCE */
/** @addtogroup anova
 * @{ */
/* -- factorial, nested and balanced analyses -- */
/**
 * @brief Analysis of variance of a complete factorial layout (float form;
 * the double form orvls_d_anova_factorial is the same with double).
 *
 * y holds one response per cell of the n_subscripts subscripts, in
 * lexicographic order, the last subscript varying fastest.  By default (and
 * with ORVLS_PURE_ERROR) the last subscript counts replicates: the first
 * n_subscripts - 1 are factors, the model holds their main effects and
 * interactions up to the model order, and the error is the sum of squares
 * within cells (interactions above the order then enter neither the model
 * nor the error, so that the table's total is model + error).  With
 * ORVLS_POOL_INTERACTIONS every subscript is a factor and the interactions
 * above the model order form the error.
 *
 * Missing responses (NaN) are replaced by the values that make the error
 * sum of squares of the model least (Yates' estimates, all at once), each
 * taking one degree of freedom from the error and the total; the means of
 * output B and place 13 of the table are those of the completed data.
 *
 * @param n_subscripts number of subscripts, 2 to 20
 * @param n_levels     the number of levels of each subscript
 * @param y            the responses, the product of n_levels of them
 * @param ...          options, each a code and its values, ended by 0:
 *  - ORVLS_ANOVA_TABLE (float **), ORVLS_ANOVA_TABLE_USER (float *): the 15
 *    values, the model being every effect up to the model order
 *  - ORVLS_FACTORIAL_OUTPUT_A (float **), ORVLS_FACTORIAL_OUTPUT_A_USER (float *):
 *    one row per effect of the model: degrees of freedom, sum of squares,
 *    mean square, F against the error, probability of a larger F.  Effects
 *    come main effects first (factor 1, 2, ...), then the two-factor
 *    interactions (12, 13, ..., 23, ...), then higher orders, each order in
 *    lexicographic order of its factors: C(k,1) + ... + C(k,order) rows for k factors
 *  - ORVLS_FACTORIAL_OUTPUT_B (float **), ORVLS_FACTORIAL_OUTPUT_B_USER (float *):
 *    the grand mean, then for each effect of output A in its order the
 *    means of its cells (the cells of an interaction in lexicographic order
 *    of its factors' levels, the last fastest)
 *  - ORVLS_MODEL_ORDER (int): the highest order of interaction, 1 to
 *    n_subscripts - 1; default n_subscripts - 1
 *  - ORVLS_PURE_ERROR: the last subscript counts replicates (the default)
 *  - ORVLS_POOL_INTERACTIONS: all subscripts are factors; the error pools
 *    the interactions above the model order
 * @return the probability of a larger overall F (place 9 of the table), or
 *         NaN after an error
 *
 * Errors (type, code: meaning):
 *  - 5, 11001: unknown option code (int 1 = code, int 2 = position)
 *  - 5, 104: a null array given to an output option (strings: argument, option)
 *  - 5, 11117: ORVLS_PURE_ERROR and ORVLS_POOL_INTERACTIONS together, or
 *    either twice (string 1 = "ORVLS_PURE_ERROR, ORVLS_POOL_INTERACTIONS")
 *  - 5, 603: n_subscripts below 2 or above 20 (int 1 = value, int 2 = bound)
 *  - 5, 11128: a factor with fewer than 2 levels (int 1 = subscript from 1, int 2 = levels)
 *  - 5, 11129: a replicate subscript below 1 (int 1 = subscript, int 2 = levels)
 *  - 5, 20302: model order outside 1 to n_subscripts - 1 (int 1 = order, int 2 = n_subscripts - 1)
 *  - 5, 65203: missing responses that the model cannot estimate (a cell
 *    without responses under pure error, or too many missing)
 *  - 5, 201: memory (int 1 = number of responses), or a layout whose tables of
 *    means, the product of (levels + 1), would pass 2^32 values (int 1 = that product)
 */
ORVLS_API float orvls_f_anova_factorial(int64_t n_subscripts, const int64_t *n_levels, const float *y, ...);
/** @copydoc orvls_f_anova_factorial() */
ORVLS_API double orvls_d_anova_factorial(int64_t n_subscripts, const int64_t *n_levels, const double *y, ...);
#define ORVLS_FACTORIAL_OUTPUT_A      13120 /**< real **: receives one row per model effect: df, sum of squares, mean square, F, probability of a larger F */
#define ORVLS_FACTORIAL_OUTPUT_A_USER 13130 /**< real *: the same in the caller's array */
#define ORVLS_PURE_ERROR              13980 /**< the last subscript counts replicates; the error is the sum of squares within cells (the default) */
#define ORVLS_FACTORIAL_OUTPUT_B      14970 /**< real **: receives the grand mean, then the cell means of every model effect */
#define ORVLS_FACTORIAL_OUTPUT_B_USER 14980 /**< real *: the same in the caller's array */
#define ORVLS_POOL_INTERACTIONS       15620 /**< every subscript is a factor; the interactions above the model order form the error */
/* ORVLS_ANOVA_TABLE 10080, ORVLS_ANOVA_TABLE_USER 10090 and ORVLS_MODEL_ORDER 13210 serve here too. */

/**
 * @brief Nested (hierarchical) analysis of variance with variance
 * components, for equal or unequal numbers of levels (float form; the
 * double form orvls_d_anova_nested is the same with double).
 *
 * Factor 1 has groups; factor 2 has groups within each group of factor 1;
 * ...; the last factor's levels are the single responses within each group
 * of the factor before it.  Source d (1 to n_factors) is factor d within
 * factor d - 1, its sum of squares the spread of the group means of
 * factor d about their parents' means, weighted by their numbers of
 * responses; the last source is the error.  Every factor is random: the
 * expected mean square of source i is sum over j >= i of k_ij sigma_j^2,
 * with k_ij the sum over the groups w of factor j of n_w^2 (1/n_a - 1/n_b),
 * a and b the groups of factors i and i - 1 holding w, over the degrees of
 * freedom of source i (k_in = 1); with equal numbers these are the
 * products of the numbers of levels below each factor.
 *
 * @param n_factors    number of factors, the responses' level included: at least 2
 * @param equal_option 1: equal numbers; n_levels holds n_factors counts, the
 *                     levels of factor 1, the levels of factor 2 within each
 *                     group of factor 1, ..., the responses within each group
 *                     of factor n_factors - 1.  0: unequal numbers; n_levels
 *                     holds the number of groups of factor 1, then for each
 *                     of them its number of groups of factor 2, then for each
 *                     group of factor 2 in order its number of groups of
 *                     factor 3, and so on down to the numbers of responses
 * @param n_levels     the counts, each at least 1
 * @param y            the responses, group after group in the order of the counts
 * @param ...          options, each a code and its values, ended by 0:
 *  - ORVLS_ANOVA_TABLE (float **), ORVLS_ANOVA_TABLE_USER (float *): the 15
 *    values; the model pools every source but the last, the error is the last
 *  - ORVLS_CONFIDENCE (double), ORVLS_CONFIDENCE_ADR (float *): percent of the
 *    variance-component limits, default 95
 *  - ORVLS_EMS (float **), ORVLS_EMS_USER (float *): n_factors rows of n_factors
 *    coefficients: row i, column j is the coefficient of the component of source j
 *    in the expected mean square of source i (0 below the diagonal)
 *  - ORVLS_NESTED_OPTION (int): kept; it does not change the analysis
 *  - ORVLS_VARIANCE_COMPONENTS (float **), ORVLS_VARIANCE_COMPONENTS_USER (float *):
 *    n_factors rows of 10, one per source (see @ref ORVLS_VARIANCE_COMPONENTS)
 *  - ORVLS_Y_MEANS (float **), ORVLS_Y_MEANS_USER (float *): the grand mean, then
 *    the means of the groups of factor 1, of factor 2 (in the order of the
 *    counts), ..., of factor n_factors - 1
 * @return the probability of a larger overall F (place 9 of the table), or NaN after an error
 *
 * Errors (type, code: meaning):
 *  - 5, 11001: unknown option code (int 1 = code, int 2 = position)
 *  - 5, 104: a null output array (strings "anova_table" and "ORVLS_ANOVA_TABLE_USER",
 *    "ems" and "ORVLS_EMS_USER", "variance_components" and
 *    "ORVLS_VARIANCE_COMPONENTS_USER", "y_means" and "ORVLS_Y_MEANS_USER", or the
 *    allocating options' names)
 *  - 5, 603: n_factors below 2; 5, 602: equal_option neither 0 nor 1
 *  - 5, 20403: confidence below 0 or from 100 on; 6, 20404: confidence above 0 and below 50
 *  - 5, 20303: a count below 1 (int 1 = its place in n_levels from 1, int 2 = the count)
 *  - 5, 20304: a factor without degrees of freedom: each of its parents' groups has one
 *    level of it only (int 1 = the factor)
 *  - 5, 20309: a missing (NaN) response (int 1 = its index)
 *  - 5, 201: memory (int 1 = number of responses)
 */
ORVLS_API float orvls_f_anova_nested(int64_t n_factors, int64_t equal_option, const int64_t *n_levels, const float *y,
                                     ...);
/** @copydoc orvls_f_anova_nested() */
ORVLS_API double orvls_d_anova_nested(int64_t n_factors, int64_t equal_option, const int64_t *n_levels,
                                      const double *y, ...);
#define ORVLS_EMS                       11350 /**< real **: receives the coefficients of the expected mean squares, one row per source and one column per source's term */
#define ORVLS_EMS_USER                  11360 /**< real *: the same in the caller's array */
/**
 * real **: receives one row of 10 values per source (the error last):
 * 0 degrees of freedom, 1 sum of squares, 2 mean square, 3 F, 4 its
 * probability, 5 the denominator's degrees of freedom, 6 the variance
 * component's estimate, 7 its percent of the sum of the components,
 * 8 and 9 its lower and upper confidence limits.
 *
 * F is the source's mean square over the mean square whose expectation is
 * the source's own without its term; where no single mean square has it,
 * over the combination of mean squares that has it, with Satterthwaite's
 * degrees of freedom (column 5).  F, its probability and column 5 are NaN
 * for the error and where the denominator is not positive.  Estimates are
 * the moment estimates (the expected mean squares solved for the
 * components) and are kept when negative; in the percentages a negative
 * estimate counts as 0.  Limits are Satterthwaite's chi-squared limits
 * nu L / chi2(nu, (1 + c) / 2) and nu L / chi2(nu, (1 - c) / 2) of the
 * estimate L as a combination of mean squares, nu = L^2 / sum (a_t
 * MS_t)^2 / df_t; exact for the error; NaN when L is not positive or nu
 * is below 0.5.
 * Columns 6 to 9 are NaN for a fixed effect.
 */
#define ORVLS_VARIANCE_COMPONENTS       15310
#define ORVLS_VARIANCE_COMPONENTS_USER  15320 /**< real *: the same in the caller's array */
#define ORVLS_Y_MEANS                   30033 /**< real **: receives the grand mean, then the means of the groups or cells, as each routine tells */
#define ORVLS_Y_MEANS_USER              30034 /**< real *: the same in the caller's array */
/* ORVLS_ANOVA_TABLE 10080, ORVLS_ANOVA_TABLE_USER 10090, ORVLS_CONFIDENCE 10860,
   ORVLS_CONFIDENCE_ADR 18000 and ORVLS_NESTED_OPTION 13440 serve here too. */

/**
 * @brief Balanced analysis of variance of a crossed layout with fixed and
 * random factors, nested effects, expected mean squares and variance
 * components (float form; the double form orvls_d_anova_balanced is the same
 * with double).
 *
 * y holds one response per cell of the n_factors factors, in lexicographic
 * order, the last factor varying fastest (replicates are one more factor,
 * left out of the model).  Each model effect names its factors; it pools
 * every crossed main effect or interaction of its factors that no smaller
 * effect of the model holds, so that B within A is the effect (A, B) of a
 * model without the effect of B alone, and C within A and B is (A, B, C)
 * in a model with A, B and AB.  What no model effect holds is the error.
 *
 * An effect is random when one of its factors is random.  The expected
 * mean square of a source holds the error variance (coefficient 1), its own
 * term, and the component of each random effect e whose factors include
 * the source's, with coefficient the product of the levels of the factors
 * not in e.  In the restricted model (the default) a random effect does not
 * reach a source that lacks one of its fixed factors other than those it is
 * nested in (its effects sum to zero over such a factor); in the
 * unrestricted model it does.  A fixed effect's term is its sum of squared
 * effects over its degrees of freedom, with coefficient the product of the
 * levels of the factors not in it.  The tests and components follow the
 * rules of @ref ORVLS_VARIANCE_COMPONENTS.
 *
 * @param n_factors            number of factors, 1 to 20
 * @param n_levels             the levels of each factor, each at least 2
 * @param y                    the responses, the product of n_levels of them
 * @param n_random             number of random factors, 0 to n_factors
 * @param index_random_factor  the random factors, numbered from 1
 * @param n_model_effects      number of effects in the model, at least 1
 * @param n_factors_per_effect the number of factors of each effect
 * @param index_model_factors  the factors of each effect in turn, numbered from 1
 * @param ...                  options, each a code and its values, ended by 0:
 *  - the options of orvls_f_anova_nested(); the rows of the expected mean squares
 *    and of the components are the model effects in their order, then the error;
 *    ORVLS_Y_MEANS gives the grand mean, then the cell means of each model
 *    effect in its order (cells in lexicographic order of the effect's factors' levels)
 *  - ORVLS_RESTRICTED_MODEL (int): 1 the restricted model (default), 0 the unrestricted
 * @return the probability of a larger overall F (model effects pooled
 *         against the error), or NaN after an error
 *
 * Errors (type, code: meaning):
 *  - 5, 11001: unknown option code (int 1 = code, int 2 = position)
 *  - 5, 104: a null output array (strings as for orvls_f_anova_nested())
 *  - 5, 603: n_factors below 1 or above 20, n_model_effects below 1
 *  - 5, 602: n_random outside 0 to n_factors, or an effect with a number of
 *    factors outside 1 to n_factors
 *  - 5, 11128: a factor with fewer than 2 levels (int 1 = factor, int 2 = levels)
 *  - 5, 20403 / 6, 20404: the confidence, as for orvls_f_anova_nested()
 *  - 5, 20305: a factor number outside 1 to n_factors (int 1 = place in its list
 *    from 1, int 2 = the number, int 3 = n_factors, string 1 = the list)
 *  - 5, 20306: a factor named twice in the random list or in one effect
 *    (int 1 = place, int 2 = factor, string 1 = the list)
 *  - 5, 20307: two effects with the same factors (int 1, int 2 = the effects from 1)
 *  - 5, 20308: two effects hold a common part that no smaller effect of the model
 *    holds (int 1, int 2 = the effects from 1): add the effect of their common factors
 *  - 5, 20309: a missing (NaN) response (int 1 = its index)
 *  - 5, 201: memory, or a layout too large, as for orvls_f_anova_factorial()
 */
ORVLS_API float orvls_f_anova_balanced(int64_t n_factors, const int64_t *n_levels, const float *y, int64_t n_random,
                                       const int64_t *index_random_factor, int64_t n_model_effects,
                                       const int64_t *n_factors_per_effect, const int64_t *index_model_factors, ...);
/** @copydoc orvls_f_anova_balanced() */
ORVLS_API double orvls_d_anova_balanced(int64_t n_factors, const int64_t *n_levels, const double *y,
                                        int64_t n_random, const int64_t *index_random_factor,
                                        int64_t n_model_effects, const int64_t *n_factors_per_effect,
                                        const int64_t *index_model_factors, ...);
#define ORVLS_RESTRICTED_MODEL 20100 /**< int: 1 the restricted mixed model (default), 0 the unrestricted */
/* -- end of the factorial, nested and balanced analyses -- */
/** @} */
/* END ANALYSIS OF VARIANCE */

/* ---------------------------------------------------------------------- */
/* BEGIN DESIGNED EXPERIMENTS */
/** @addtogroup designs
 * @{ */
/* Options shared by every member of the family. */
#define ORVLS_NESTED_OPTION   13440 /**< int: a value kept for the caller; it does not change the analysis */
#define ORVLS_DESIGN_OPTION_A 40102 /**< int: 1 treats locations as random, so that treatment sources are tested against their interaction with location; 0 (the default) tests them against the pooled error within locations */
#define ORVLS_DESIGN_OPTION_B 20530 /**< char ***: receives the labels of the rows, one allocated block of strings ended by a null pointer, which the caller frees at once with orvls_free_allocated_memory() */

/* -- field designs: completely randomised and randomised complete block factorials, Latin squares, lattices, Yates' estimates, homogeneity of variances -- */

/**
 * @brief Factorial treatments in a completely randomised design, possibly
 * repeated at several locations (float form; orvls_d_crd_factorial is the
 * same with double).
 *
 * y holds one response per plot in lexicographic order of location (slowest),
 * factor 1, ..., factor n_factors, replicate (fastest): n_locations x
 * n_levels[0] x ... x n_replicates values.  A NaN is a missing plot; it is
 * replaced by its Yates' estimate (the mean of the other replicates of its
 * cell) and takes one degree of freedom from "Error" and "Total".
 *
 * Rows of the returned n_rows x 5 table (df, SS, MS, F, p), in order:
 *  - "Location" (only with several locations), tested against "Error";
 *  - one row per factor effect, main effects first, then the interactions of
 *    two factors and so on, each order in lexicographic order of its factors,
 *    labelled "[1]", "[2]", "[1]x[2]", "[1]x[2]x[3]", ...; these are effects
 *    pooled over locations, tested against "Error", or against "Residual"
 *    when ORVLS_DESIGN_OPTION_A declares locations random;
 *  - "Error": the pooled error within locations, replicates within cells,
 *    n_locations x (treatments) x (n_replicates - 1) df less the missing;
 *  - "Residual" (only with several locations): the location x treatment
 *    interactions pooled, (n_locations - 1) x (treatments - 1) df, tested
 *    against "Error";
 *  - "Total": the corrected total.
 * n_rows is 2^n_factors + 1 with one location and 2^n_factors + 3 with
 * several.
 *
 * @param n_replicates number of replicates of each treatment at each location, at least 2
 * @param n_locations  number of locations, at least 1
 * @param n_factors    number of factors, 2 to 10
 * @param n_levels     n_factors numbers of levels, each at least 2
 * @param y            the responses, not modified
 * @param ...          options, each a code and its values, ended by 0:
 *                     ORVLS_RETURN_USER (real *: the caller's n_rows x 5
 *                     array, returned), ORVLS_NESTED_OPTION,
 *                     ORVLS_DESIGN_OPTION_A, ORVLS_DESIGN_OPTION_B
 * @return the table (allocated unless ORVLS_RETURN_USER), or null after an error
 *
 * Errors (type, code: meaning):
 *  - 5, 11001: unknown option code (int 1 = code, int 2 = position; the
 *    first option is at position 6)
 *  - 5, 104: a null pointer given to ORVLS_RETURN_USER or ORVLS_DESIGN_OPTION_B
 *  - 5, 65200: n_replicates below 2 (int 1)
 *  - 5, 65201: n_locations below 1 (int 1)
 *  - 5, 65202: n_factors below 2 (int 1)
 *  - 5, 601: n_factors above 10
 *  - 5, 603: a number of levels below 2
 *  - 5, 65203: too many missing plots to estimate them (a cell with no
 *    response left): "Fatal Error: Insufficient data to estimate missing values."
 *  - 5, 201: memory (string 1 = "n_replicates")
 */
ORVLS_API float *orvls_f_crd_factorial(int64_t n_replicates, int64_t n_locations, int64_t n_factors,
                                       const int64_t *n_levels, const float *y, ...);
/** @copydoc orvls_f_crd_factorial() */
ORVLS_API double *orvls_d_crd_factorial(int64_t n_replicates, int64_t n_locations, int64_t n_factors,
                                        const int64_t *n_levels, const double *y, ...);

/**
 * @brief Factorial treatments in randomised complete blocks, possibly
 * repeated at several locations (float form; orvls_d_rcbd_factorial is the
 * same with double).
 *
 * y holds one response per plot in lexicographic order of location (slowest),
 * block, factor 1, ..., factor n_factors (fastest): every block holds every
 * treatment once.  A NaN is a missing plot; it is replaced by its Yates'
 * estimate for the model of locations, blocks within locations, treatments
 * and location x treatment interactions, and takes one degree of freedom
 * from "Error" and "Total".
 *
 * Rows of the returned table (df, SS, MS, F, p), in order:
 *  - "Location" (only with several locations), tested against "Blocks(Loc.)";
 *  - "Blocks(Loc.)" (several locations) or "Blocks" (one), blocks within
 *    locations, tested against "Error";
 *  - the factor effects as in orvls_f_crd_factorial(), tested against
 *    "Error", or against "Residual" when ORVLS_DESIGN_OPTION_A declares
 *    locations random;
 *  - "Error": the block x treatment interactions within locations, pooled,
 *    n_locations x (n_blocks - 1) x (treatments - 1) df less the missing;
 *  - "Residual" (only with several locations): the location x treatment
 *    interactions pooled, tested against "Error";
 *  - "Total".
 * n_rows is 2^n_factors + 2 with one location and 2^n_factors + 4 with
 * several.
 *
 * @param n_blocks    number of blocks at each location, at least 2
 * @param n_locations number of locations, at least 1
 * @param n_factors   number of factors, 2 to 10
 * @param n_levels    n_factors numbers of levels, each at least 2
 * @param y           the responses, not modified
 * @param ...         options as for orvls_f_crd_factorial()
 * @return the table, or null after an error
 *
 * Errors: as for orvls_f_crd_factorial(), with n_blocks in place of
 * n_replicates (65200, and string 1 of 201); 65203 when a missing plot
 * cannot be estimated.
 */
ORVLS_API float *orvls_f_rcbd_factorial(int64_t n_blocks, int64_t n_locations, int64_t n_factors,
                                        const int64_t *n_levels, const float *y, ...);
/** @copydoc orvls_f_rcbd_factorial() */
ORVLS_API double *orvls_d_rcbd_factorial(int64_t n_blocks, int64_t n_locations, int64_t n_factors,
                                         const int64_t *n_levels, const double *y, ...);

/**
 * @brief Latin squares, possibly one at each of several locations (float
 * form; orvls_d_latin_square is the same with double).
 *
 * Each location holds an n_treatments x n_treatments square; plot i (from 0)
 * lies at location i / n_treatments^2, in row row[i], column column[i]
 * and with treatment treatment[i], all three numbered from 1.  Every
 * position of a square must occur once and every treatment once in each
 * row and each column of its square.  A NaN in y is a missing plot; it is
 * replaced by its Yates' estimate for the model of locations, rows and
 * columns within locations, treatments and location x treatment
 * interactions, and takes one degree of freedom from the error and the total.
 *
 * Rows of the returned table (df, SS, MS, F, p), in order; the two location
 * rows only with several locations:
 *  - "Locations .................", tested against the error;
 *  - "Rows within Locations .....", tested against the error;
 *  - "Columns within Locations ..", tested against the error;
 *  - "Treatments ................", tested against the error, or against
 *    the location x treatment row when ORVLS_DESIGN_OPTION_A declares
 *    locations random;
 *  - "Locations x Treatments ....", tested against the error;
 *  - "Error within Locations ....", n_locations (n_treatments - 1)
 *    (n_treatments - 2) df less the missing;
 *  - "Corrected Total ...........".
 *
 * @param n_treatments size of each square, at least 2 (a square of 2 has no
 *                     error and no tests)
 * @param n_locations  number of locations (squares), at least 1
 * @param row          n_locations n_treatments^2 row numbers
 * @param column       the column numbers of the same plots
 * @param treatment    the treatment numbers of the same plots
 * @param y            the responses, not modified
 * @param ...          options as for orvls_f_crd_factorial()
 * @return the table, or null after an error
 *
 * Errors (type, code: meaning):
 *  - 5, 11001 and 104 as for orvls_f_crd_factorial() (the first option is at
 *    position 7)
 *  - 5, 65200: n_treatments below 2 (int 1)
 *  - 5, 65201: n_locations below 1 (int 1)
 *  - 5, 65205: "Data Input Error Encountered": a number outside 1 to
 *    n_treatments, a position of a square given twice, or a treatment twice
 *    in a row or a column (int 1 = the plot, from 1); or missing plots that
 *    cannot be estimated
 *  - 5, 201: memory (string 1 = "n_treatments")
 */
ORVLS_API float *orvls_f_latin_square(int64_t n_treatments, int64_t n_locations, const int64_t *row,
                                      const int64_t *column, const int64_t *treatment, const float *y, ...);
/** @copydoc orvls_f_latin_square() */
ORVLS_API double *orvls_d_latin_square(int64_t n_treatments, int64_t n_locations, const int64_t *row,
                                       const int64_t *column, const int64_t *treatment, const double *y, ...);

/**
 * @brief Square lattices: block_size^2 treatments in incomplete blocks of
 * block_size plots, every treatment once in each replicate, possibly
 * repeated at several locations; the intra-block analysis (float form;
 * orvls_d_lattice is the same with double).
 *
 * Plots come in lexicographic order of location (slowest), replicate,
 * block, plot (fastest); treatment[i] (from 1) is the treatment of plot i
 * and y[i] its response.  The model is locations, replicates within
 * locations, blocks within replicates and treatments (common to all
 * locations; a location x treatment interaction stays in the error).  The
 * blocks must link all treatments, so that every treatment contrast is
 * estimable within blocks, as the replicates of a square lattice do when
 * they group the treatments differently.  A NaN in y is a missing plot; it
 * is replaced by its least-squares estimate for this model and takes one
 * degree of freedom from the error and the total.
 *
 * Rows of the returned table (df, SS, MS, F, p), in order; "Locations
 * ................." and "Replicates within Locations" with several
 * locations, "Replicates ................" with one:
 *  - locations, tested against the replicates within locations;
 *  - replicates (within locations), tested against the error;
 *  - "Treatments (unadjusted) ...", ignoring blocks; not tested;
 *  - "Treatments (adjusted) .....", eliminating blocks, tested against the
 *    error; it is an alternative to the unadjusted row, and not part of
 *    the sum that makes the total;
 *  - "Blocks (adjusted) .........", blocks within replicates eliminating
 *    treatments, tested against the error;
 *  - "Intra-Block Error .........";
 *  - "Corrected Total ...........".
 * ORVLS_DESIGN_OPTION_A has no effect: there is no interaction row.
 *
 * @param n_replicates number of replicates at each location, at least 2
 * @param n_locations  number of locations, at least 1
 * @param block_size   plots in a block, at least 2
 * @param treatment    n_locations n_replicates block_size^2 treatment numbers
 * @param y            the responses, not modified
 * @param ...          options as for orvls_f_crd_factorial()
 * @return the table, or null after an error
 *
 * Errors (type, code: meaning):
 *  - 5, 11001 and 104 as for orvls_f_crd_factorial()
 *  - 5, 65200: n_replicates below 2 (int 1)
 *  - 5, 65201: n_locations below 1 (int 1)
 *  - 5, 65202: block_size below 2 (int 1)
 *  - 5, 65205: "Data Input Error Encountered": a treatment number outside
 *    1 to block_size^2, a treatment missing from a replicate (int 1 = the
 *    plot, from 1, where one is to blame), blocks that leave treatments
 *    unlinked, or missing plots that cannot be estimated
 *  - 5, 201: memory (string 1 = "block_size")
 */
ORVLS_API float *orvls_f_lattice(int64_t n_replicates, int64_t n_locations, int64_t block_size,
                                 const int64_t *treatment, const float *y, ...);
/** @copydoc orvls_f_lattice() */
ORVLS_API double *orvls_d_lattice(int64_t n_replicates, int64_t n_locations, int64_t block_size,
                                  const int64_t *treatment, const double *y, ...);

/**
 * @brief Yates' estimates of the missing plots of randomised complete
 * blocks, possibly at several locations (float form; orvls_d_yates is the
 * same with double).
 *
 * y holds n_locations x n_blocks x n_treatments responses, location slowest
 * and treatment fastest; NaN marks a missing plot.  The result is y with
 * every missing plot replaced by the value that makes the error sum of
 * squares of the model (locations, blocks within locations, treatments,
 * location x treatment) least, all found together.  With one location and
 * one missing plot this is (n_treatments T + n_blocks B - G) /
 * ((n_treatments - 1)(n_blocks - 1)), T and B the totals of its treatment and
 * block and G the grand total.  An analysis of the completed data should
 * take one degree of freedom per estimate from the error and the total.
 *
 * @param n_blocks     number of blocks at each location, at least 2
 * @param n_locations  number of locations, at least 1
 * @param n_treatments number of treatments, at least 2
 * @param y            the responses, not modified
 * @param ...          options, each a code and its values, ended by 0:
 *                     ORVLS_RETURN_USER (real *: the caller's array of the
 *                     size of y, which may be y itself; returned)
 * @return the completed responses (allocated unless ORVLS_RETURN_USER), or
 *         null after an error
 *
 * Errors (type, code: meaning):
 *  - 5, 11001: unknown option code (the first option is at position 5)
 *  - 5, 104: a null pointer given to ORVLS_RETURN_USER
 *  - 5, 65200, 65201, 65202: n_blocks below 2, n_locations below 1,
 *    n_treatments below 2 (int 1 = the count)
 *  - 5, 65203: too many missing plots (a block or a treatment of a location
 *    left with no response): "Fatal Error: Insufficient data to estimate
 *    missing values."
 *  - 5, 201: memory (string 1 = "n_blocks")
 */
ORVLS_API float *orvls_f_yates(int64_t n_blocks, int64_t n_locations, int64_t n_treatments, const float *y, ...);
/** @copydoc orvls_f_yates() */
ORVLS_API double *orvls_d_yates(int64_t n_blocks, int64_t n_locations, int64_t n_treatments, const double *y,
                                ...);

/**
 * @brief Bartlett's test that the error variances of several locations are
 * equal, from their error mean squares (float form; orvls_d_homogeneity is
 * the same with double).
 *
 * With f_i the degrees of freedom and s_i the error mean square of location
 * i, F their sum and s the pooled mean square sum(f_i s_i) / F, the
 * statistic is (F log s - sum(f_i log s_i)) / c with c = 1 + (sum(1 / f_i)
 * - 1 / F) / (3 (n_locations - 1)); under equal variances it is close to
 * chi-squared with n_locations - 1 degrees of freedom.  A zero mean square
 * beside positive ones gives an infinite statistic and probability 0; all
 * of them zero leave both NaN.
 *
 * @param n_locations number of locations, at least 2
 * @param df          n_locations error degrees of freedom, each above 0
 * @param ms          n_locations error mean squares, each at least 0
 * @param ...         options, each a code and its values, ended by 0:
 *                    ORVLS_HOMOGENEITY_STATISTIC
 * @return the probability of a larger statistic, or NaN after an error
 *
 * Errors (type, code: meaning):
 *  - 5, 11001: unknown option code (the first option is at position 4)
 *  - 5, 104: a null pointer given to ORVLS_HOMOGENEITY_STATISTIC
 *  - 5, 65200: n_locations below 2 (int 1)
 *  - 5, 65205: "Data Input Error Encountered": degrees of freedom not above 0
 *    or a mean square below 0, or either NaN (int 1 = the location, from 1)
 */
ORVLS_API float orvls_f_homogeneity(int64_t n_locations, const float *df, const float *ms, ...);
/** @copydoc orvls_f_homogeneity() */
ORVLS_API double orvls_d_homogeneity(int64_t n_locations, const double *df, const double *ms, ...);
#define ORVLS_HOMOGENEITY_STATISTIC 40110 /**< real *: receives Bartlett's statistic, chi-squared with n_locations - 1 degrees of freedom */

/* -- plot designs: split plot, split-split plot, strip plot, strip-split plot -- */

/**
 * @brief Split-plot design, possibly repeated at several locations (float
 * form; orvls_d_split_plot is the same with double).
 *
 * At each location n_blocks blocks are divided into n_whole whole plots,
 * which carry the levels of the whole-plot factor, and each whole plot into
 * n_split split plots, which carry the levels of the split-plot factor.  y
 * holds one response per split plot in lexicographic order: location, then
 * block, then whole plot, then split plot varying fastest.  (The counts
 * come blocks first, then locations, then the treatment factors from the
 * largest plot to the smallest; only the data put location first.)
 *
 * The result is the table of the family (see @ref designs), always these
 * 11 rows, whatever the number of locations:
 *  0 "Location", 1 "Block Within Location", 2 "Whole-Plot",
 *  3 "Location x Whole-Plot", 4 "Whole-Plot Error", 5 "Split-Plot",
 *  6 "Location x Split-Plot", 7 "Whole-Plot x Split-Plot",
 *  8 "Location x Whole-Plot x Split-Plot", 9 "Split-Plot Error",
 *  10 "Corrected Total".
 * With one location the location rows have 0 degrees of freedom and NaN
 * for their mean square, F and probability.  Blocks within locations pool
 * the block and location-by-block effects; the whole-plot error pools the
 * interactions of the blocks (within locations) with the whole-plot
 * factor; the split-plot error those with the split-plot factor and with
 * both factors.  Location is tested against the blocks within locations;
 * every other effect against the error of its stratum, except that with
 * random locations (ORVLS_DESIGN_OPTION_A 1) each treatment effect is
 * tested against its interaction with location (which, with one location,
 * leaves it untested).  The blocks are not tested.
 *
 * Missing responses (NaN) are estimated from the model of every effect but
 * the split-plot error; each takes one degree of freedom from the
 * split-plot error and the total.  y is not modified.
 *
 * Options: @ref ORVLS_RETURN_USER (an array of 11 x 5 reals),
 * @ref ORVLS_NESTED_OPTION, @ref ORVLS_DESIGN_OPTION_A,
 * @ref ORVLS_DESIGN_OPTION_B (the 11 labels above).
 *
 * Errors, type 5 (no table):
 *  - 65200: n_blocks below 2 (int 1 = n_blocks)
 *  - 65201: n_locations below 1 (int 1 = n_locations)
 *  - 65202: n_whole below 2 (int 1 = n_whole)
 *  - 603: n_split below 2 (string 1 = "n_split", int 1 = n_split)
 *  - 65204: the missing responses cannot be estimated (too many, or a
 *    whole plot without any response)
 *  - 201: no memory for the table or the labels (string 1 = "n_whole",
 *    int 1 = n_whole) or for the work arrays (string 1 = "n_split", int 1 =
 *    n_split)
 *  - 11001: unknown option (int 1 = code, int 2 = position)
 *  - 104: a null pointer given to ORVLS_RETURN_USER or ORVLS_DESIGN_OPTION_B
 *
 * @param n_blocks    blocks at each location, at least 2
 * @param n_locations locations, at least 1
 * @param n_whole     levels of the whole-plot factor, at least 2
 * @param n_split     levels of the split-plot factor, at least 2
 * @param y           n_locations x n_blocks x n_whole x n_split responses
 * @param ...         options, each a code and its values, ended by 0
 * @return the 11 x 5 table, allocated (free it with
 *         orvls_free_allocated_memory()) or the ORVLS_RETURN_USER array;
 *         NULL after an error
 */
ORVLS_API float *orvls_f_split_plot(int64_t n_blocks, int64_t n_locations, int64_t n_whole, int64_t n_split,
                                    const float *y, ...);
/** @copydoc orvls_f_split_plot() */
ORVLS_API double *orvls_d_split_plot(int64_t n_blocks, int64_t n_locations, int64_t n_whole, int64_t n_split,
                                     const double *y, ...);

/**
 * @brief Split-split-plot design, possibly repeated at several locations
 * (float form; orvls_d_split_split_plot is the same with double).
 *
 * As orvls_f_split_plot(), with each split plot divided again into n_sub
 * sub plots carrying the levels of a third factor.  y holds one response
 * per sub plot: location, block, whole plot, split plot, then sub plot
 * varying fastest.  The table has always these 20 rows:
 *  0 "Location", 1 "Blocks Within Location", 2 "Whole-Plot",
 *  3 "Location x Whole-Plot", 4 "Whole-Plot Error", 5 "Split-Plot",
 *  6 "Location x Split-Plot", 7 "Whole-Plot x Split-Plot",
 *  8 "Location x Whole-Plot x Split-Plot", 9 "Split-Plot Error",
 *  10 "Sub-Plot", 11 "Location x Sub-Plot", 12 "Whole-Plot x Sub-Plot",
 *  13 "Location x Whole-Plot x Sub-Plot", 14 "Split-plot x Sub-Plot",
 *  15 "Location x Split-Plot x Sub-Plot",
 *  16 "Whole_plot x Split-Plot x Sub-Plot",
 *  17 "Location x Whole-Plot x Split-Plot x Sub-Plot", 18 "Sub-Plot Error",
 *  19 "Corrected Total".
 * The sub-plot error pools the interactions of the blocks (within
 * locations) with every treatment effect that holds the sub-plot factor;
 * the sources of rows 10 to 17 are tested against it (or, with random
 * locations, the treatment effects against their interaction with
 * location).  Missing responses are estimated from every effect but the
 * sub-plot error, whose degrees of freedom they take.
 *
 * Options as for orvls_f_split_plot() (a table of 20 x 5).  Errors as for
 * orvls_f_split_plot(), with n_whole (65202), n_split and n_sub (603, each
 * at least 2); 201 names "n_whole" for the table and labels, "n_sub" for
 * the work arrays.
 *
 * @param n_blocks    blocks at each location, at least 2
 * @param n_locations locations, at least 1
 * @param n_whole     levels of the whole-plot factor, at least 2
 * @param n_split     levels of the split-plot factor, at least 2
 * @param n_sub       levels of the sub-plot factor, at least 2
 * @param y           n_locations x n_blocks x n_whole x n_split x n_sub responses
 * @param ...         options, each a code and its values, ended by 0
 * @return the 20 x 5 table, allocated or the ORVLS_RETURN_USER array; NULL
 *         after an error
 */
ORVLS_API float *orvls_f_split_split_plot(int64_t n_blocks, int64_t n_locations, int64_t n_whole, int64_t n_split,
                                          int64_t n_sub, const float *y, ...);
/** @copydoc orvls_f_split_split_plot() */
ORVLS_API double *orvls_d_split_split_plot(int64_t n_blocks, int64_t n_locations, int64_t n_whole,
                                           int64_t n_split, int64_t n_sub, const double *y, ...);

/**
 * @brief Strip-plot design, possibly repeated at several locations (float
 * form; orvls_d_strip_plot is the same with double).
 *
 * Each block is crossed by n_strip_a horizontal strips, carrying the levels
 * of factor A, and n_strip_b vertical strips, carrying the levels of factor
 * B; a response is taken where two strips meet.  y holds them in order
 * location, block, A strip, then B strip varying fastest.  The table has
 * always these 12 rows:
 *  0 "Location", 1 "Block Within Location", 2 "Strip-Plot A",
 *  3 "Location x Strip-Plot A", 4 "Strip-Plot A Error", 5 "Strip-Plot B",
 *  6 "Location x Strip-Plot B", 7 "Strip-Plot B Error",
 *  8 "Strip-Plot A x Strip-Plot B", 9 "Location x Strip-Plot A x Strip-Plot B",
 *  10 "Strip-Plot A x Strip-Plot B Error", 11 "Corrected Total".
 * Each error pools the interactions of the blocks (within locations) with
 * A, with B, and with A x B; each effect is tested against the error of
 * its own stratum (or, with random locations, a treatment effect against
 * its interaction with location).  Missing responses are estimated from
 * every effect but the A x B error, whose degrees of freedom they take.
 *
 * Options as for orvls_f_split_plot() (a table of 12 x 5).  Errors as for
 * orvls_f_split_plot(), with n_strip_a (65202) and n_strip_b (603, at least
 * 2); 201 names "n_strip_a" for the table and labels, "n_strip_b" for the
 * work arrays.
 *
 * @param n_blocks    blocks at each location, at least 2
 * @param n_locations locations, at least 1
 * @param n_strip_a   levels of factor A, at least 2
 * @param n_strip_b   levels of factor B, at least 2
 * @param y           n_locations x n_blocks x n_strip_a x n_strip_b responses
 * @param ...         options, each a code and its values, ended by 0
 * @return the 12 x 5 table, allocated or the ORVLS_RETURN_USER array; NULL
 *         after an error
 */
ORVLS_API float *orvls_f_strip_plot(int64_t n_blocks, int64_t n_locations, int64_t n_strip_a, int64_t n_strip_b,
                                    const float *y, ...);
/** @copydoc orvls_f_strip_plot() */
ORVLS_API double *orvls_d_strip_plot(int64_t n_blocks, int64_t n_locations, int64_t n_strip_a, int64_t n_strip_b,
                                     const double *y, ...);

/**
 * @brief Strip-split-plot design, possibly repeated at several locations
 * (float form; orvls_d_strip_split_plot is the same with double).
 *
 * A strip plot (see orvls_f_strip_plot()) whose A strips are each divided
 * lengthwise into n_split parts carrying the levels of a split-plot factor,
 * so that every crossing of an A strip and a B strip holds n_split plots.
 * y holds one response per plot: location, block, A strip, B strip, then
 * split plot varying fastest.  The table has always these 23 rows, whose
 * labels are padded with dots to one width:
 *  0 Location, 1 Blocks, 2 Blocks Within Location, 3 Strip-Plot A,
 *  4 Location x A, 5 Strip-Plot A Error, 6 Split-Plot, 7 Split-Plot x A,
 *  8 Location x Split-Plot, 9 Split-Plot Error, 10 Location x Split-Plot x A,
 *  11 Strip-Plot B, 12 Location x B, 13 Strip-Plot B Error, 14 A x B,
 *  15 Location x A x B, 16 A x B Error, 17 Split-Plot x B,
 *  18 Split-Plot x A x B, 19 Location x Split-Plot x B,
 *  20 Location x Split-Plot x A x B, 21 Split-Plot x A x B Error,
 *  22 Corrected Total.
 * With one location the blocks are row 1 and row 2 has 0 degrees of
 * freedom; with several, row 1 has 0 degrees of freedom and row 2 pools
 * the blocks within locations.  The split-plot error pools the
 * interactions of the blocks with the split-plot factor and with it and A,
 * and tests rows 6 to 8 and 10; the last error pools those with the
 * split-plot factor and B, and with all three, and tests rows 17 to 20.
 * Missing responses are estimated from every effect but that last error,
 * whose degrees of freedom they take.
 *
 * Options as for orvls_f_split_plot() (a table of 23 x 5).  Errors as for
 * orvls_f_split_plot(), with n_strip_a (65202), n_strip_b and n_split
 * (603, each at least 2); 201 names "n_strip_a" for the table and labels,
 * "n_split" for the work arrays.
 *
 * @param n_blocks    blocks at each location, at least 2
 * @param n_locations locations, at least 1
 * @param n_strip_a   levels of factor A, at least 2
 * @param n_strip_b   levels of factor B, at least 2
 * @param n_split     levels of the split-plot factor, at least 2
 * @param y           n_locations x n_blocks x n_strip_a x n_strip_b x n_split responses
 * @param ...         options, each a code and its values, ended by 0
 * @return the 23 x 5 table, allocated or the ORVLS_RETURN_USER array; NULL
 *         after an error
 */
ORVLS_API float *orvls_f_strip_split_plot(int64_t n_blocks, int64_t n_locations, int64_t n_strip_a,
                                          int64_t n_strip_b, int64_t n_split, const float *y, ...);
/** @copydoc orvls_f_strip_split_plot() */
ORVLS_API double *orvls_d_strip_split_plot(int64_t n_blocks, int64_t n_locations, int64_t n_strip_a,
                                           int64_t n_strip_b, int64_t n_split, const double *y, ...);

/** @} */
/* END DESIGNED EXPERIMENTS */

/* ---------------------------------------------------------------------- */
/* BEGIN TIME SERIES */
/** @addtogroup timeseries
 * @{ */
/**
 * @brief One step of a Kalman filter on a state that the caller holds
 * (float form; the double form orvls_d_kalman is the same with double).
 *
 * A call does a measurement update when ORVLS_MEASUREMENT gives
 * observations, then the time update.  To filter a series, call once per
 * time point with the same b, state_cov, n_rank, ss and log_det, the three
 * sums set to 0 before the first call; a missing observation is a call
 * without ORVLS_MEASUREMENT (or with ny 0).  state_cov, q and r are
 * covariances divided by one unknown scale, which is why the likelihood
 * comes as sums for the caller to combine: with N the final n_rank, the
 * scale's estimate is ss / N and minus twice the log likelihood is
 * N log(2 pi ss / N) + N + log_det, or N log(2 pi) + ss + log_det with the
 * scale known to be 1.
 *
 * Measurement update, with F = z state_cov z' + r = R'R, R the upper
 * triangular Cholesky factor with a zero row at each observation that
 * depends on the ones before it within the tolerance: v = y - z b;
 * n_rank += rank of F; log_det += log of the generalised determinant of F
 * (the product of the squared diagonal of R at full rank); with X solving
 * R'X = z state_cov and e solving R'e = v (components at dependent
 * observations 0), state_cov -= X'X, b += X'e and ss += e'e.  Time update:
 * b := t b and state_cov := t state_cov t' + q, without t where it is not
 * given and without q where it is not given.
 *
 * Matrices are row-major; symmetric ones (state_cov, q, r) are read from
 * their upper triangle, and state_cov comes back complete and symmetric.
 * No input is modified other than b, state_cov and the sums.  The routine
 * keeps no state of its own.
 *
 * @param n         number of state components, at least 1
 * @param b         n values: the state estimate, replaced by the estimate
 *                  after both updates (the prediction for the next time point)
 * @param state_cov n by n (row length ORVLS_STATE_COV_COL_DIM): the covariance
 *                  of b on the caller's scale, updated in place
 * @param n_rank    running rank: the rank of this step's F is added
 * @param ss        running sum of squared standardised prediction errors
 * @param log_det   running log of the generalised determinants of F
 * @param ...       options, each a code and its values, ended by 0
 *
 * Errors (type, code: meaning):
 *  - 5, 11001: unknown option code (int 1 = code, int 2 = position; the
 *    first option is at position 7)
 *  - 5, 104: a null array given to an option (y, z and r only with ny above 0)
 *  - 5, 65170: n below 1 (int 1 = n), or a row length of t, q or state_cov
 *    below n (int 1 = n, ints 2 to 4 = the row lengths of t, q and state_cov)
 *  - 5, 65167: ny negative (int 1 = ny)
 *  - 5, 50098: tolerance outside 0 to 1, or NaN (real 1 = tolerance)
 *  - 5, 600: with ny above 1, ORVLS_OBSERVATION_COL_DIM below n
 *  - 5, 65168: with ny above 1, ORVLS_MEASUREMENT_COV_COL_DIM below ny
 *    (int 1 = ny, ints 2 to 4 = the row lengths of z, r and innovation_cov)
 *  - 5, 65169: y holds a NaN (int 1 = its index, from 0); a missing
 *    observation is left out of the call instead
 *  - 4, 65173: F is not non-negative definite within the tolerance (real 1 =
 *    tolerance); only the lower triangle of state_cov has moved
 *  - 4, 65174: the system for the gain is inconsistent within the tolerance
 *    (real 1 = tolerance); n_rank and log_det have moved
 *  - 4, 65175: the system for the standardised prediction errors is
 *    inconsistent: an observation that F says is determined by the others
 *    disagrees with them; n_rank, log_det and state_cov have moved
 *  - 5, 200: memory
 * After a fatal error nothing is handed over through ORVLS_INNOVATIONS or
 * ORVLS_INNOVATION_COV, and the filter cannot go on from that step without
 * the caller's own copy of the state.
 */
ORVLS_API void orvls_f_kalman(int64_t n, float *b, float *state_cov, int64_t *n_rank, float *ss, float *log_det, ...);
/** @copydoc orvls_f_kalman() */
ORVLS_API void orvls_d_kalman(int64_t n, double *b, double *state_cov, int64_t *n_rank, double *ss, double *log_det,
                              ...);
#define ORVLS_MEASUREMENT              25920 /**< int ny, const real *y, const real *z, const real *r: the measurement update with ny observations y, the ny by n observation matrix z and their ny by ny error covariance r, on the scale of state_cov; default none (ny 0) */
#define ORVLS_TRANSITION               14000 /**< const real *t: n by n transition matrix of the time update; default none, the state is carried unchanged */
#define ORVLS_TRANSITION_COL_DIM       14040 /**< int: row length of t; default n */
#define ORVLS_STATE_NOISE              40015 /**< const real *q: n by n covariance of the state noise, on the scale of state_cov; default none */
#define ORVLS_STATE_NOISE_COL_DIM      40011 /**< int: row length of q; default n */
#define ORVLS_STATE_COV_COL_DIM        40012 /**< int: row length of state_cov; default n */
#define ORVLS_OBSERVATION_COL_DIM      40010 /**< int: row length of z; default n; not read when ny is 1 */
#define ORVLS_MEASUREMENT_COV_COL_DIM  16072 /**< int: row length of r; default ny; not read when ny is 1 */
#define ORVLS_INNOVATIONS              15290 /**< real **: receives the ny prediction errors y - z b (before the update of b), or NULL without observations, after a fatal error, or when ORVLS_INNOVATIONS_USER is given too */
#define ORVLS_INNOVATIONS_USER         15380 /**< real *: the same in the caller's array of ny */
#define ORVLS_INNOVATION_COV           40014 /**< real **: receives the ny by ny covariance F of the prediction errors, or NULL as for ORVLS_INNOVATIONS */
#define ORVLS_INNOVATION_COV_USER      40013 /**< real *: the same in the caller's array of ny by ny */
/* ORVLS_TOLERANCE 15040 serves here too: the rank decision on F, a pivot of
   the factor counting as 0 when at most the tolerance times its diagonal
   element of F; default 100 times the precision's machine epsilon.  The
   triangular solves accept a remainder at a dependent observation of at most
   the square root of the tolerance times the size of its terms. */
/** @} */
/* END TIME SERIES */

/* BEGIN CATEGORICAL */
/** @addtogroup categorical
 * @{ */
/**
 * @brief Asymptotic tests and measures of association of a two-way table.
 *
 * orvls_d_contingency_table(n_rows, n_columns, table, options..., 0)
 * (float: orvls_f_).  Counts are rounded half away from zero before use.
 * Degrees of freedom are (r - 1)(c - 1) over the rows and columns with a
 * non-zero total.  p-values are 1 - the chi-squared distribution function.
 *
 * @param n_rows    number of rows r, at least 1.
 * @param n_columns number of columns c, at least 1.
 * @param table     r by c counts, row-major (row length ORVLS_TABLE_COL_DIM).
 * @return the p-value of Pearson's chi-squared; NaN after a fatal error, or
 *         when df is 0.
 *
 * Options: ORVLS_CHI_SQUARED, ORVLS_EXPECTED(_USER),
 * ORVLS_CONTRIBUTIONS(_USER), ORVLS_CHI_SQUARED_STATS(_USER),
 * ORVLS_MEASURES, ORVLS_TABLE_STATS(_USER), ORVLS_TABLE_COL_DIM,
 * ORVLS_EXPECTED_COL_DIM, ORVLS_CONTRIBUTIONS_COL_DIM (below).
 *
 * The expected values and the contributions (O - E)^2 / E are r + 1 by
 * c + 1 row-major tables: the last column holds the row sums, the last row
 * the column sums, the corner the total (N, and chi-squared).  A cell with
 * E = 0 contributes 0.
 *
 * The chi-squared statistics (10): 0 Pearson chi-squared, 1 its p-value,
 * 2 df, 3 likelihood-ratio G^2, 4 its p-value, 5 phi = sqrt(chi2 / N),
 * 6 chi2 / (N + chi2) (the square of Pearson's contingency coefficient),
 * 7 Cramer's V = sqrt(chi2 / (N (min(r, c) - 1))), 8 the Mantel-Haenszel
 * chi-squared of linear association (N - 1) R^2 with R the correlation of
 * the row and column indices, 9 its p-value on 1 degree of freedom.
 *
 * The table statistics: 6 rows of (value, asymptotic standard error):
 * 0 Goodman and Kruskal's gamma, 1 Kendall's tau-b, 2 Stuart's tau-c,
 * 3 Somers' D with the row margins in its denominator ((P - Q) / (N^2 -
 * sum r_i^2)), 4 Somers' D with the column margins, 5 Pearson's correlation
 * of the row and column indices.  The measures (6 values): Goodman and
 * Kruskal's lambda of the columns given the rows, of the rows given the
 * columns, and symmetric; Theil's uncertainty coefficient of the columns
 * given the rows, of the rows given the columns, and symmetric.
 *
 * Errors:
 *  - type 5, 603: n_rows or n_columns below 1;
 *  - type 5, 600: a _COL_DIM option below the row it describes;
 *  - type 5, 11001: unknown option (code, position); 104: null _USER array;
 *  - type 5, 11140: negative count (row, column, value), 11142: NaN count,
 *    11143: counts beyond the 64-bit integers; 11141: total not positive;
 *  - type 5, 200, 201: a result or work array cannot be allocated;
 *  - type 3, 11145, 11146, 11147: more than 20 percent of the cells of the
 *    non-zero rows and columns have an expected value below 5: df > 30
 *    (11145), else some expected value below 1 (11146, integer 1 = 1 for a
 *    value below 0.5, 2 otherwise), else 11147;
 *  - type 6, 11135: a p-value with df 0 (integer 1 = its index above);
 *  - type 6, 11148: statistics 5 to 9 without a value (one column or row
 *    with counts, or no variation of the indices);
 *  - type 6, 11149: gamma, tau-b, tau-c or a Somers' D with a zero
 *    denominator (texts "Gamma", "Kendall", "Stuart", "Somer(row)",
 *    "Somer(col)"); type 6, 11133: the correlation with a zero
 *    denominator, 11132: a standard error without a value, 11131: a
 *    measure without a value (integer 1 = the index).  The value is NaN.
 */
ORVLS_API float orvls_f_contingency_table(int64_t n_rows, int64_t n_columns, const float *table, ...);
/** @copydoc orvls_f_contingency_table */
ORVLS_API double orvls_d_contingency_table(int64_t n_rows, int64_t n_columns, const double *table, ...);
#define ORVLS_CHI_SQUARED           10450 /**< real *df, real *chi_squared, real *p_value: Pearson's test */
#define ORVLS_EXPECTED              10470 /**< real **: receives the allocated r + 1 by c + 1 expected values */
#define ORVLS_EXPECTED_USER         10480 /**< real *: the caller's array for the expected values */
#define ORVLS_CONTRIBUTIONS         10490 /**< real **: receives the allocated r + 1 by c + 1 contributions */
#define ORVLS_CONTRIBUTIONS_USER    10500 /**< real *: the caller's array for the contributions */
#define ORVLS_EXPECTED_COL_DIM      10510 /**< int: row length of the expected values; default c + 1 */
#define ORVLS_CONTRIBUTIONS_COL_DIM 10520 /**< int: row length of the contributions; default c + 1 */
#define ORVLS_CHI_SQUARED_STATS     11550 /**< real **: receives the 10 allocated chi-squared statistics */
#define ORVLS_CHI_SQUARED_STATS_USER 11570 /**< real *: the caller's array for the 10 statistics */
#define ORVLS_MEASURES              12880 /**< real **: receives the 6 allocated measures */
#define ORVLS_TABLE_STATS           14780 /**< real **: receives the allocated 6 by 2 table statistics */
#define ORVLS_TABLE_STATS_USER      14790 /**< real *: the caller's array for the 6 by 2 statistics */
#define ORVLS_TABLE_COL_DIM         20630 /**< int: row length of the table of counts; default n_columns */

/**
 * @brief Fisher's exact test of an r by c table by the network algorithm.
 *
 * orvls_d_exact_network(n_rows, n_columns, table, options..., 0) (float:
 * orvls_f_).  Counts are rounded half away from zero; the work goes on the
 * table with rows <= columns (the caller's table is not changed).  Paths
 * are merged when their log-probabilities differ by less than
 * t = sqrt(orvls_dmach(4)), and tables whose log-probability is at most
 * that of the observed table plus t count towards the p-value.  By default
 * nodes that pass the hybrid limits are counted by their chi-squared
 * approximation (ORVLS_NO_HYBRID for the exact value throughout).  The
 * hash and node tables of attempt i hold factor1 * 10^(i-1) and
 * factor2 * 10^(i-1) entries; an attempt whose tables fill is retried with
 * larger ones, and the longest-path work grows as a node needs, so the
 * memory in use follows what the table needs.
 *
 * @param n_rows    number of rows, at least 1.
 * @param n_columns number of columns, at least 1.
 * @param table     the counts, row-major (row length ORVLS_TABLE_COL_DIM).
 * @return the p-value; 1 for a table of zeros; NaN after a fatal error.
 *
 * Options: ORVLS_PROB_TABLE, ORVLS_P_VALUE_ADR, ORVLS_WORKSPACE,
 * ORVLS_HYBRID, ORVLS_HYBRID_ADR, ORVLS_NO_HYBRID, ORVLS_TABLE_COL_DIM.
 *
 * Errors:
 *  - type 5, 603: n_rows, n_columns below 1, factor1 below 1, factor2
 *    below 10, max_attempts below 1;
 *  - type 5, 600: ORVLS_TABLE_COL_DIM below n_columns;
 *  - type 5, 11001: unknown option; 104: a null address in an option;
 *  - type 5, 11140, 11142, 11143: a negative, NaN or too large count (row,
 *    column, value);
 *  - type 6, 20542: the counts sum to 0; the outputs of the options are NaN;
 *  - type 5, 201: log factorials or work ("sum of all cell counts");
 *    203: the tables of an attempt (attempt, both sizes);
 *  - type 3, 20544, 20545: the hash table (ldkey) or node table (ldstp) of
 *    an attempt filled and the next attempt follows;
 *  - type 4, 20541: every attempt filled its tables (max_attempts, last
 *    ldkey); 20543: the margins' key multipliers overflow; 20546: a longest
 *    path with more states than 64-bit keys number; 20547: a path count
 *    beyond 64 bits; type 5, 200: the longest-path work cannot grow.
 */
ORVLS_API float orvls_f_exact_network(int64_t n_rows, int64_t n_columns, const float *table, ...);
/** @copydoc orvls_f_exact_network */
ORVLS_API double orvls_d_exact_network(int64_t n_rows, int64_t n_columns, const double *table, ...);
#define ORVLS_PROB_TABLE  20610 /**< real *: receives the probability of the observed table */
#define ORVLS_P_VALUE_ADR 20620 /**< real *: receives the p-value */
/** int factor1, int factor2, int max_attempts, int64_t *n_attempts: table sizes
 *  of the first attempt (default 100, 3000), attempts (default 10), and where
 *  the attempts used are stored */
#define ORVLS_WORKSPACE   20640
/** double expect, double percent, double minimum: a node with smallest row
 *  times smallest column over its total above minimum, and at least percent
 *  of its cells with expected value at least expect, is counted by the
 *  chi-squared approximation (default 5, 80, 1) */
#define ORVLS_HYBRID      20650
#define ORVLS_NO_HYBRID   20660 /**< exact computation throughout */
#define ORVLS_HYBRID_ADR  20950 /**< real *expect, real *percent, real *minimum: ORVLS_HYBRID by address */

/**
 * @brief Fisher's exact test of a small r by c table by enumeration.
 *
 * orvls_d_exact_enumeration(n_rows, n_columns, table, options..., 0)
 * (float: orvls_f_).  Visits every table with the observed margins; a
 * table counts when its probability times 1 - 10000 orvls_dmach(4) is at
 * most the observed one.  The work grows with the number of such tables:
 * for small tables only.
 *
 * @param n_rows    number of rows, at least 1.
 * @param n_columns number of columns, at least 1.
 * @param table     the counts, row-major (row length ORVLS_TABLE_COL_DIM).
 * @return the p-value; 1 for a table of zeros; NaN after a fatal error.
 *
 * Options: ORVLS_PROB_TABLE, ORVLS_P_VALUE_ADR, ORVLS_TABLE_COL_DIM and
 * ORVLS_TABLE_COUNT.
 *
 * Errors: type 5, 603, 600, 11001, 104, 11140, 11142, 11143 as for
 * orvls_d_exact_network; type 6, 20540: the counts sum to 0, the outputs of
 * the options are NaN; type 5, 202: work (n_rows, n_columns); 201: log
 * factorials ("sum of all cell counts").
 */
ORVLS_API float orvls_f_exact_enumeration(int64_t n_rows, int64_t n_columns, const float *table, ...);
/** @copydoc orvls_f_exact_enumeration */
ORVLS_API double orvls_d_exact_enumeration(int64_t n_rows, int64_t n_columns, const double *table, ...);
#define ORVLS_TABLE_COUNT 20670 /**< int64_t *: receives the number of tables with the observed margins */
/** @} */
/* END CATEGORICAL */

/* ---------------------------------------------------------------------- */
/* BEGIN KERNELS */
/** @addtogroup kernels
 * @{ */

/** x[i] := value.
 * @param n the length of x
 * @param value the value
 * @param x the vector
 * @param incx the stride of x */
ORVLS_API void orvls_sset(int64_t n, float value, float *x, int64_t incx);
/** @copydoc orvls_sset() */
ORVLS_API void orvls_dset(int64_t n, double value, double *x, int64_t incx);
/** @copydoc orvls_sset() */
ORVLS_API void orvls_cset(int64_t n, orvls_f_complex value, orvls_f_complex *x, int64_t incx);
/** @copydoc orvls_sset() */
ORVLS_API void orvls_zset(int64_t n, orvls_d_complex value, orvls_d_complex *x, int64_t incx);
/** @copydoc orvls_sset() */
ORVLS_API void orvls_iset(int64_t n, int64_t value, int64_t *x, int64_t incx);
/** x[i] += a.
 * @param n the length of x
 * @param a the value added
 * @param x the vector
 * @param incx the stride of x */
ORVLS_API void orvls_sadd(int64_t n, float a, float *x, int64_t incx);
/** @copydoc orvls_sadd() */
ORVLS_API void orvls_dadd(int64_t n, double a, double *x, int64_t incx);
/** y[i] := a x[i].
 * @param n the length of x and y
 * @param a the factor
 * @param x the vector read
 * @param incx the stride of x
 * @param y the vector written
 * @param incy the stride of y */
ORVLS_API void orvls_svcal(int64_t n, float a, const float *x, int64_t incx, float *y, int64_t incy);
/** The sum of x[i].
 * @param n the length of x
 * @param x the vector
 * @param incx the stride of x
 * @return the sum */
ORVLS_API float orvls_ssum(int64_t n, const float *x, int64_t incx);
/** @copydoc orvls_ssum() */
ORVLS_API double orvls_dsum(int64_t n, const double *x, int64_t incx);
/** @copydoc orvls_ssum() */
ORVLS_API int64_t orvls_isum(int64_t n, const int64_t *x, int64_t incx);
/** The sum of |x[i]|.
 * @param n the length of x
 * @param x the vector
 * @param incx the stride of x
 * @return the sum */
ORVLS_API float orvls_sasum(int64_t n, const float *x, int64_t incx);
/** z[i] := x[i] y[i], by reference.
 * @param n the length of the vectors
 * @param x the first factor
 * @param incx the stride of x
 * @param y the second factor
 * @param incy the stride of y
 * @param z the product
 * @param incz the stride of z */
ORVLS_API void orvls_shprod(const int64_t *n, const float *x, const int64_t *incx, const float *y,
                            const int64_t *incy, float *z, const int64_t *incz);
/** @copydoc orvls_shprod() */
ORVLS_API void orvls_dshprod(const int64_t *n, const double *x, const int64_t *incx, const double *y,
                             const int64_t *incy, double *z, const int64_t *incz);
/** The sum of x[i] y[i] z[i].
 * @param n the length of the vectors
 * @param x the first vector
 * @param incx the stride of x
 * @param y the second vector
 * @param incy the stride of y
 * @param z the third vector
 * @param incz the stride of z
 * @return the sum */
ORVLS_API float orvls_sxyz(int64_t n, const float *x, int64_t incx, const float *y, int64_t incy,
                           const float *z, int64_t incz);
/** @copydoc orvls_sxyz() */
ORVLS_API double orvls_dxyz(int64_t n, const double *x, int64_t incx, const double *y, int64_t incy,
                            const double *z, int64_t incz);
/** The one-based index, in the order the stride walks, of the first
 * largest element.
 * @param n the length of x
 * @param x the vector
 * @param incx the stride of x
 * @return the index, 0 for n below 1 */
ORVLS_API int64_t orvls_ismax(int64_t n, const float *x, int64_t incx);
/** @copydoc orvls_ismax() */
ORVLS_API int64_t orvls_dismax(int64_t n, const double *x, int64_t incx);
/** The one-based index, in the order the stride walks, of the first
 * smallest element.
 * @param n the length of x
 * @param x the vector
 * @param incx the stride of x
 * @return the index, 0 for n below 1 */
ORVLS_API int64_t orvls_ismin(int64_t n, const float *x, int64_t incx);
/** @copydoc orvls_ismin() */
ORVLS_API int64_t orvls_dismin(int64_t n, const double *x, int64_t incx);
/** The one-based index of the first largest element, by reference.
 * @param n the length of x
 * @param x the vector
 * @param incx the stride of x
 * @return the index, 0 for n below 1 */
ORVLS_API int64_t orvls_iimax(const int64_t *n, const int64_t *x, const int64_t *incx);
/** The one-based index of the first smallest element, by reference.
 * @param n the length of x
 * @param x the vector
 * @param incx the stride of x
 * @return the index, 0 for n below 1 */
ORVLS_API int64_t orvls_iimin(const int64_t *n, const int64_t *x, const int64_t *incx);
/** The one-based index of the first element of largest absolute value.
 * @param n the length of x
 * @param x the vector
 * @param incx the stride of x
 * @return the index, 0 for n below 1 */
ORVLS_API int64_t orvls_isamax(int64_t n, const float *x, int64_t incx);
/** @copydoc orvls_isamax() */
ORVLS_API int64_t orvls_idamax(int64_t n, const double *x, int64_t incx);
/** The one-based index of the first element of smallest absolute value.
 * @param n the length of x
 * @param x the vector
 * @param incx the stride of x
 * @return the index, 0 for n below 1 */
ORVLS_API int64_t orvls_isamin(int64_t n, const float *x, int64_t incx);
/** @copydoc orvls_isamin() */
ORVLS_API int64_t orvls_idamin(int64_t n, const double *x, int64_t incx);
/** b := the n values of a sorted ascending; in place when a == b.  NaNs go
 * to the end (in no particular order); -0 and +0 compare equal and keep no
 * particular order between them.
 * @param n the number of values
 * @param a the values, contiguous
 * @param b the sorted values, or a itself */
ORVLS_API void orvls_svrgn(int64_t n, const float *a, float *b);
/** @copydoc orvls_svrgn() */
ORVLS_API void orvls_dsvrgn(int64_t n, const double *a, double *b);

/** Level 1: y := x.
 * @param n the length of x and y
 * @param x the vector read
 * @param incx the stride of x
 * @param y the vector written
 * @param incy the stride of y */
ORVLS_API void orvls_scopy(int64_t n, const float *x, int64_t incx, float *y, int64_t incy);
/** @copydoc orvls_scopy() */
ORVLS_API void orvls_dcopy(int64_t n, const double *x, int64_t incx, double *y, int64_t incy);
/** @copydoc orvls_scopy() */
ORVLS_API void orvls_ccopy(int64_t n, const orvls_f_complex *x, int64_t incx, orvls_f_complex *y, int64_t incy);
/** @copydoc orvls_scopy() */
ORVLS_API void orvls_zcopy(int64_t n, const orvls_d_complex *x, int64_t incx, orvls_d_complex *y, int64_t incy);
/** @copydoc orvls_scopy() */
ORVLS_API void orvls_icopy(int64_t n, const int64_t *x, int64_t incx, int64_t *y, int64_t incy);
/** Level 1: swaps x and y.
 * @param n the length of x and y
 * @param x the first vector
 * @param incx the stride of x
 * @param y the second vector
 * @param incy the stride of y */
ORVLS_API void orvls_cswap(int64_t n, orvls_f_complex *x, int64_t incx, orvls_f_complex *y, int64_t incy);
/** @copydoc orvls_cswap() */
ORVLS_API void orvls_zswap(int64_t n, orvls_d_complex *x, int64_t incx, orvls_d_complex *y, int64_t incy);
/** @copydoc orvls_cswap() */
ORVLS_API void orvls_iswap(int64_t n, int64_t *x, int64_t incx, int64_t *y, int64_t incy);
/** Level 1: x := a x.
 * @param n the length of x
 * @param a the factor
 * @param x the vector
 * @param incx the stride of x */
ORVLS_API void orvls_sscal(int64_t n, float a, float *x, int64_t incx);
/** @copydoc orvls_sscal() */
ORVLS_API void orvls_dscal(int64_t n, double a, double *x, int64_t incx);
/** @copydoc orvls_sscal() */
ORVLS_API void orvls_cscal(int64_t n, orvls_f_complex a, orvls_f_complex *x, int64_t incx);
/** @copydoc orvls_sscal() */
ORVLS_API void orvls_zscal(int64_t n, orvls_d_complex a, orvls_d_complex *x, int64_t incx);
/** Level 1: x := a x, a real factor of a complex vector.
 * @param n the length of x
 * @param a the factor
 * @param x the vector
 * @param incx the stride of x */
ORVLS_API void orvls_csscal(int64_t n, float a, orvls_f_complex *x, int64_t incx);
/** @copydoc orvls_csscal() */
ORVLS_API void orvls_zdscal(int64_t n, double a, orvls_d_complex *x, int64_t incx);
/** Level 1: the sum of x[i] y[i].
 * @param n the length of x and y
 * @param x the first vector
 * @param incx the stride of x
 * @param y the second vector
 * @param incy the stride of y
 * @return the sum */
ORVLS_API float orvls_sdot(int64_t n, const float *x, int64_t incx, const float *y, int64_t incy);
/** @copydoc orvls_sdot() */
ORVLS_API double orvls_ddot(int64_t n, const double *x, int64_t incx, const double *y, int64_t incy);
/** Level 1: the Euclidean norm, free of overflow and underflow.
 * @param n the length of x
 * @param x the vector
 * @param incx the stride of x
 * @return the norm */
ORVLS_API float orvls_snrm2(int64_t n, const float *x, int64_t incx);
/** @copydoc orvls_snrm2() */
ORVLS_API double orvls_dnrm2(int64_t n, const double *x, int64_t incx);
/** Level 1: the Euclidean norm of a float complex vector, by reference; it
 * sums the squares unscaled and returns 0 unless the sum is above the
 * smallest normal float.
 * @param n the length of x
 * @param x the vector
 * @param incx the stride of x
 * @return the norm */
ORVLS_API float orvls_scnrm2(const int64_t *n, const orvls_f_complex *x, const int64_t *incx);
/** Level 1: the Euclidean norm of a double complex vector, free of
 * overflow and underflow.
 * @param n the length of x
 * @param x the vector
 * @param incx the stride of x
 * @return the norm */
ORVLS_API double orvls_dznrm2(int64_t n, const orvls_d_complex *x, int64_t incx);
/** Level 1: applies the plane rotation (c, s) to the pairs (x[i], y[i]).
 * @param n the length of x and y
 * @param x the first vector
 * @param incx the stride of x
 * @param y the second vector
 * @param incy the stride of y
 * @param c the cosine
 * @param s the sine */
ORVLS_API void orvls_srot(int64_t n, float *x, int64_t incx, float *y, int64_t incy, float c, float s);
/** @copydoc orvls_srot() */
ORVLS_API void orvls_drot(int64_t n, double *x, int64_t incx, double *y, int64_t incy, double c, double s);
/** Level 1: constructs the plane rotation that zeroes b.
 * @param a in: the first component; out: r
 * @param b in: the second component; out: z, which reconstructs c and s
 * @param c receives the cosine
 * @param s receives the sine */
ORVLS_API void orvls_srotg(float *a, float *b, float *c, float *s);
/** @copydoc orvls_srotg() */
ORVLS_API void orvls_drotg(double *a, double *b, double *c, double *s);
/** Level 1: applies the modified rotation param[0..4] = flag, h11, h21,
 * h12, h22 to the pairs (x[i], y[i]).
 * @param n the length of x and y
 * @param x the first vector
 * @param incx the stride of x
 * @param y the second vector
 * @param incy the stride of y
 * @param param the rotation */
ORVLS_API void orvls_srotm(int64_t n, float *x, int64_t incx, float *y, int64_t incy, const float *param);
/** @copydoc orvls_srotm() */
ORVLS_API void orvls_drotm(int64_t n, double *x, int64_t incx, double *y, int64_t incy, const double *param);
/** Level 1: constructs the modified rotation that zeroes the second
 * component of (sqrt(d1) x1, sqrt(d2) y1).
 * @param d1 the first scale, updated
 * @param d2 the second scale, updated
 * @param x1 the first component, updated
 * @param y1 the second component
 * @param param receives the rotation, as for orvls_srotm() */
ORVLS_API void orvls_srotmg(float *d1, float *d2, float *x1, float y1, float *param);
/** @copydoc orvls_srotmg() */
ORVLS_API void orvls_drotmg(double *d1, double *d2, double *x1, double y1, double *param);

/** Level 2: solves op(A) x = b for triangular A; b in x on entry.  Errors
 * (type 5): 50056 a bad option text, 2014 n below 0, 50055 lda below n or
 * 1, 2015 incx of 0.
 * @param uplo "U" upper or "L" lower triangle
 * @param trans "N" A, "T" or "C" its transpose
 * @param diag "U" unit or "N" non-unit diagonal
 * @param n the order of A
 * @param a the matrix, column-major
 * @param lda its leading dimension
 * @param x in: b; out: the solution
 * @param incx the stride of x
 * @param uplo_length the length of the uplo text
 * @param trans_length the length of the trans text
 * @param diag_length the length of the diag text */
ORVLS_API void orvls_strsv(const char *uplo, const char *trans, const char *diag, const int64_t *n,
                           const float *a, const int64_t *lda, float *x, const int64_t *incx,
                           int64_t uplo_length, int64_t trans_length, int64_t diag_length);
/** @copydoc orvls_strsv() */
ORVLS_API void orvls_dtrsv(const char *uplo, const char *trans, const char *diag, const int64_t *n,
                           const double *a, const int64_t *lda, double *x, const int64_t *incx,
                           int64_t uplo_length, int64_t trans_length, int64_t diag_length);
/** Level 2: y := alpha op(A) x + beta y, A m by n.  Errors (type 5): 50056
 * a bad option text, 2014 m or n below 0, 50055 lda below m or 1, 2015
 * incx of 0, 2016 incy of 0.
 * @param trans "N" A, "T" or "C" its transpose
 * @param m the rows of A
 * @param n the columns of A
 * @param alpha the factor of op(A) x
 * @param a the matrix, column-major
 * @param lda its leading dimension
 * @param x the vector multiplied
 * @param incx the stride of x
 * @param beta the factor of y
 * @param y the result
 * @param incy the stride of y
 * @param trans_length the length of the trans text */
ORVLS_API void orvls_sgemv(const char *trans, const int64_t *m, const int64_t *n, const float *alpha,
                           const float *a, const int64_t *lda, const float *x, const int64_t *incx,
                           const float *beta, float *y, const int64_t *incy, int64_t trans_length);
/** @copydoc orvls_sgemv() */
ORVLS_API void orvls_dgemv(const char *trans, const int64_t *m, const int64_t *n, const double *alpha,
                           const double *a, const int64_t *lda, const double *x, const int64_t *incx,
                           const double *beta, double *y, const int64_t *incy, int64_t trans_length);
/** Level 2: A := alpha x y' + A, A m by n.  Errors (type 5): 2014 m or n
 * below 0, 50055 lda below m or 1, 2015 incx of 0, 2016 incy of 0.
 * @param m the rows of A
 * @param n the columns of A
 * @param alpha the factor
 * @param x the column vector
 * @param incx the stride of x
 * @param y the row vector
 * @param incy the stride of y
 * @param a the matrix, column-major
 * @param lda its leading dimension */
ORVLS_API void orvls_sger(const int64_t *m, const int64_t *n, const float *alpha, const float *x,
                          const int64_t *incx, const float *y, const int64_t *incy, float *a, const int64_t *lda);
/** @copydoc orvls_sger() */
ORVLS_API void orvls_dger(const int64_t *m, const int64_t *n, const double *alpha, const double *x,
                          const int64_t *incx, const double *y, const int64_t *incy, double *a, const int64_t *lda);
/** Level 2: y := alpha A x + beta y, A symmetric, one triangle referenced.
 * Errors (type 5): 50056 a bad option text, 2014 n below 0, 50055 lda
 * below n or 1, 2015 incx of 0, 2016 incy of 0.
 * @param uplo "U" or "L": the triangle referenced
 * @param n the order of A
 * @param alpha the factor of A x
 * @param a the matrix, column-major
 * @param lda its leading dimension
 * @param x the vector multiplied
 * @param incx the stride of x
 * @param beta the factor of y
 * @param y the result
 * @param incy the stride of y
 * @param uplo_length the length of the uplo text */
ORVLS_API void orvls_ssymv(const char *uplo, const int64_t *n, const float *alpha, const float *a,
                           const int64_t *lda, const float *x, const int64_t *incx, const float *beta, float *y,
                           const int64_t *incy, int64_t uplo_length);
/** Level 2: A := alpha x x' + A, one triangle.  Errors (type 5): 50056 a
 * bad option text, 2014 n below 0, 50055 lda below n or 1, 2015 incx of 0.
 * @param uplo "U" or "L": the triangle updated
 * @param n the order of A
 * @param alpha the factor
 * @param x the vector
 * @param incx the stride of x
 * @param a the matrix, column-major
 * @param lda its leading dimension
 * @param uplo_length the length of the uplo text */
ORVLS_API void orvls_ssyr(const char *uplo, const int64_t *n, const float *alpha, const float *x,
                          const int64_t *incx, float *a, const int64_t *lda, int64_t uplo_length);
/** Level 2: A := alpha x y' + alpha y x' + A, one triangle.  Errors (type
 * 5): 50056 a bad option text, 2014 n below 0, 50055 lda below n or 1,
 * 2015 incx of 0, 2016 incy of 0.
 * @param uplo "U" or "L": the triangle updated
 * @param n the order of A
 * @param alpha the factor
 * @param x the first vector
 * @param incx the stride of x
 * @param y the second vector
 * @param incy the stride of y
 * @param a the matrix, column-major
 * @param lda its leading dimension
 * @param uplo_length the length of the uplo text */
ORVLS_API void orvls_ssyr2(const char *uplo, const int64_t *n, const float *alpha, const float *x,
                           const int64_t *incx, const float *y, const int64_t *incy, float *a, const int64_t *lda,
                           int64_t uplo_length);
/** @copydoc orvls_ssyr2() */
ORVLS_API void orvls_dsyr2(const char *uplo, const int64_t *n, const double *alpha, const double *x,
                           const int64_t *incx, const double *y, const int64_t *incy, double *a,
                           const int64_t *lda, int64_t uplo_length);

/** Level 3: C := alpha op(A) op(B) + beta C, C m by n, depth k.  Errors
 * (type 5): 50056 a bad option text, 2014 m, n or k below 0, 50055 a
 * leading dimension below the rows it holds or 1.
 * @param transa "N", "T" or "C": op(A)
 * @param transb "N", "T" or "C": op(B)
 * @param m the rows of C
 * @param n the columns of C
 * @param k the depth of the product
 * @param alpha the factor of the product
 * @param a the matrix A, column-major
 * @param lda its leading dimension
 * @param b the matrix B, column-major
 * @param ldb its leading dimension
 * @param beta the factor of C
 * @param c the result, column-major
 * @param ldc its leading dimension
 * @param transa_length the length of the transa text
 * @param transb_length the length of the transb text */
ORVLS_API void orvls_sgemm(const char *transa, const char *transb, const int64_t *m, const int64_t *n,
                           const int64_t *k, const float *alpha, const float *a, const int64_t *lda,
                           const float *b, const int64_t *ldb, const float *beta, float *c, const int64_t *ldc,
                           int64_t transa_length, int64_t transb_length);
/** @copydoc orvls_sgemm() */
ORVLS_API void orvls_dgemm(const char *transa, const char *transb, const int64_t *m, const int64_t *n,
                           const int64_t *k, const double *alpha, const double *a, const int64_t *lda,
                           const double *b, const int64_t *ldb, const double *beta, double *c, const int64_t *ldc,
                           int64_t transa_length, int64_t transb_length);

/** The larger of a and b; a NaN argument is the result.
 * @param a the first value
 * @param b the second value
 * @return the maximum */
ORVLS_API float orvls_f_max(float a, float b);
/** @copydoc orvls_f_max() */
ORVLS_API double orvls_d_max(double a, double b);
/** @copydoc orvls_f_max() */
ORVLS_API int64_t orvls_i_max(int64_t a, int64_t b);
/** The smaller of a and b; a NaN argument is the result.
 * @param a the first value
 * @param b the second value
 * @return the minimum */
ORVLS_API float orvls_f_min(float a, float b);
/** @copydoc orvls_f_min() */
ORVLS_API double orvls_d_min(double a, double b);
/** @copydoc orvls_f_min() */
ORVLS_API int64_t orvls_i_min(int64_t a, int64_t b);
/** x to the power y, through pow.
 * @param x the base
 * @param y the exponent
 * @return x^y */
ORVLS_API float orvls_f_power(float x, float y);
/** @copydoc orvls_f_power() */
ORVLS_API double orvls_d_power(double x, double y);
/** x to the integer power k by repeated products; k of 0 gives 1, also
 * for x of 0.
 * @param x the base
 * @param k the exponent
 * @return x^k */
ORVLS_API float orvls_f_integer_power(float x, int64_t k);
/** @copydoc orvls_f_integer_power() */
ORVLS_API double orvls_d_integer_power(double x, int64_t k);
/** -a for a complex a.
 * @param a the value
 * @return -a */
ORVLS_API orvls_f_complex orvls_c_neg(orvls_f_complex a);
/** @copydoc orvls_c_neg() */
ORVLS_API orvls_d_complex orvls_z_neg(orvls_d_complex a);
/** a / b by scaled division; b of 0 gives NaN parts.
 * @param a the numerator
 * @param b the denominator
 * @return a / b */
ORVLS_API orvls_f_complex orvls_c_div(orvls_f_complex a, orvls_f_complex b);
/** @copydoc orvls_c_div() */
ORVLS_API orvls_d_complex orvls_z_div(orvls_d_complex a, orvls_d_complex b);
/** Unconstrained minimisation of a smooth function of n variables.
 *
 * orvls_d_min_uncon_multivar(fcn, n, options..., 0) (float:
 * orvls_f_min_uncon_multivar) minimises f(x) from a starting point by a
 * quasi-Newton method: the BFGS update of an inverse Hessian, started as the
 * identity and rescaled after the first step, and a backtracking line search
 * (quadratic then cubic interpolation, sufficient decrease with factor 1e-4)
 * whose steps never exceed max_step.  The gradient is the caller's when a
 * gradient routine is given; otherwise it is taken by forward differences,
 * and by central differences from the first step that they fail to improve.
 * fcn(n, x, &f) stores f(x); it may be NULL when ORVLS_FCN_W_DATA is given.
 * Returns the minimiser, n reals the caller frees (or the ORVLS_RETURN_USER
 * array); NULL after a fatal error.
 *
 * Stopping, with s = max(|x_i|, 1) and t = max(|f(x)|, 1):
 *  - the scaled gradient max |g_i| s_i / t is at most grad_tol: converged;
 *  - the step predicted by the quadratic model lowers f by at most
 *    rfcn_tol |f(x)|: converged, note 50064 (type 1);
 *  - the last relative step max |dx_i| / s_i is at most step_tol while the
 *    gradient is not small: warning 20131 (false convergence);
 *  - the line search finds no lower point: warning 20129;
 *  - five successive steps of length max_step: warning 20135;
 *  - max_itn iterations (50057), max_fcn function evaluations (50058) or
 *    max_grad gradient evaluations (50065): warnings.
 * Warnings are type 3, and the point reached is returned with them.  The
 * function evaluations counted against max_fcn are those outside gradient
 * differences; each gradient, analytic or by differences, counts once
 * against max_grad.
 *
 * Errors (type 5): 603 n or a limit below 1 (string 1 = its name, int 1 =
 * the value, int 2 = 1); 150 no function given (string 1 = "fcn"); 608 a
 * tolerance below 0 (string 1 = its name, real 1 = the value, real 2 = 0);
 * 50059 max_step not above 0 (real 1 = the value); 104 a null
 * ORVLS_RETURN_USER or ORVLS_FVALUE pointer; 11001 an unknown option; 200
 * memory.
 *
 * Routines given through options, in the precision of the form called:
 *  - ORVLS_GRAD: void grad(int64_t n, const real *x, real *g), storing the
 *    n partial derivatives at x in g;
 *  - ORVLS_FCN_W_DATA: void fcn(int64_t n, const real *x, real *f, void
 *    *data), then the data pointer it receives;
 *  - ORVLS_GRAD_W_DATA: void grad(int64_t n, const real *x, real *g, void
 *    *data), then its data pointer.
 * @param fcn the function, or NULL with ORVLS_FCN_W_DATA
 * @param n the number of variables, at least 1
 * @param ... the option list, ended by 0
 * @return the minimiser, NULL after a fatal error */
ORVLS_API float *orvls_f_min_uncon_multivar(void (*fcn)(int64_t n, const float *x, float *f), int64_t n, ...);
/** @copydoc orvls_f_min_uncon_multivar() */
ORVLS_API double *orvls_d_min_uncon_multivar(void (*fcn)(int64_t n, const double *x, double *f), int64_t n, ...);
#define ORVLS_FVALUE          11890 /**< real *: receives f at the minimiser */
#define ORVLS_GRAD            12060 /**< gradient routine of the precision, without data */
#define ORVLS_GRAD_TOL        12070 /**< double: scaled gradient tolerance; default eps^(1/3) */
#define ORVLS_GRAD_TOL_ADR    12080 /**< real *: the same by address */
#define ORVLS_MAX_FCN         12940 /**< int: function evaluation limit; default 400 */
#define ORVLS_MAX_GRAD        12950 /**< int: gradient evaluation limit; default 400 */
#define ORVLS_MAX_ITN         12980 /**< int: iteration limit; default 100 */
#define ORVLS_MAX_STEP        13070 /**< double: largest step; default 1000 max(|x0|, 1), Euclidean */
#define ORVLS_MAX_STEP_ADR    13075 /**< real *: the same by address */
#define ORVLS_REL_FCN_TOL     14170 /**< double: relative function tolerance; default max(1e-20 (float 1e-10), eps^(2/3)) */
#define ORVLS_REL_FCN_TOL_ADR 14180 /**< real *: the same by address */
#define ORVLS_STEP_TOL        14890 /**< double: scaled step tolerance; default eps^(2/3) */
#define ORVLS_STEP_TOL_ADR    14900 /**< real *: the same by address */
#define ORVLS_XGUESS          15430 /**< const real *: starting point, n reals; default 0 */
#define ORVLS_FCN_W_DATA      25770 /**< function with data: routine, then void * handed to it */
#define ORVLS_GRAD_W_DATA     25790 /**< gradient with data: routine, then void * handed to it */
/** @} */
/* END KERNELS */

/* ---------------------------------------------------------------------- */
/* BEGIN PRINTING */
/** @addtogroup printing
 * @{ */
/** Prints a matrix under a title, with row and column labels:
 * orvls_d_write_matrix(title, nra, nca, a, options..., 0).  a is
 * transposed in place during the call and restored before it returns: it
 * must not be shared meanwhile.  Output goes to the thread's output stream
 * (orvls_umach() 2), to a text that the caller frees
 * (@ref ORVLS_RETURN_STRING), or to the console (standard output with CR
 * LF line ends); the call holds the output lock from its first line to its
 * last, unless it writes to a text.
 *
 * Layout of a printed matrix (no line ends in blanks):
 *  - A blank line first when the paging setting is -2 or above 0.
 *  - The title: broken at its newlines, and into lines of at most
 *    page_width at the last blank that fits (a longer word is cut).  A
 *    newline ends a line, so `"a\n\nb"` is three lines and `"a\n"` one.
 *  - One line of column labels (unless column style 0), then one line per
 *    row: the row label, then the entries.  Columns are two blanks apart.
 *  - The row-label column is as wide as the longest label shown, at most
 *    half the page width (longer labels are cut); numbers are right-aligned
 *    in it, texts left-aligned.  Column style 0 and row style 0 print no
 *    labels and take no room.
 *  - A column is as wide as its widest entry or label, at most what the
 *    page width leaves beside the row labels; entries and column labels are
 *    right-aligned in it.  A label too long is cut; an entry too long prints
 *    as asterisks, never as a cut number.
 *  - Label styles: 0 none; 1 numbers from 1; 2 the given texts (each up to
 *    its first newline); 3 "Row 1", "Row 2", ... and "Col 1", "Col 2", ....
 *    A style not chosen is 1, or 0 when the matrix as printed has a single
 *    row (for row labels) or column (for column labels).
 *  - Columns that do not fit page_width go on in further blocks, as many
 *    columns to a block as fit (at least one), each block under its own
 *    column labels and after one blank line.  The title heads the first
 *    block only (every block when the title-page setting is 1).
 *  - Triangles: selector 1 shows the entries on and above the diagonal, 2
 *    those above it, -1 on and below, -2 below; the others are left blank.
 *    Rows and columns with nothing to show are left out (in each block the
 *    rows with nothing in that block's columns), and so are empty blocks;
 *    a matrix with nothing to show prints its title alone.
 *  - @ref ORVLS_TRANSPOSE prints a as stored column-major with leading
 *    dimension a_col_dim: nca printed rows of nra columns; label counts
 *    follow.
 *
 * Pages (orvls_write_options()): with paging 0 and up, when a page holds
 * page_length lines the next line starts with a form feed, and a table
 * that goes on repeats its column labels (and its title when the title
 * page is 1) at the top.  A block starts on a new page when its title,
 * labels and first row do not fit.  An empty title line adds one to the
 * paging setting whatever its value.
 *
 * Entry formats: conversions `%[flags][width][.precision]letter`, letters
 * W e E f g G d i o u x X, with the flags of printf; length letters (h l L
 * q j z t) are allowed and ignored.  Integer letters print a real rounded
 * to the nearest integer; real letters print an integer as a real.  Text
 * around a conversion prints with it (`%%` is one `%`).  Several
 * conversions serve the columns in turn; a format without one prints its
 * text in every cell.  Infinities print as "Inf" and "-Inf"; widths and
 * precisions above 120 are taken as 120.
 *
 * The conversion W, `%w.dW`: the value in at most w characters with d
 * significant digits, fixed or exponent notation as fits:
 *  - 0 prints as "0"; a whole number whose digits fit in w prints exactly;
 *  - else fixed notation rounded to d significant digits, when that puts
 *    no more than d digits before the point, is no longer than the
 *    exponent form and fits in w;
 *  - else exponent notation with d significant digits, fewer if needed to
 *    fit in w (at least one);
 *  - trailing zeros of a fraction are dropped, and then a bare point.
 *
 * d missing: 4, and 0 means 1; w missing: d + 7.  Of the flags only "-"
 * (left-justify) applies.  With `%11.4W`: 1.5 "1.5", 2/3 "0.6667", 12345
 * "12345", 123456.7 "1.235e+05", 0.001 "0.001", 0.0001 "1e-04", 0.0001234
 * "0.0001234" (the two forms equally long).
 *
 * Errors (type 5): 603, nra or nca below 0, or a_col_dim below 1 (text 1
 * = the name, int 1 = the value); 601, nca above a_col_dim; 10013, 10014,
 * 10015, more than one triangle, row-label or column-label option; 104, a
 * null label array or label (text 1 = the option); 20749,
 * @ref ORVLS_RETURN_STRING with @ref ORVLS_WRITE_TO_CONSOLE; 200, no
 * memory; 11001, an unknown option code.
 * @param title the title; NULL or empty prints none
 * @param nra the rows of a
 * @param nca the columns of a
 * @param a the matrix, row-major
 * @param ... the option list, ended by 0 */
ORVLS_API void orvls_f_write_matrix(const char *title, int64_t nra, int64_t nca, float *a, ...);
/** @copydoc orvls_f_write_matrix() */
ORVLS_API void orvls_d_write_matrix(const char *title, int64_t nra, int64_t nca, double *a, ...);
/** @copydoc orvls_f_write_matrix() */
ORVLS_API void orvls_i_write_matrix(const char *title, int64_t nra, int64_t nca, int64_t *a, ...);
#define ORVLS_A_COL_DIM        10170 /**< int: row length of a; default nca (1 if nca is 0) */
#define ORVLS_PRINT_ALL        13910 /**< triangle 0: every entry (default) */
#define ORVLS_TRIANGLE_M1      13930 /**< triangle -1: on and below the diagonal */
#define ORVLS_TRIANGLE_M2      13940 /**< triangle -2: below the diagonal */
#define ORVLS_TRIANGLE_P1      13960 /**< triangle 1: on and above the diagonal */
#define ORVLS_TRIANGLE_P2      13970 /**< triangle 2: above the diagonal */
#define ORVLS_ROW_STYLE_0      13360 /**< no row labels */
#define ORVLS_ROW_STYLE_1      14340 /**< rows numbered 1, 2, ... */
#define ORVLS_ROW_LABELS       14330 /**< const char *const *: one label per printed row */
#define ORVLS_ROW_STYLE_3      14350 /**< rows labelled "Row 1", "Row 2", ... */
#define ORVLS_COL_STYLE_0      13330 /**< no column labels */
#define ORVLS_COL_STYLE_1      10760 /**< columns numbered 1, 2, ... */
#define ORVLS_COL_LABELS       10750 /**< const char *const *: one label per printed column */
#define ORVLS_COL_STYLE_3      10770 /**< columns labelled "Col 1", "Col 2", ... */
#define ORVLS_TRANSPOSE        15070 /**< print a as stored column-major, rows and columns exchanged */
#define ORVLS_WRITE_FORMAT     15410 /**< const char *: format of the entries */
#define ORVLS_RETURN_STRING    50100 /**< char **: receives the printed text, freed by the caller */
#define ORVLS_WRITE_TO_CONSOLE 50110 /**< print to the console */

/** Reads or sets the calling thread's page size.  Errors: type 5 code
 * 10020, another option; type 5 codes 10021 and 10022, a width or length
 * below 10 (int 1 = the value).
 * @param option 1 and 2 read page_width (initially 78) and page_length
 *        (60) into *value; -1 and -2 set them from *value
 * @param value the value read or given */
ORVLS_API void orvls_page(int64_t option, int64_t *value);

/** Reads or sets the calling thread's print settings.  Errors: type 5 code
 * 10019, an option outside -6..6; type 5 codes 109 and 110, a value out of
 * the field's range (text 1 = the field, ints = the bounds and the value).
 * @param option n (1 to 6, the fields below) reads field n into *value, -n
 *        sets it from *value, 0 restores all defaults
 * @param value the value read or given */
ORVLS_API void orvls_write_options(int64_t option, int64_t *value);
#define ORVLS_SET_CENTERING  1 /**< centering, 0 or 1 (default 0): 1 centres each title line and table in page_width */
#define ORVLS_SET_ROW_WRAP   2 /**< row wrap, 0 and up (default 1000): r > 0 prints rows in bands of r through all column blocks; 0 one band */
#define ORVLS_SET_PAGING     3 /**< paging, -2 and up (default -2): -2 no pages and a blank line before each matrix; -1 neither; 0 and up pages of page_length lines, the value counting the lines of the current page */
#define ORVLS_SET_NAN_CHAR   4 /**< NaN character, 0 or 1 (default 0): 1 prints a NaN entry as "." instead of "NaN" */
#define ORVLS_SET_TITLE_PAGE 5 /**< title page, 0 or 1 (default 0): 1 repeats the title on every column block and page */
#define ORVLS_SET_FORMAT     6 /**< format used without ORVLS_WRITE_FORMAT, 0 to 2 (default 0): `%11.4W`, `%13.6W`, `%13.5e` */

/** Writes a text as a title, broken into lines of at most width as for
 * orvls_d_write_matrix() and centred in width when centering is set.
 * Errors: type 5 code 10011, width below 1; type 5 code 602, a text of 256
 * characters or more.
 * @param text the title; NULL or empty writes nothing
 * @param width the line width, 1 or more */
ORVLS_API void orvls_wrtrl(const char *text, int64_t width);
/** Prints a blank line, then value as a 1 by 1 matrix under title.
 * @param title the title
 * @param value the value */
ORVLS_API void orvls_wrrrs(const char *title, float value);
/** @copydoc orvls_wrrrs() */
ORVLS_API void orvls_dwrrrs(const char *title, double value);
/** @} */
/* END PRINTING */

/* ---------------------------------------------------------------------- */
/* BEGIN NEURAL */
/** @addtogroup neural
 * @{ */
/** A layer of a feed-forward network. */
typedef struct {
    int64_t n_nodes; /**< nodes in this layer */
    int64_t *nodes;  /**< their indices into the network's nodes, ascending and contiguous */
} orvls_ff_layer;

/** A node of a float network (orvls_d_ff_node: the same with double fields). */
typedef struct {
    int64_t layer_id;       /**< index of the layer that holds the node */
    int64_t n_inLinks;      /**< length of inLinks */
    int64_t n_outLinks;     /**< length of outLinks */
    int64_t *inLinks;       /**< indices into links of the links that end here, in order of creation, or NULL */
    int64_t *outLinks;      /**< indices into links of the links that start here, in order of creation, or NULL */
    float gradient;         /**< gradient of the error with respect to the bias; 1 until trained */
    float bias;             /**< bias weight; 0 until set */
    int64_t activation_fcn; /**< 0 linear, 1 logistic, 2 hyperbolic tangent, 3 squash x / (1 + |x|) */
} orvls_f_ff_node;

/** A node of a double network. */
typedef struct {
    int64_t layer_id;       /**< index of the layer that holds the node */
    int64_t n_inLinks;      /**< length of inLinks */
    int64_t n_outLinks;     /**< length of outLinks */
    int64_t *inLinks;       /**< indices into links of the links that end here, in order of creation, or NULL */
    int64_t *outLinks;      /**< indices into links of the links that start here, in order of creation, or NULL */
    double gradient;        /**< gradient of the error with respect to the bias; 1 until trained */
    double bias;            /**< bias weight; 0 until set */
    int64_t activation_fcn; /**< 0 linear, 1 logistic, 2 hyperbolic tangent, 3 squash x / (1 + |x|) */
} orvls_d_ff_node;

/** A link of a float network. */
typedef struct {
    float weight;      /**< 0 when created */
    float gradient;    /**< 1 when created */
    int64_t to_node;   /**< index of the receiving node; -1 while unset */
    int64_t from_node; /**< index of the sending node; -1 while unset */
} orvls_f_ff_link;

/** A link of a double network. */
typedef struct {
    double weight;     /**< 0 when created */
    double gradient;   /**< 1 when created */
    int64_t to_node;   /**< index of the receiving node; -1 while unset */
    int64_t from_node; /**< index of the sending node; -1 while unset */
} orvls_d_ff_link;

/** A float feed-forward network, owned by the caller from
 * orvls_f_mlff_network_init to orvls_f_mlff_network_free. */
typedef struct {
    int64_t n_layers;        /**< layers, input and output included; 2 after init */
    orvls_ff_layer *layers;  /**< layer 0 is the input layer, the last the output layer */
    int64_t n_links;         /**< length of links */
    int64_t next_link;       /**< index of the next free entry of links; n_links between calls */
    orvls_f_ff_link *links;  /**< the link table; NULL until the first link exists */
    int64_t n_nodes;         /**< all nodes, input nodes included */
    orvls_f_ff_node *nodes;  /**< input layer first, then each hidden layer, output layer last */
} orvls_f_ff_net;

/** A double feed-forward network. */
typedef struct {
    int64_t n_layers;        /**< layers, input and output included; 2 after init */
    orvls_ff_layer *layers;  /**< layer 0 is the input layer, the last the output layer */
    int64_t n_links;         /**< length of links */
    int64_t next_link;       /**< index of the next free entry of links; n_links between calls */
    orvls_d_ff_link *links;  /**< the link table; NULL until the first link exists */
    int64_t n_nodes;         /**< all nodes, input nodes included */
    orvls_d_ff_node *nodes;  /**< input layer first, then each hidden layer, output layer last */
} orvls_d_ff_net;

/** A new network of n_inputs input nodes (0 to n_inputs - 1, linear) and
 * n_outputs output nodes (n_inputs on, linear), two layers and no links;
 * release it with orvls_f_mlff_network_free.  NULL after an error: 603 an
 * argument below 1 (string 1 = its name, int 1 = the value, int 2 = 1), 200
 * memory.
 * @param n_inputs input nodes, at least 1
 * @param n_outputs output nodes, at least 1
 * @return the network, NULL after an error */
ORVLS_API orvls_f_ff_net *orvls_f_mlff_network_init(int64_t n_inputs, int64_t n_outputs);
/** @copydoc orvls_f_mlff_network_init() */
ORVLS_API orvls_d_ff_net *orvls_d_mlff_network_init(int64_t n_inputs, int64_t n_outputs);

/** Shapes a network: orvls_f_mlff_network(ffnet, options..., 0).
 *
 * The options are read first and carried out in this order, whatever their
 * order in the list: ORVLS_CREATE_HIDDEN_LAYER (a layer of logistic nodes
 * inserted just ahead of the output layer; the output nodes move up and
 * links made earlier keep their node numbers, so add layers before links),
 * ORVLS_ACTIVATION_FCN, ORVLS_BIAS, ORVLS_LINK_ALL (each layer fully to the
 * next, links grouped by sending node), ORVLS_LINK_LAYER, ORVLS_LINK_NODE,
 * ORVLS_REMOVE_LINK, ORVLS_WEIGHTS, ORVLS_N_LINKS, ORVLS_PRINT_NETWORK (or
 * ORVLS_PRINT).  An option given twice keeps its last values; at most one
 * of the four link options per call.  The report goes to the thread's
 * output stream under the output lock.
 *
 * Errors (type 5 unless told; a failed check ends the call, and what was
 * done before it stays done): 150 ffnet NULL; 11001 unknown option; 11117
 * more than one link option; 603 n_perceptrons below 1; 40097 layer_id, or
 * the to layer, outside 1..n_layers-1; 40098 the from layer outside
 * 0..n_layers-2; 40092 two nodes or layers in one layer; 40089 an
 * activation code outside 0..3 (int 1 = position, int 2 = code); 602 a node
 * of ORVLS_LINK_NODE out of range; 40091 a link ending at an input node;
 * 40093 a link starting at an output node; 605 to below from; 40094 a node
 * number of ORVLS_REMOVE_LINK outside 0..n_links-1 (node numbers are
 * compared with the number of links); 40095 no such link; 40096 (type 6)
 * the link exists already, nothing added; 200 memory.
 * @param ffnet the network, changed in place
 * @param ... the option list, ended by 0 */
ORVLS_API void orvls_f_mlff_network(orvls_f_ff_net *ffnet, ...);
/** @copydoc orvls_f_mlff_network()
 * In the double form the reals of ORVLS_BIAS and ORVLS_WEIGHTS are double. */
ORVLS_API void orvls_d_mlff_network(orvls_d_ff_net *ffnet, ...);
#define ORVLS_CREATE_HIDDEN_LAYER 40600 /**< int n_perceptrons: adds a hidden layer */
#define ORVLS_ACTIVATION_FCN      40601 /**< int64_t layer_id, const int64_t *codes: activations of a layer's nodes */
#define ORVLS_BIAS                40602 /**< int layer_id, const real *: biases of a layer's nodes */
#define ORVLS_LINK_ALL            40603 /**< links each layer fully to the next */
#define ORVLS_LINK_NODE           40604 /**< int to, int from: one link between two nodes */
#define ORVLS_LINK_LAYER          40605 /**< int to, int from: every node of layer from to every node of layer to */
#define ORVLS_REMOVE_LINK         40606 /**< int to, int from: removes the link between two nodes */
#define ORVLS_N_LINKS             40607 /**< int64_t *: receives n_links */
#define ORVLS_PRINT_NETWORK       40608 /**< prints the network */
#define ORVLS_WEIGHTS_USER        15401 /**< real *: the caller's array for the weights */

/** Releases a network and everything it holds; NULL is accepted.
 * @param ffnet the network */
ORVLS_API void orvls_f_mlff_network_free(orvls_f_ff_net *ffnet);
/** @copydoc orvls_f_mlff_network_free() */
ORVLS_API void orvls_d_mlff_network_free(orvls_d_ff_net *ffnet);

/** Trains a network: orvls_f_mlff_network_trainer(ff_net, n_observations,
 * n_categorical, n_continuous, categorical, continuous, output, options...,
 * 0).  Network input k reads categorical column k (as a real) for k below
 * n_categorical, else continuous column k - n_categorical; output holds the
 * targets, one row per observation, one column per output node.  The error
 * is half the sum of squared differences of forecast and target.
 *
 * The weight vector has n_links link weights, then the biases of the
 * non-input nodes in node order.  Its entries are taken by position: the
 * forward pass walks the non-input nodes in order and, in each, its
 * in-links in list order, taking the next entry for each; entry i is read
 * from and written back to links[i].weight.
 *
 * Stage I runs n_epochs quasi-Newton minimisations (orvls_f_min_uncon_multivar,
 * with the analytic gradient), each on epoch_size observations drawn at
 * random, from the initial weights plus uniform deviates in (-0.5, 0.5),
 * and keeps the best; it ends early once the best error is below tolerance.
 * With Stage II on, Stage I works to max_itn / 2 iterations and rfcn_tol / 2.
 * Stage II, unless the Stage I error is at most tolerance, minimises over all
 * observations from the best weights with gradients by differences, and
 * replaces the result only when it is lower.  The optimiser's stopping
 * notices (50057, 50058, 50064, 50065, 20129, 20131, 20135) are cleared.
 * The random numbers come from the thread's stream: a seeded run repeats
 * itself exactly.  On success the weights, biases and gradients are written
 * back into the network.
 *
 * Returns 5 statistics (the caller frees them): 0 the final error, 1 the
 * error evaluations of the last Stage I epoch, 2 the Stage I error, 3 the
 * Stage II evaluations, 4 the Stage II error (NaN, or 0 for the counts, for
 * a stage that did not run).  NULL after a type 5 error; arrays asked for
 * are still stored.
 *
 * Errors (type 5 unless told): 150 ff_net NULL; 603 n_observations below 1,
 * n_categorical or n_continuous below 0, n_epochs or epoch_size below 0,
 * epoch_size above n_observations, max_itn or max_fcn below 1, and (in the
 * engine) max_step, rfcn_tol or grad_tol not above 0; 608 max_step,
 * rfcn_tol, grad_tol or tolerance below 0; 40085 the input columns do not
 * match the input nodes; 40084 no epoch to run; 40087 a negative link count;
 * 40088 an activation code outside 0..3; 40086 (type 3) an error sum that
 * is not finite: the largest real is used and training goes on; 104 a NULL
 * user array; 11001 unknown option; 200, 201 memory.
 * @param ff_net the network, updated on success
 * @param n_observations rows of data, at least 1
 * @param n_categorical categorical inputs, at least 0
 * @param n_continuous continuous inputs, at least 0
 * @param categorical n_observations by n_categorical, row after row
 * @param continuous n_observations by n_continuous, row after row
 * @param output n_observations by the output nodes, row after row
 * @param ... the option list, ended by 0
 * @return the 5 statistics, NULL after a type 5 error */
ORVLS_API float *orvls_f_mlff_network_trainer(orvls_f_ff_net *ff_net, int64_t n_observations, int64_t n_categorical,
                                              int64_t n_continuous, const int64_t *categorical, const float *continuous,
                                              const float *output, ...);
/** @copydoc orvls_f_mlff_network_trainer() */
ORVLS_API double *orvls_d_mlff_network_trainer(orvls_d_ff_net *ff_net, int64_t n_observations, int64_t n_categorical,
                                               int64_t n_continuous, const int64_t *categorical,
                                               const double *continuous, const double *output, ...);
#define ORVLS_STAGE_I         40609 /**< int n_epochs, int epoch_size; default 15 and n_observations */
#define ORVLS_NO_STAGE_II     40610 /**< leaves Stage II out */
#define ORVLS_TOLERANCE       15040 /* double: error at which Stage I counts as converged; default 0.1 (documented with the regression) */
#define ORVLS_TOLERANCE_ADR   15050 /* real *: the same by address */
#define ORVLS_PRINT           13900 /**< prints the training report (and, to orvls_f_mlff_network, the network) */
#define ORVLS_GRADIENT        12050 /**< real **: receives the gradient at the final weights, n_nodes + n_links long */
#define ORVLS_GRADIENT_USER   12051 /**< real *: the caller's array of n_weights for the gradient */
#define ORVLS_FORECASTS       25730 /**< real **: receives the forecasts, one row per observation */
#define ORVLS_FORECASTS_USER  25740 /**< real *: the caller's array for the forecasts */
#define ORVLS_RESIDUALS       14190 /**< real **: receives forecast minus target, one row per observation */
#define ORVLS_RESIDUALS_USER  14220 /**< real *: the caller's array for the residuals */

/** Forecasts of a network for new rows:
 * orvls_f_mlff_network_forecast(ff_net, n_observations, n_categorical,
 * n_continuous, categorical, continuous, options..., 0).  Each row passes
 * through the forward pass of the trainer, with the network's link weights
 * taken by position as the trainer takes them and its biases.  Returns
 * n_observations rows of one forecast per output node, which the caller
 * frees (or the ORVLS_RETURN_USER array); NULL after an error.  Options:
 * ORVLS_RETURN_USER, ORVLS_RETURN_COL_DIM (row length of the result;
 * default the output count), ORVLS_CATEGORICAL_COL_DIM and
 * ORVLS_CONTINUOUS_COL_DIM.
 *
 * Errors (type 5): 150 ff_net NULL; 603 n_observations below 1,
 * n_categorical or n_continuous below 0; 40085 the input columns do not
 * match the input nodes; 40088 an activation code outside 0..3; 600 a row
 * length below its row (int 1, string 1 = the row length and its option,
 * int 2, string 2 = the extent); 104 a NULL user array; 11001 unknown
 * option; 200 memory.
 * @param ff_net a network, usually trained
 * @param n_observations rows to forecast, at least 1
 * @param n_categorical categorical inputs, at least 0
 * @param n_continuous continuous inputs, at least 0
 * @param categorical n_observations rows of n_categorical, row-major
 * @param continuous n_observations rows of n_continuous, row-major
 * @param ... the option list, ended by 0
 * @return the forecasts, NULL after an error */
ORVLS_API float *orvls_f_mlff_network_forecast(const orvls_f_ff_net *ff_net, int64_t n_observations,
                                               int64_t n_categorical, int64_t n_continuous,
                                               const int64_t *categorical, const float *continuous, ...);
/** @copydoc orvls_f_mlff_network_forecast() */
ORVLS_API double *orvls_d_mlff_network_forecast(const orvls_d_ff_net *ff_net, int64_t n_observations,
                                                int64_t n_categorical, int64_t n_continuous,
                                                const int64_t *categorical, const double *continuous, ...);
#define ORVLS_CATEGORICAL_COL_DIM 10570 /**< int: row length of categorical; default n_categorical */
#define ORVLS_CONTINUOUS_COL_DIM  10970 /**< int: row length of continuous; default n_continuous */
/** @} */
/* END NEURAL */

#ifdef __cplusplus
}
#endif

#endif /* ORVLS_H */
