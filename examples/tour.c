/* A tour of orvls: a short program that shows each family at work. */
#include <orvls.h>
#include <stdio.h>

static void tour_printing(void)
{
    double scores[] = {1.5, 2.0 / 3.0, -4.0, 1234567.0, 1e-9, 0.25};
    const char *subjects[] = {"maths", "physics"};
    const char *terms[] = {"autumn", "winter", "spring"};
    orvls_d_write_matrix("Scores by term", 2, 3, scores, ORVLS_ROW_LABELS, subjects, ORVLS_COL_LABELS, terms, 0);
}

int main(void)
{
    printf("orvls tour\n");
    tour_printing();
    return 0;
}
