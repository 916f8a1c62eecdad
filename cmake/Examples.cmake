# The examples: examples/<topic>.cpp, built as users build, each a test that compares its output with
# examples/expected/<topic>.txt.
if(NOT TARGET q9util073)
    return()
endif()
file(GLOB example_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/examples/*.cpp")
foreach(source IN LISTS example_sources)
    cmake_path(GET source STEM topic)
    add_executable(example_${topic} "${source}")
    target_link_libraries(example_${topic} PRIVATE q9util073 q9_options q9_link_options)
    add_dependencies(test-programs example_${topic})
    add_test(NAME example.${topic} COMMAND "${CMAKE_COMMAND}"
        "-DPROGRAM=${CMAKE_CROSSCOMPILING_EMULATOR};$<TARGET_FILE:example_${topic}>"
        "-DEXPECTED=${PROJECT_SOURCE_DIR}/examples/expected/${topic}.txt"
        -P "${PROJECT_SOURCE_DIR}/cmake/run-example.cmake")
    set_tests_properties(example.${topic} PROPERTIES TIMEOUT ${Q9_TEST_TIMEOUT} LABELS example)
endforeach()
