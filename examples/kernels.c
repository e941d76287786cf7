/* Vector and matrix kernels, column-major as in the published BLAS. */
#include <orvls.h>
#include <stdio.h>

void tour_kernels(void)
{
    const double a[4] = {1, 3, 2, 4}, b[4] = {5, 7, 6, 8}; /* column-major [1 2; 3 4], [5 6; 7 8] */
    double c[4] = {0};
    const int64_t two = 2;
    const double one = 1, zero = 0;
    orvls_dgemm("N", "N", &two, &two, &two, &one, a, &two, b, &two, &zero, c, &two, 1, 1);
    printf("kernels: [1 2; 3 4] [5 6; 7 8] = [%g %g; %g %g], dot = %g\n", c[0], c[2], c[1], c[3],
           orvls_ddot(4, a, 1, b, 1));
}

#ifndef ORVLS_TOUR
int main(void)
{
    tour_kernels();
    return 0;
}
#endif
