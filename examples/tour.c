/* A tour of orvls: a short program that shows each family at work. */
#include <orvls.h>
#include <stdio.h>

/* Errors travel on a per-thread stack and are reported when the routine the
 * caller called returns; terminal errors are reported at once.  Here the stop
 * that a terminal error asks for is turned off, and a traceback is asked for. */
static void tour_errors(void)
{
    double a[6] = {1, 2, 3, 4, 5, 6};
    printf("\n== Error reports ==\n");
    fflush(stdout);
    orvls_error_options(ORVLS_ERROR_FILE, stdout, ORVLS_SET_STOP, ORVLS_TERMINAL, 0, ORVLS_SET_TRACEBACK,
                        ORVLS_TERMINAL, 1, 0);
    orvls_d_m1ran(0, 3, a, a); /* no rows: refused */
    printf("after the call: type %ld, code %ld\n", (long)orvls_n1rty(1), (long)orvls_error_code());
    orvls_error_options(ORVLS_ERROR_FILE, stderr, ORVLS_SET_STOP, ORVLS_TERMINAL, 1, ORVLS_SET_TRACEBACK,
                        ORVLS_TERMINAL, 0, 0);
}

/* Machine constants, a named constant in other units, and the version. */
static void tour_machine(void)
{
    char *version = orvls_version(ORVLS_LIBRARY_VERSION);
    printf("\n== Machine constants ==\n");
    printf("largest double %g, double epsilon %g, float digits %lld\n", orvls_dmach(2), orvls_dmach(4),
           (long long)orvls_i_machine(7));
    printf("speed of light %.1f km/hr, standard gravity %.4f foot/s^2\n",
           orvls_d_constant("SPEEDLIGHT", ORVLS_UNIT, "km/hr", 0),
           orvls_d_constant("STANDARDGRAVITY", ORVLS_UNIT, "foot/s^2", 0));
    printf("version: \"%s\"\n", version);
    orvls_free_allocated_memory(version);
}

/* A matrix report with row and column labels. */
static void tour_printing(void)
{
    double scores[] = {1.5, 2.0 / 3.0, -4.0, 1234567.0, 1e-9, 0.25};
    const char *subjects[] = {"maths", "physics"};
    const char *terms[] = {"autumn", "winter", "spring"};
    printf("\n== Matrix report ==\n");
    fflush(stdout);
    orvls_d_write_matrix("Scores by term", 2, 3, scores, ORVLS_ROW_LABELS, subjects, ORVLS_COL_LABELS, terms, 0);
}

/* Vector and matrix kernels, column-major as in the published BLAS. */
static void tour_kernels(void)
{
    const double a[4] = {1, 3, 2, 4}, b[4] = {5, 7, 6, 8}; /* column-major [1 2; 3 4], [5 6; 7 8] */
    double c[4] = {0};
    const int64_t two = 2;
    const double one = 1, zero = 0;
    orvls_dgemm("N", "N", &two, &two, &two, &one, a, &two, b, &two, &zero, c, &two, 1, 1);
    printf("kernels: [1 2; 3 4] [5 6; 7 8] = [%g %g; %g %g], dot = %g\n", c[0], c[2], c[1], c[3],
           orvls_ddot(4, a, 1, b, 1));
}

/* Special functions: gamma, erf, the incomplete beta and a binomial coefficient. */
static void tour_special(void)
{
    printf("\n== Special functions ==\n");
    printf("gamma(4.5) = %.15g, erf(0.5) = %.15g\n", orvls_d_gamma(4.5), orvls_d_erf(0.5));
    printf("I_0.3(2, 5) = %.15g, C(10, 3) = %.0f\n", orvls_d_beta_incomplete(0.3, 2, 5),
           orvls_d_binomial_coefficient(10, 3));
}

