# The reference BLAS checks the published operations; linked by full path so
# that the loader finds it even where another BLAS is the system default.
target_link_libraries(test_kernels PRIVATE /usr/lib/x86_64-linux-gnu/blas/libblas.so)
