# The special functions against R's standalone math library (r-mathlib),
# glibc, GSL (libgsl-dev) and Boost.Math (libboost-math-dev, header-only here).
find_path(RMATH_INCLUDE Rmath.h REQUIRED)
find_library(RMATH_LIBRARY NAMES Rmath REQUIRED)
find_library(GSL_LIBRARY NAMES gsl REQUIRED)
find_library(GSL_CBLAS_LIBRARY NAMES gslcblas REQUIRED)
find_package(Boost REQUIRED)
target_include_directories(bench_special PRIVATE ${RMATH_INCLUDE} ${Boost_INCLUDE_DIRS})
target_compile_definitions(bench_special PRIVATE MATHLIB_STANDALONE)
target_link_libraries(bench_special PRIVATE ${RMATH_LIBRARY} ${GSL_LIBRARY} ${GSL_CBLAS_LIBRARY} m)
