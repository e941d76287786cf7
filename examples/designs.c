/* A split-plot trial at two locations: three blocks at each, every block
 * divided into three whole plots for the nitrogen rates, every whole plot
 * into two split plots for the varieties.  One yield was lost and is
 * estimated; the table is printed with its row labels. */
#include <orvls.h>
#include <stdio.h>

void tour_designs(void)
{
    const char *columns[] = {"df", "sum of squares", "mean square", "F", "prob > F"};
    /* location, block, nitrogen, variety: the variety varies fastest */
    double yields[2 * 3 * 3 * 2] = {
        4.4, 5.1, 5.9, 6.6, 6.8, 7.4, /* location 1, block 1 */
        4.1, 4.9, 5.6, 6.2, 6.5, 7.3, /* block 2 */
        4.7, 5.5, 6.1, 6.9, 7.0, 7.9, /* block 3 */
        3.9, 4.3, 5.0, 5.8, 0.0 / 0.0, 6.6, /* location 2, block 1: one yield lost */
        3.6, 4.2, 4.8, 5.3, 5.7, 6.2, /* block 2 */
        4.0, 4.6, 5.3, 5.9, 6.1, 6.8, /* block 3 */
    };
    char **labels = NULL;
    double *table;
    printf("\n== Designed experiments ==\n");
    fflush(stdout);
    table = orvls_d_split_plot(3, 2, 3, 2, yields, ORVLS_DESIGN_OPTION_B, &labels, 0);
    orvls_d_write_matrix("Split plot over two locations", 11, 5, table, ORVLS_ROW_LABELS, labels, ORVLS_COL_LABELS,
                         columns, 0);
    orvls_free_allocated_memory(labels);
    orvls_free_allocated_memory(table);
}

#ifndef ORVLS_TOUR
int main(void)
{
    tour_designs();
    return 0;
}
#endif