/* Uniform deviates from a seeded stream, under two generators. */
static void tour_random(void)
{
    double congruential[3], twister[3];
    orvls_random_seed_set(123457);
    orvls_d_random_uniform(3, ORVLS_RETURN_USER, congruential, 0);
    orvls_random_option(8); /* the 32-bit Mersenne twister */
    orvls_d_random_uniform(3, ORVLS_RETURN_USER, twister, 0);
    printf("\n== Random numbers ==\n");
    printf("option 1: %.6f %.6f %.6f\n", congruential[0], congruential[1], congruential[2]);
    printf("option 8: %.6f %.6f %.6f\n", twister[0], twister[1], twister[2]);
}

/* Quantiles and p-values of the laws behind the usual tests. */
static void tour_distributions(void)
{
    const double p[3] = {0.9, 0.95, 0.99};
    int i;
    printf("\n== Distributions ==\n");
    printf("%6s %10s %10s %10s %10s\n", "p", "normal", "t(10)", "chi2(5)", "F(3,20)");
    for (i = 0; i < 3; ++i)
        printf("%6.2f %10.4f %10.4f %10.4f %10.4f\n", p[i], orvls_d_normal_inverse_cdf(p[i]),
               orvls_d_t_inverse(p[i], 10), orvls_d_chi_squared_inverse_cdf(p[i], 5),
               orvls_d_F_inverse_cdf(p[i], 3, 20));
    printf("p-values: z = 2.5: %.5f; t = 2.5, 10 df: %.5f; chi2 = 11.07, 5 df: %.5f; F = 3.1, (3, 20) df: %.5f\n",
           1 - orvls_d_normal_cdf(2.5), 1 - orvls_d_t_cdf(2.5, 10), 1 - orvls_d_chi_squared_cdf(11.07, 5),
           1 - orvls_d_F_cdf(3.1, 3, 20));
}

/* A data summary: the simple statistics of a dozen plants, one height not
 * recorded, with the median and scale. */
static void tour_statistics(void)
{
    const char *statistics[] = {"mean", "variance", "std. dev.", "skewness", "kurtosis", "minimum", "maximum",
                                "range", "coef. var.", "count", "lower mean", "upper mean", "lower var.",
                                "upper var.", "median", "med. abs. dev.", "scale"};
    const char *variables[] = {"height cm", "leaves", "weight g"};
    double plants[12 * 3] = {12.1, 8,  3.2, 14.3, 9,  3.9, 11.8,      7,  2.8, 15.2, 11, 4.4,
                             13.0, 8,  3.5, 0.0 / 0.0, 10, 4.1, 12.7, 9,  3.4, 16.1, 12, 4.9,
                             10.9, 6,  2.5, 13.8, 10, 3.8, 14.9,      11, 4.3, 12.4, 8,  3.1};
    double *summary;
    printf("\n== Simple statistics ==\n");
    fflush(stdout);
    summary = orvls_d_simple_statistics(12, 3, plants, ORVLS_MEDIAN_AND_SCALE, ORVLS_MISSING_ELEMENTWISE, 0);
    orvls_d_write_matrix("Summary of twelve plants", 17, 3, summary, ORVLS_ROW_LABELS, statistics, ORVLS_COL_LABELS,
                         variables, 0);
    orvls_free_allocated_memory(summary);
}

/* A contingency table: eye colour by hair colour of 60 people, the
 * chi-squared statistics and measures of association, and Fisher's exact
 * p-value by the network algorithm and by enumeration. */
