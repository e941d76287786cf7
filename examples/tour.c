/* A tour of orvls: a short program that shows each family at work. */
#include <orvls.h>
#include <stdio.h>

/* Errors travel on a per-thread stack and are reported when the routine the
 * caller called returns; terminal errors are reported at once.  Here the stop
 * that a terminal error asks for is turned off, and a traceback is asked for. */
static void tour_errors(void)
{
    double a[6] = {1, 2, 3, 4, 5, 6};
    printf("\n== Error reports ==\n");
    fflush(stdout);
    orvls_error_options(ORVLS_ERROR_FILE, stdout, ORVLS_SET_STOP, ORVLS_TERMINAL, 0, ORVLS_SET_TRACEBACK,
                        ORVLS_TERMINAL, 1, 0);
    orvls_d_m1ran(0, 3, a, a); /* no rows: refused */
    printf("after the call: type %ld, code %ld\n", (long)orvls_n1rty(1), (long)orvls_error_code());
    orvls_error_options(ORVLS_ERROR_FILE, stderr, ORVLS_SET_STOP, ORVLS_TERMINAL, 1, ORVLS_SET_TRACEBACK,
                        ORVLS_TERMINAL, 0, 0);
}

/* Machine constants, a named constant in other units, and the version. */
static void tour_machine(void)
{
    char *version = orvls_version(ORVLS_LIBRARY_VERSION);
    printf("\n== Machine constants ==\n");
    printf("largest double %g, double epsilon %g, float digits %lld\n", orvls_dmach(2), orvls_dmach(4),
           (long long)orvls_i_machine(7));
    printf("speed of light %.1f km/hr, standard gravity %.4f foot/s^2\n",
           orvls_d_constant("SPEEDLIGHT", ORVLS_UNIT, "km/hr", 0),
           orvls_d_constant("STANDARDGRAVITY", ORVLS_UNIT, "foot/s^2", 0));
    printf("version: \"%s\"\n", version);
    orvls_free_allocated_memory(version);
}

/* Special functions: gamma, erf, the incomplete beta and a binomial coefficient. */
static void tour_special(void)
{
    printf("\n== Special functions ==\n");
    printf("gamma(4.5) = %.15g, erf(0.5) = %.15g\n", orvls_d_gamma(4.5), orvls_d_erf(0.5));
    printf("I_0.3(2, 5) = %.15g, C(10, 3) = %.0f\n", orvls_d_beta_incomplete(0.3, 2, 5),
           orvls_d_binomial_coefficient(10, 3));
}

int main(void)
{
    printf("orvls tour\n");
    tour_errors();
    tour_machine();
    tour_special();
    return 0;
}
