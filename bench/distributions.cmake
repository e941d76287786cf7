# Peers: R's standalone math library (Debian r-mathlib), GSL (libgsl-dev) and
# Boost.Math (libboost-math-dev, header-only).
find_library(ORVLS_RMATH Rmath REQUIRED)
find_library(ORVLS_GSL gsl REQUIRED)
find_library(ORVLS_GSL_CBLAS gslcblas REQUIRED)
find_path(ORVLS_BOOST_MATH boost/math/distributions/normal.hpp REQUIRED)
target_include_directories(bench_distributions SYSTEM PRIVATE ${ORVLS_BOOST_MATH})
target_link_libraries(bench_distributions PRIVATE ${ORVLS_RMATH} ${ORVLS_GSL} ${ORVLS_GSL_CBLAS})
