# The case diagnostics beside GSL's per-row estimate with its standard error.
find_package(GSL REQUIRED)
target_link_libraries(bench_summaries PRIVATE GSL::gsl)
