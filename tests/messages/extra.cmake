# The message-file tests read the files compiled at build time and run the
# compiler itself for the cases the build does not produce.
add_dependencies(test_${family} orvls_messages)
target_compile_definitions(test_${family} PRIVATE ORVLS_MSGC_PATH="$<TARGET_FILE:orvls_msgc>")
