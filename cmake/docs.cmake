# The reference manual, built by the docs target from the header's comments
# and the family pages under docs/.  Every warning fails the build, so an
# undocumented routine, option code, record field or argument is refused.
find_package(Doxygen)
if(DOXYGEN_FOUND)
  configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
  add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -E remove_directory ${PROJECT_BINARY_DIR}/docs
    COMMAND Doxygen::doxygen ${PROJECT_BINARY_DIR}/Doxyfile
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    COMMENT "Building the reference manual in ${PROJECT_BINARY_DIR}/docs/html"
    VERBATIM)
else()
  add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -E echo "The reference manual needs doxygen (Debian package doxygen)."
    COMMAND ${CMAKE_COMMAND} -E false
    VERBATIM)
endif()
