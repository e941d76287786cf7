/* Errors travel on a per-thread stack and are reported when the routine the
 * caller called returns; terminal errors are reported at once.  Here the stop
 * that a terminal error asks for is turned off, and a traceback is asked for. */
#include <orvls.h>
#include <stdio.h>

void tour_errors(void)
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

#ifndef ORVLS_TOUR
int main(void)
{
    tour_errors();
    return 0;
}
#endif
