// The refusals that the deviate generators share.
#include "random/deviates.h"

namespace orvls {

bool check_real_range(double value, const char* name, double low, double high, bool open_low, bool open_high)
{
    const bool above_low = open_low ? value > low : value >= low;
    const bool below_high = open_high ? value < high : value <= high;
    if (above_low && below_high)
        return true;
    orvls_e1stl(1, name);
    orvls_e1std(1, low);
    orvls_e1std(2, high);
    orvls_e1std(3, value);
    orvls_ermes(5, 120);
    return false;
}

}  // namespace orvls
