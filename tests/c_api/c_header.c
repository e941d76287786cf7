/* The public header as a C99 program sees it: compiled with -std=c99
 * -pedantic and linked against the shared library. */
#include <orvls.h>
#include <stdio.h>

static int failures = 0;

static void expect(int condition, const char *what)
{
    if (!condition) {
        fprintf(stderr, "failed: %s\n", what);
        ++failures;
    }
}

int main(void)
{
    double a[6] = {1, 2, 3, 4, 5, 6};
    int64_t print = 0, stop = 0;

    orvls_d_m1ran(2, 3, a, a);
    expect(a[1] == 4 && a[2] == 2 && a[5] == 6, "transposition through the C interface");
    expect(orvls_n1rty(1) == 0 && orvls_error_code() == 0, "a clean call leaves no error");

    orvls_error_options(ORVLS_SET_STOP, ORVLS_TERMINAL, 0, ORVLS_SET_PRINT, ORVLS_TERMINAL, 0, 0);
    orvls_d_m1ran(0, 3, a, a);
    expect(orvls_n1rty(1) == ORVLS_TERMINAL && orvls_error_code() == 620, "a refused call reports its type and code");

    orvls_e1pos(-ORVLS_TERMINAL, &print, &stop);
    expect(print == 0 && stop == 0, "settings read back by number");
    return failures == 0 ? 0 : 1;
}
