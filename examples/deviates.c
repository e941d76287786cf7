/* Random samples: a seeded normal sample summarised by the simple
 * statistics, and a few Poisson and binomial draws. */
#include <orvls.h>
#include <stdio.h>

void tour_sampling(void)
{
    double sample[1000], *summary;
    int64_t poisson[5], binomial[5];
    int i;
    orvls_random_option(1);
    orvls_random_seed_set(123457);
    orvls_d_random_normal(1000, ORVLS_MEAN, 50.0, ORVLS_VARIANCE, 4.0, ORVLS_RETURN_USER, sample, 0);
    summary = orvls_d_simple_statistics(1000, 1, sample, 0);
    orvls_random_poisson(5, 4.0f, ORVLS_RETURN_USER, poisson, 0);
    orvls_d_random_binomial(5, 20, 0.3, ORVLS_RETURN_USER, binomial, 0);
    printf("\n== Random samples ==\n");
    printf("normal(50, 4), n = 1000: mean %.4f, standard deviation %.4f\n", summary[0], summary[2]);
    orvls_free_allocated_memory(summary);
    printf("poisson(4):");
    for (i = 0; i < 5; ++i)
        printf(" %lld", (long long)poisson[i]);
    printf("\nbinomial(20, 0.3):");
    for (i = 0; i < 5; ++i)
        printf(" %lld", (long long)binomial[i]);
    printf("\n");
}

#ifndef ORVLS_TOUR
int main(void)
{
    tour_sampling();
    return 0;
}
#endif
