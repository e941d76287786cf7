/* A Kalman filter of a local level observed with noise: at each time point
 * the measurement update (none for the missing fourth observation) gives the
 * filtered level, and a call with the transition and the noise carries it to
 * the next; the log-likelihood comes from the sums the filter keeps, with
 * the scale known. */
#include <orvls.h>
#include <stdio.h>

void tour_kalman(void)
{
    const double y[8] = {4.4, 4.0, 3.5, 0.0, 4.6, 5.2, 4.9, 5.8};
    const double z = 1, r = 1, t = 1, q = 0.25;
    double level = 0, level_var = 100, ss = 0, log_det = 0;
    int64_t n_rank = 0;
    int k;
    printf("\n== Kalman filter ==\n");
    printf("%4s %8s %10s %10s\n", "t", "y", "level", "variance");
    for (k = 0; k < 8; ++k) {
        if (k != 3)
            orvls_d_kalman(1, &level, &level_var, &n_rank, &ss, &log_det, ORVLS_MEASUREMENT, 1, &y[k], &z, &r, 0);
        if (k == 3)
            printf("%4d %8s %10.4f %10.4f\n", k + 1, "missing", level, level_var);
        else
            printf("%4d %8.2f %10.4f %10.4f\n", k + 1, y[k], level, level_var);
        /* The state carried to the next time point. */
        orvls_d_kalman(1, &level, &level_var, &n_rank, &ss, &log_det, ORVLS_TRANSITION, &t, ORVLS_STATE_NOISE, &q, 0);
    }
    printf("observations used %lld, log-likelihood %.6f\n", (long long)n_rank,
           -0.5 * ((double)n_rank * 1.8378770664093454836 /* log(2 pi) */ + ss + log_det));
}

#ifndef ORVLS_TOUR
int main(void)
{
    tour_kalman();
    return 0;
}
#endif
