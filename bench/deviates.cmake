# Peers: GSL's samplers and R's standalone math library.
target_link_libraries(bench_deviates PRIVATE gsl gslcblas Rmath)