static void tour_contingency(void)
{
    const char *chi_labels[] = {"Pearson chi2", "p-value", "df", "G2", "p-value", "phi", "chi2/(n+chi2)",
                                "Cramer's V", "M-H chi2", "p-value"};
    const char *stat_labels[] = {"gamma", "tau-b", "tau-c", "Somers D row", "Somers D col", "correlation"};
    const char *se_labels[] = {"value", "std. error"};
    double eyes[3 * 4] = {8, 4, 2, 1, 3, 9, 5, 2, 1, 4, 7, 14};
    double chi_stats[10], table_stats[12], network_p, enumerated_p, observed;
    int64_t tables;
    printf("\n== Contingency table ==\n");
    fflush(stdout);
    orvls_d_contingency_table(3, 4, eyes, ORVLS_CHI_SQUARED_STATS_USER, chi_stats, ORVLS_TABLE_STATS_USER,
                              table_stats, 0);
    orvls_d_write_matrix("Chi-squared statistics", 10, 1, chi_stats, ORVLS_ROW_LABELS, chi_labels,
                         ORVLS_COL_STYLE_0, 0);
    orvls_d_write_matrix("Measures of association", 6, 2, table_stats, ORVLS_ROW_LABELS, stat_labels,
                         ORVLS_COL_LABELS, se_labels, 0);
    network_p = orvls_d_exact_network(3, 4, eyes, ORVLS_NO_HYBRID, ORVLS_PROB_TABLE, &observed, 0);
    enumerated_p = orvls_d_exact_enumeration(3, 4, eyes, ORVLS_TABLE_COUNT, &tables, 0);
    printf("Fisher's exact p-value: network %.10g, enumeration %.10g (%lld tables)\n", network_p, enumerated_p,
           (long long)tables);
    printf("probability of the observed table %.6g\n", observed);
}

/* Random samples: a seeded normal sample summarised by the simple
 * statistics, and a few Poisson and binomial draws. */
static void tour_sampling(void)
{
    double sample[1000], *summary;
    int64_t poisson[5], binomial[5];
    int i;
    orvls_random_option(1);
    orvls_random_seed_set(123457);
    orvls_d_random_normal(1000, ORVLS_MEAN, 50.0, ORVLS_VARIANCE, 4.0, ORVLS_RETURN_USER, sample, 0);
    summary = orvls_d_simple_statistics(1000, 1, sample, 0);
    orvls_random_poisson(5, 4.0f, ORVLS_RETURN_USER, poisson, 0);
    orvls_d_random_binomial(5, 20, 0.3, ORVLS_RETURN_USER, binomial, 0);
    printf("\n== Random samples ==\n");
    printf("normal(50, 4), n = 1000: mean %.4f, standard deviation %.4f\n", summary[0], summary[2]);
    orvls_free_allocated_memory(summary);
    printf("poisson(4):");
    for (i = 0; i < 5; ++i)
        printf(" %lld", (long long)poisson[i]);
    printf("\nbinomial(20, 0.3):");
    for (i = 0; i < 5; ++i)
        printf(" %lld", (long long)binomial[i]);
    printf("\n");
}

/* The regressors of a linear model with a class variable: six plots, the
 * fertiliser (1, 2 or 3) and its dose, coded to sum to zero, with the
 * fertiliser by dose interaction. */
static void tour_regressors(void)
{
    double plots[6 * 2] = {1, 2.0, 2, 1.5, 3, 3.0, 1, 2.5, 2, 1.0, 3, 0.5};
    const int64_t n_var_effects[3] = {1, 1, 2}, indices_effects[4] = {0, 1, 0, 1};
    const char *labels[] = {"fert 1", "fert 2", "dose", "f1 x dose", "f2 x dose"};
    double *regressors = NULL;
    int64_t n_regressors;
    printf("\n== Regressors of a linear model ==\n");
    fflush(stdout);
    n_regressors = orvls_d_regressors_for_glm(6, plots, 1, 1, ORVLS_DUMMY_METHOD, 3, ORVLS_INDICES_EFFECTS, 3,
                                              n_var_effects, indices_effects, ORVLS_REGRESSORS, &regressors, 0);
    orvls_d_write_matrix("Fertiliser, dose and their interaction", 6, n_regressors, regressors, ORVLS_COL_LABELS,
                         labels, 0);
    orvls_free_allocated_memory(regressors);
}

/* A linear model: crop yield on the variety grown (1, 2 or 3, a class
 * variable coded against the last variety) and the nitrogen given.  The
 * coefficients and the analysis-of-variance table of the fit. */
