/* Quantiles and p-values of the laws behind the usual tests. */
#include <orvls.h>
#include <stdio.h>

void tour_distributions(void)
{
    const double p[3] = {0.9, 0.95, 0.99};
    int i;
    printf("\n== Distributions ==\n");
    printf("%6s %10s %10s %10s %10s\n", "p", "normal", "t(10)", "chi2(5)", "F(3,20)");
    for (i = 0; i < 3; ++i)
        printf("%6.2f %10.4f %10.4f %10.4f %10.4f\n", p[i], orvls_d_normal_inverse_cdf(p[i]),
               orvls_d_t_inverse(p[i], 10), orvls_d_chi_squared_inverse_cdf(p[i], 5),
               orvls_d_F_inverse_cdf(p[i], 3, 20));
    printf("p-values: z = 2.5: %.5f; t = 2.5, 10 df: %.5f; chi2 = 11.07, 5 df: %.5f; F = 3.1, (3, 20) df: %.5f\n",
           1 - orvls_d_normal_cdf(2.5), 1 - orvls_d_t_cdf(2.5, 10), 1 - orvls_d_chi_squared_cdf(11.07, 5),
           1 - orvls_d_F_cdf(3.1, 3, 20));
}

#ifndef ORVLS_TOUR
int main(void)
{
    tour_distributions();
    return 0;
}
#endif
