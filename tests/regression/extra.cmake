# LAPACK's least squares (dgels), the yardstick of the conditioning test.
find_package(LAPACK REQUIRED)
target_link_libraries(test_regression PRIVATE ${LAPACK_LIBRARIES})
