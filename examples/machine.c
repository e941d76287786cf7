/* Machine constants, a named constant in other units, and the version. */
#include <orvls.h>
#include <stdio.h>

void tour_machine(void)
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

#ifndef ORVLS_TOUR
int main(void)
{
    tour_machine();
    return 0;
}
#endif
