/* A contingency table: eye colour by hair colour of 60 people, the
 * chi-squared statistics and measures of association, and Fisher's exact
 * p-value by the network algorithm and by enumeration. */
#include <orvls.h>
#include <stdio.h>

void tour_contingency(void)
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

#ifndef ORVLS_TOUR
int main(void)
{
    tour_contingency();
    return 0;
}
#endif
