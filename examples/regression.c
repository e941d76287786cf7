/* A linear model: crop yield on the variety grown (1, 2 or 3, a class
 * variable coded against the last variety) and the nitrogen given.  The
 * coefficients and the analysis-of-variance table of the fit. */
#include <orvls.h>
#include <stdio.h>

void tour_regression(void)
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

#ifndef ORVLS_TOUR
int main(void)
{
    tour_regression();
    return 0;
}
#endif