static void tour_regression(void)
{
    const char *terms[] = {"intercept", "variety 1", "variety 2", "nitrogen"};
    const char *places[] = {"model df", "error df", "total df", "model SS", "error SS", "total SS", "model MS",
                            "error MS", "F", "prob > F", "R-squared %", "adj. R-sq. %", "error s.d.", "mean",
                            "coef. var. %"};
    /* variety, nitrogen */
    double plots[12 * 2] = {1, 0, 1, 40, 1, 80, 1, 120, 2, 0, 2, 40, 2, 80, 2, 120, 3, 0, 3, 40, 3, 80, 3, 120};
    double yields[12] = {3.1, 4.0, 4.6, 5.2, 3.6, 4.4, 5.3, 5.8, 2.8, 3.5, 4.3, 4.7};
    const char *columns[] = {"estimate", "std. error", "t", "prob > |t|"};
    const char *limits[] = {"fitted", "mean lower", "mean upper", "new lower", "new upper"};
    /* a new plot of variety 1 given 100 of nitrogen, in the coding above */
    double new_plot[3] = {1, 0, 100}, prediction[5];
    double *design = NULL, *anova = NULL, *coefficients, *t_tests = NULL, *fitted;
    orvls_d_regression_info *info = NULL;
    int64_t n_regressors;
    printf("\n== Linear regression ==\n");
    fflush(stdout);
    n_regressors = orvls_d_regressors_for_glm(12, plots, 1, 1, ORVLS_DUMMY_METHOD, 2, ORVLS_REGRESSORS, &design, 0);
    coefficients = orvls_d_regression(12, n_regressors, design, yields, ORVLS_ANOVA_TABLE, &anova,
                                      ORVLS_REGRESSION_INFO, &info, 0);
    orvls_d_write_matrix("Coefficients", 1, n_regressors + 1, coefficients, ORVLS_COL_LABELS, terms, 0);
    orvls_d_write_matrix("Analysis of variance", 15, 1, anova, ORVLS_ROW_LABELS, places, ORVLS_COL_STYLE_0, 0);
    /* the summary's tests of the coefficients, and a prediction with its
     * 95% limits for the mean yield and for the yield of one new plot */
    orvls_d_regression_summary(info, ORVLS_COEF_T_TESTS, &t_tests, 0);
    orvls_d_write_matrix("Inference on coefficients", n_regressors + 1, 4, t_tests, ORVLS_ROW_LABELS, terms,
                         ORVLS_COL_LABELS, columns, 0);
    fitted = orvls_d_regression_prediction(info, 1, new_plot, ORVLS_RETURN_USER, prediction, ORVLS_MEAN_LIMITS_USER,
                                           prediction + 1, prediction + 2, ORVLS_NEW_OBSERVATION_LIMITS_USER,
                                           prediction + 3, prediction + 4, 0);
    orvls_d_write_matrix("Prediction for variety 1 with 100 of nitrogen", 1, 5, fitted, ORVLS_COL_LABELS, limits, 0);
    orvls_free_allocated_memory(t_tests);
    orvls_free_allocated_memory(info);
    orvls_free_allocated_memory(design);
    orvls_free_allocated_memory(coefficients);
    orvls_free_allocated_memory(anova);
}

/* Best subsets: the heat given off by cement against the amounts of its
 * four ingredients (13 batches); the three subsets with the lowest Mallows
 * Cp, their variables numbered from 0, and the coefficients of each. */
static void tour_selection(void)
{
    double ingredients[13 * 4] = {7,  26, 6,  60, 1,  29, 15, 52, 11, 56, 8,  20, 11, 31, 8,  47, 7,  52, 6,
                                  33, 11, 55, 9,  22, 3,  71, 17, 6,  1,  31, 22, 44, 2,  54, 18, 22, 21, 47,
                                  4,  26, 1,  40, 23, 34, 11, 66, 9,  12, 10, 68, 8,  12};
    double heat[13] = {78.5, 74.3, 104.3, 87.6, 95.9, 109.2, 102.7, 72.5, 93.1, 115.9, 83.8, 113.3, 109.4};
    char *report = NULL;
    printf("\n== Best subsets ==\n");
    orvls_d_regression_selection(13, 4, ingredients, heat, ORVLS_MALLOWS_CP, ORVLS_MAX_N_BEST, 3, ORVLS_PRINT_TO_TEXT,
                                 &report, 0);
    if (report != NULL)
        printf("%s", report);
    orvls_free_allocated_memory(report);
}

