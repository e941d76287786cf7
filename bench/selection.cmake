# Best subsets against leaps::regsubsets (exhaustive), R embedded in the
# benchmark (libR and its headers come with r-base-core).
find_path(R_INCLUDE Rembedded.h PATHS /usr/share/R/include REQUIRED)
find_library(R_LIBRARY NAMES R PATHS /usr/lib/R/lib REQUIRED)
target_include_directories(bench_selection PRIVATE ${R_INCLUDE})
target_link_libraries(bench_selection PRIVATE ${R_LIBRARY})
set_target_properties(bench_selection PROPERTIES BUILD_RPATH /usr/lib/R/lib)
