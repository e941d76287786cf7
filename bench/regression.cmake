# The regression against GSL's least squares (libgsl-dev); LAPACK's dgels on
# OpenBLAS (libopenblas0-pthread) is opened at run time by full path.
find_package(GSL REQUIRED)
target_link_libraries(bench_regression PRIVATE GSL::gsl ${CMAKE_DL_LIBS})
