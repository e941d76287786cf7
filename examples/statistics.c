/* A data summary: the simple statistics of a dozen plants, one height not
 * recorded, with the median and scale. */
#include <orvls.h>
#include <stdio.h>

void tour_statistics(void)
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

#ifndef ORVLS_TOUR
int main(void)
{
    tour_statistics();
    return 0;
}
#endif
