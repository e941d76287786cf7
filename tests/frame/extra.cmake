add_dependencies(test_frame orvls)
target_compile_definitions(test_frame PRIVATE ORVLS_SHARED_LIBRARY="$<TARGET_FILE:orvls>")
