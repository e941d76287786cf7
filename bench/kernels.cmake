# The peers are opened at run time by full path; only the loader is linked.
target_link_libraries(bench_kernels PRIVATE ${CMAKE_DL_LIBS})
