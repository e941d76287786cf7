/* A linear model: crop yield on the variety grown (1, 2 or 3, a class
 * variable coded against the last variety) and the nitrogen given.  The
 * coefficients, a printed summary of the fit (the summary statistics, the
 * analysis of variance, the tests of the coefficients with their variance
 * inflation) and a prediction with its limits. */
#include <math.h>
#include <orvls.h>
#include <stdio.h>

void tour_regression(void)
{
    const char *terms[] = {"intercept", "variety 1", "variety 2", "nitrogen"};
    const char *summary_labels[] = {"R-squared %", "adj. R-sq. %", "error s.d.", "mean", "coef. var. %"};
    const char *sources[] = {"Regression", "Residual", "Corrected Total"};
    const char *statistics[] = {"DF", "Sum of Squares", "Mean Square", "Overall F", "Prob. > F"};
    /* variety, nitrogen */
    double plots[12 * 2] = {1, 0, 1, 40, 1, 80, 1, 120, 2, 0, 2, 40, 2, 80, 2, 120, 3, 0, 3, 40, 3, 80, 3, 120};
    double yields[12] = {3.1, 4.0, 4.6, 5.2, 3.6, 4.4, 5.3, 5.8, 2.8, 3.5, 4.3, 4.7};
    const char *columns[] = {"estimate", "std. error", "t", "prob > |t|", "VIF"};
    const char *limits[] = {"fitted", "mean lower", "mean upper", "new lower", "new upper"};
    /* a new plot of variety 1 given 100 of nitrogen, in the coding above */
    double new_plot[3] = {1, 0, 100}, prediction[5];
    double summary[5], table[3 * 5], inference[4 * 5];
    double *design = NULL, *anova = NULL, *coefficients, *t_tests = NULL, *vif = NULL, *fitted;
    orvls_d_regression_info *info = NULL;
    int64_t n_regressors, i, j;
    printf("\n== Linear regression ==\n");
    fflush(stdout);
    n_regressors = orvls_d_regressors_for_glm(12, plots, 1, 1, ORVLS_DUMMY_METHOD, 2, ORVLS_REGRESSORS, &design, 0);
    coefficients = orvls_d_regression(12, n_regressors, design, yields, ORVLS_ANOVA_TABLE, &anova,
                                      ORVLS_REGRESSION_INFO, &info, 0);
    orvls_d_write_matrix("Coefficients", 1, n_regressors + 1, coefficients, ORVLS_COL_LABELS, terms, 0);
    /* the 15 values of the analysis of variance, laid out as a table: the
     * cells a source does not have are NaN */
    for (i = 0; i < 5; ++i)
        summary[i] = anova[10 + i];
    orvls_d_write_matrix("Summary of the fit", 1, 5, summary, ORVLS_COL_LABELS, summary_labels, 0);
    for (i = 0; i < 3; ++i) {
        table[i * 5] = anova[i];
        table[i * 5 + 1] = anova[3 + i];
        table[i * 5 + 2] = i < 2 ? anova[6 + i] : NAN;
        table[i * 5 + 3] = i == 0 ? anova[8] : NAN;
        table[i * 5 + 4] = i == 0 ? anova[9] : NAN;
    }
    orvls_d_write_matrix("Analysis of variance", 3, 5, table, ORVLS_ROW_LABELS, sources, ORVLS_COL_LABELS, statistics,
                         ORVLS_WRITE_FORMAT, "%7.1W%10.4W%10.4W%9.3f%7.4f", 0);
    /* the summary's tests of the coefficients with their variance inflation,
     * and a prediction with its 95% limits for the mean yield and for the
     * yield of one new plot */
    orvls_d_regression_summary(info, ORVLS_COEF_T_TESTS, &t_tests, ORVLS_COEF_VIF, &vif, 0);
    for (i = 0; i <= n_regressors; ++i) {
        for (j = 0; j < 4; ++j)
            inference[i * 5 + j] = t_tests[i * 4 + j];
        inference[i * 5 + 4] = vif[i];
    }
    orvls_d_write_matrix("Inference on coefficients", n_regressors + 1, 5, inference, ORVLS_ROW_LABELS, terms,
                         ORVLS_COL_LABELS, columns, 0);
    fitted = orvls_d_regression_prediction(info, 1, new_plot, ORVLS_RETURN_USER, prediction, ORVLS_MEAN_LIMITS_USER,
                                           prediction + 1, prediction + 2, ORVLS_NEW_OBSERVATION_LIMITS_USER,
                                           prediction + 3, prediction + 4, 0);
    orvls_d_write_matrix("Prediction for variety 1 with 100 of nitrogen", 1, 5, fitted, ORVLS_COL_LABELS, limits, 0);
    orvls_free_allocated_memory(t_tests);
    orvls_free_allocated_memory(vif);
    orvls_free_allocated_memory(info);
    orvls_free_allocated_memory(design);
    orvls_free_allocated_memory(coefficients);
    orvls_free_allocated_memory(anova);
}

#ifndef ORVLS_TOUR
int main(void)
{
    tour_regression();
    return 0;
}
#endif
