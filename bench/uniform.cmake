# Peers: GSL's generators and R's standalone math library.
target_link_libraries(bench_uniform PRIVATE gsl gslcblas Rmath)
