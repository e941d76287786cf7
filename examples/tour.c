/* A tour of orvls: a short program that shows each family at work. */
#include <orvls.h>
#include <stdio.h>

int main(void)
{
    printf("orvls tour\n");
    return 0;
}
