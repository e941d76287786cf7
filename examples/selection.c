/* Best subsets: the heat given off by cement against the amounts of its
 * four ingredients (13 batches); the three subsets with the lowest Mallows
 * Cp, their variables numbered from 0, and the coefficients of each. */
#include <orvls.h>
#include <stdio.h>

void tour_selection(void)
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

#ifndef ORVLS_TOUR
int main(void)
{
    tour_selection();
    return 0;
}
#endif
