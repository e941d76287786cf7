# The simple statistics against GSL's per-column moments (libgsl-dev).
find_package(GSL REQUIRED)
target_link_libraries(bench_statistics PRIVATE GSL::gsl)
