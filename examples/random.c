/* Uniform deviates from a seeded stream, under two generators. */
#include <orvls.h>
#include <stdio.h>

void tour_random(void)
{
    double congruential[3], twister[3];
    orvls_random_seed_set(123457);
    orvls_d_random_uniform(3, ORVLS_RETURN_USER, congruential, 0);
    orvls_random_option(8); /* the 32-bit Mersenne twister */
    orvls_d_random_uniform(3, ORVLS_RETURN_USER, twister, 0);
    printf("\n== Random numbers ==\n");
    printf("option 1: %.6f %.6f %.6f\n", congruential[0], congruential[1], congruential[2]);
    printf("option 8: %.6f %.6f %.6f\n", twister[0], twister[1], twister[2]);
}

#ifndef ORVLS_TOUR
int main(void)
{
    tour_random();
    return 0;
}
#endif
