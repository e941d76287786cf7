/* Special functions: gamma, erf, the incomplete beta and a binomial coefficient. */
#include <orvls.h>
#include <stdio.h>

void tour_special(void)
{
    printf("\n== Special functions ==\n");
    printf("gamma(4.5) = %.15g, erf(0.5) = %.15g\n", orvls_d_gamma(4.5), orvls_d_erf(0.5));
    printf("I_0.3(2, 5) = %.15g, C(10, 3) = %.0f\n", orvls_d_beta_incomplete(0.3, 2, 5),
           orvls_d_binomial_coefficient(10, 3));
}

#ifndef ORVLS_TOUR
int main(void)
{
    tour_special();
    return 0;
}
#endif
