/* A tour of orvls: a short program that shows each family at work.  Each
 * family's part is a small example program of its own (examples/<family>.c),
 * built here without its main. */
#include <orvls.h>
#include <stdio.h>

void tour_errors(void);
void tour_machine(void);
void tour_printing(void);
void tour_kernels(void);
void tour_special(void);
void tour_distributions(void);
void tour_statistics(void);
void tour_random(void);
void tour_sampling(void);
void tour_regressors(void);
void tour_regression(void);
void tour_selection(void);
void tour_designs(void);
void tour_kalman(void);
void tour_contingency(void);
void tour_network(void);

int main(void)
{
    printf("orvls tour\n");
    tour_errors();
    tour_machine();
    tour_printing();
    tour_kernels();
    tour_special();
    tour_distributions();
    tour_statistics();
    tour_random();
    tour_sampling();
    tour_regressors();
    tour_regression();
    tour_selection();
    tour_designs();
    tour_kalman();
    tour_contingency();
    tour_network();
    return 0;
}
