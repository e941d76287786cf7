/* One-way analysis of variance: the weight gain of rats on four diets, one
 * weighing lost (NaN).  The table, the group means and Tukey's 95%
 * intervals for every pair of diets, then the Newman-Keuls range test of
 * the same means. */
#include <orvls.h>
#include <math.h>
#include <stdio.h>

void tour_anova(void)
{
    int64_t n[4] = {5, 5, 4, 5};
    double gain[19] = {90, 76, 90, 64, 86,  51, 72, 90, 95, 78,  107, 95, NAN, 97,  85, 98, 74, 56, 111};
    double anova[15], means[4], *tukey = NULL;
    int64_t counts[4], *sets;
    int i;
    double p = orvls_d_anova_oneway(4, n, gain, ORVLS_ANOVA_TABLE_USER, anova, ORVLS_GROUP_MEANS_USER, means,
                                    ORVLS_GROUP_COUNTS_USER, counts, ORVLS_TUKEY, &tukey, 0);
    printf("\n== One-way analysis of variance ==\n");
    printf("source   df  sum of squares  mean square\n");
    printf("diets   %3.0f  %14.3f  %11.3f\n", anova[0], anova[3], anova[6]);
    printf("error   %3.0f  %14.3f  %11.3f\n", anova[1], anova[4], anova[7]);
    printf("F = %.3f, p = %.4f\n", anova[8], p);
    for (i = 0; i < 4; ++i)
        printf("diet %d: %lld values, mean %.2f\n", i + 1, (long long)counts[i], means[i]);
    printf("Tukey's 95%% intervals (means in ascending order)\n");
    for (i = 0; tukey != NULL && i < 6; ++i)
        printf("  diet %.0f - diet %.0f: %8.3f  (%8.3f, %8.3f)\n", tukey[5 * i], tukey[5 * i + 1], tukey[5 * i + 2],
               tukey[5 * i + 3], tukey[5 * i + 4]);
    orvls_free_allocated_memory(tukey);

    /* The standard error of a mean of 5 values: the error standard deviation over sqrt(5). */
    sets = orvls_d_multiple_comparisons(4, means, anova[1], anova[12] / 2.2360679774997897, ORVLS_ALPHA, 0.05, 0);
    printf("Newman-Keuls at 5%%: largest set of equal means from each sorted mean:");
    for (i = 0; sets != NULL && i < 3; ++i)
        printf(" %lld", (long long)sets[i]);
    printf("\n");
    orvls_free_allocated_memory(sets);
}

#ifndef ORVLS_TOUR
int main(void)
{
    tour_anova();
    return 0;
}
#endif
