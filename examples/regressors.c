/* The regressors of a linear model with a class variable: six plots, the
 * fertiliser (1, 2 or 3) and its dose, coded to sum to zero, with the
 * fertiliser by dose interaction. */
#include <orvls.h>
#include <stdio.h>

void tour_regressors(void)
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

#ifndef ORVLS_TOUR
int main(void)
{
    tour_regressors();
    return 0;
}
#endif
