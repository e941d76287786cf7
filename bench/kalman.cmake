# The plain recursion runs on OpenBLAS (libopenblas-dev), opened at run time
# by full path; only the loader is linked.
target_link_libraries(bench_kalman PRIVATE ${CMAKE_DL_LIBS})