/* A Kalman filter of a local level observed with noise: at each time point
 * the measurement update (none for the missing fourth observation) gives the
 * filtered level, and a call with the transition and the noise carries it to
 * the next; the log-likelihood comes from the sums the filter keeps, with
 * the scale known. */
static void tour_kalman(void)
{
    const double y[8] = {4.4, 4.0, 3.5, 0.0, 4.6, 5.2, 4.9, 5.8};
    const double z = 1, r = 1, t = 1, q = 0.25;
    double level = 0, level_var = 100, ss = 0, log_det = 0;
    int64_t n_rank = 0;
    int k;
    printf("\n== Kalman filter ==\n");
    printf("%4s %8s %10s %10s\n", "t", "y", "level", "variance");
    for (k = 0; k < 8; ++k) {
        if (k != 3)
            orvls_d_kalman(1, &level, &level_var, &n_rank, &ss, &log_det, ORVLS_MEASUREMENT, 1, &y[k], &z, &r, 0);
        if (k == 3)
            printf("%4d %8s %10.4f %10.4f\n", k + 1, "missing", level, level_var);
        else
            printf("%4d %8.2f %10.4f %10.4f\n", k + 1, y[k], level, level_var);
        /* The state carried to the next time point. */
        orvls_d_kalman(1, &level, &level_var, &n_rank, &ss, &log_det, ORVLS_TRANSITION, &t, ORVLS_STATE_NOISE, &q, 0);
    }
    printf("observations used %lld, log-likelihood %.6f\n", (long long)n_rank,
           -0.5 * ((double)n_rank * 1.8378770664093454836 /* log(2 pi) */ + ss + log_det));
}

/* A feed-forward network: 2 inputs, 4 logistic hidden nodes and a linear
 * output, trained on a seeded sample of y = x1 x2 + x1 / 2, then asked for a
 * few forecasts. */
static void tour_network(void)
{
    double x[40 * 2], y[40], stats[5], fresh[3 * 2] = {0.2, 0.8, 0.5, 0.5, 0.9, 0.1}, *forecasts;
    orvls_d_ff_net *net;
    int i;
    orvls_random_option(1);
    orvls_random_seed_set(24680);
    orvls_d_random_uniform(80, ORVLS_RETURN_USER, x, 0);
    for (i = 0; i < 40; ++i)
        y[i] = x[2 * i] * x[2 * i + 1] + 0.5 * x[2 * i];
    net = orvls_d_mlff_network_init(2, 1);
    orvls_d_mlff_network(net, ORVLS_CREATE_HIDDEN_LAYER, 4, 0);
    orvls_d_mlff_network(net, ORVLS_LINK_ALL, 0);
    orvls_d_mlff_network_trainer(net, 40, 0, 2, NULL, x, y, ORVLS_STAGE_I, 5, 30, ORVLS_TOLERANCE, 1e-6,
                                 ORVLS_RETURN_USER, stats, 0);
    printf("\n== Feed-forward network ==\n");
    printf("2-4-1 network, 40 rows: half error sum of squares %.3g (Stage I %.3g, Stage II %.3g)\n", stats[0],
           stats[2], stats[4]);
    forecasts = orvls_d_mlff_network_forecast(net, 3, 0, 2, NULL, fresh, 0);
    for (i = 0; i < 3; ++i)
        printf("x = (%.1f, %.1f): forecast %.4f, true %.4f\n", fresh[2 * i], fresh[2 * i + 1], forecasts[i],
               fresh[2 * i] * fresh[2 * i + 1] + 0.5 * fresh[2 * i]);
    orvls_free_allocated_memory(forecasts);
    orvls_d_mlff_network_free(net);
}

int main(void)
{
    printf("orvls tour\n");
    tour_errors();
    tour_machine();
    tour_printing();
    tour_kernels();
    tour_special();
    tour_distributions();
    tour_statistics();
    tour_random();
    tour_sampling();
    tour_regressors();
    tour_regression();
    tour_selection();
    tour_kalman();
    tour_contingency();
    tour_network();
    return 0;
}
