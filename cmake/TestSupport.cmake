# What tests and fuzz targets share: GoogleTest from its Debian source package, options and the support library.
include(GoogleTest)
set(Q9_GOOGLETEST_DIR "/usr/src/googletest" CACHE PATH "Sources of GoogleTest")
if(NOT EXISTS "${Q9_GOOGLETEST_DIR}/CMakeLists.txt")
    message(FATAL_ERROR "no GoogleTest sources in ${Q9_GOOGLETEST_DIR}: run ./dev test, or install googletest")
endif()
set(INSTALL_GTEST OFF)
add_subdirectory("${Q9_GOOGLETEST_DIR}" googletest EXCLUDE_FROM_ALL SYSTEM)

set(Q9_TEST_TIMEOUT 60)
if(Q9_SANITIZE)
    set(Q9_TEST_TIMEOUT 180)
endif()
set(Q9_TEST_ROOT "")
if(WIN32)
    set(Q9_TEST_ROOT "Z:")    # how a program under Wine sees the machine's root folder
endif()

add_library(q9_test_options INTERFACE)
target_include_directories(q9_test_options INTERFACE
    "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/tests" "${Q9_GENERATED_DIR}")
target_compile_definitions(q9_test_options INTERFACE
    "Q9_TEST_DATA_DIR=\"${Q9_TEST_ROOT}${PROJECT_SOURCE_DIR}/tests/data\"")
target_link_libraries(q9_test_options INTERFACE q9_options q9_link_options Threads::Threads)

file(GLOB support_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/support/*.cpp")
if(support_sources)
    add_library(q9_test_support STATIC EXCLUDE_FROM_ALL ${support_sources})
    target_compile_definitions(q9_test_support PRIVATE VLM_BUILDING)
    target_link_libraries(q9_test_support PRIVATE q9_test_options gmock)
endif()
