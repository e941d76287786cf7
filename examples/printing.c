/* A matrix report with row and column labels. */
#include <orvls.h>
#include <stdio.h>

void tour_printing(void)
{
    double scores[] = {1.5, 2.0 / 3.0, -4.0, 1234567.0, 1e-9, 0.25};
    const char *subjects[] = {"maths", "physics"};
    const char *terms[] = {"autumn", "winter", "spring"};
    printf("\n== Matrix report ==\n");
    fflush(stdout);
    orvls_d_write_matrix("Scores by term", 2, 3, scores, ORVLS_ROW_LABELS, subjects, ORVLS_COL_LABELS, terms, 0);
}

#ifndef ORVLS_TOUR
int main(void)
{
    tour_printing();
    return 0;
}
#endif
