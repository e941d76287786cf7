/* A program built outside the source tree against an installed orvls.  It
 * raises one error and checks that the report carries the message text,
 * which only the installed message file holds. */
#include <orvls.h>
#include <stdio.h>
#include <string.h>

/* The report with its continuation lines ("***" and blanks) joined to the line before. */
static void join_lines(char *text)
{
    char *to = text;
    const char *from = text;
    while (*from != '\0') {
        if (from[0] == '\n' && strncmp(from + 1, "***", 3) == 0 && from[4] == ' ' && from[5] == ' ') {
            from += 4;
            while (*from == ' ')
                ++from;
            *to++ = ' ';
        } else {
            *to++ = *from++;
        }
    }
    *to = '\0';
}

int main(void)
{
    char report[1024] = "";
    size_t length;
    double x;
    FILE *errors = tmpfile();
    if (errors == NULL)
        return 2;
    /* The report goes to a file of ours, and the terminal error does not stop the program. */
    orvls_error_options(ORVLS_ERROR_FILE, errors, ORVLS_SET_STOP, ORVLS_TERMINAL, 0, 0);
    x = orvls_d_normal_inverse_cdf(1.5);
    rewind(errors);
    length = fread(report, 1, sizeof report - 1, errors);
    report[length] = '\0';
    printf("%s", report);
    join_lines(report);
    if (x == x || orvls_n1rty(1) != ORVLS_TERMINAL || orvls_error_code() != 9041) {
        printf("expected NaN with a terminal error 9041\n");
        return 1;
    }
    if (strstr(report, "The probability p = 1.500000e+00 must lie strictly between 0 and 1.") == NULL) {
        printf("the report does not come from the message file\n");
        return 1;
    }
    printf("the report comes from the installed message file\n");
    return 0;
}
