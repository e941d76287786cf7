/* A feed-forward network: 2 inputs, 4 logistic hidden nodes and a linear
 * output, trained on a seeded sample of y = x1 x2 + x1 / 2, then asked for a
 * few forecasts. */
#include <orvls.h>
#include <stdio.h>

void tour_network(void)
{
    double x[40 * 2], y[40], stats[5], fresh[3 * 2] = {0.2, 0.8, 0.5, 0.5, 0.9, 0.1}, *forecasts;
    orvls_d_ff_net *net;
    int i;
    orvls_random_option(1);
    orvls_random_seed_set(24680);
    orvls_d_random_uniform(80, ORVLS_RETURN_USER, x, 0);
    for (i = 0; i < 40; ++i)
        y[i] = x[2 * i] * x[2 * i + 1] + 0.5 * x[2 * i];
    net = orvls_d_mlff_network_init(2, 1);
    orvls_d_mlff_network(net, ORVLS_CREATE_HIDDEN_LAYER, 4, 0);
    orvls_d_mlff_network(net, ORVLS_LINK_ALL, 0);
    orvls_d_mlff_network_trainer(net, 40, 0, 2, NULL, x, y, ORVLS_STAGE_I, 5, 30, ORVLS_TOLERANCE, 1e-6,
                                 ORVLS_RETURN_USER, stats, 0);
    printf("\n== Feed-forward network ==\n");
    printf("2-4-1 network, 40 rows: half error sum of squares %.3g (Stage I %.3g, Stage II %.3g)\n", stats[0],
           stats[2], stats[4]);
    forecasts = orvls_d_mlff_network_forecast(net, 3, 0, 2, NULL, fresh, 0);
    for (i = 0; i < 3; ++i)
        printf("x = (%.1f, %.1f): forecast %.4f, true %.4f\n", fresh[2 * i], fresh[2 * i + 1], forecasts[i],
               fresh[2 * i] * fresh[2 * i + 1] + 0.5 * fresh[2 * i]);
    orvls_free_allocated_memory(forecasts);
    orvls_d_mlff_network_free(net);
}

#ifndef ORVLS_TOUR
int main(void)
{
    tour_network();
    return 0;
}
#endif
