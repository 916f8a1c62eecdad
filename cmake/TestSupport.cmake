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
target_link_libraries(q9_test_options INTERFACE q9_options q9_link_options Threads::Threads)
# Tests of release code need not be fast themselves; and GCC 12 sees copies beyond the end of short standard strings
# that nobody makes.
target_compile_options(q9_test_options INTERFACE
    $<$<CONFIG:Release>:-O1>
    $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds -Wno-restrict -Wno-stringop-overflow -Wno-stringop-overread>)

# Reduces a list of files to those with a line that matches.
function(q9_keep_files_with list regex)
    set(kept "")
    foreach(file IN LISTS ${list})
        file(STRINGS "${file}" lines REGEX "${regex}" LIMIT_COUNT 1)
        if(lines)
            list(APPEND kept "${file}")
        endif()
    endforeach()
    set(${list} "${kept}" PARENT_SCOPE)
endfunction()

# Tells the sources that read golden files where those are; only them, because a path of one checkout in every command
# line would keep checkouts from sharing what they compile.
function(q9_define_data_folder)
    set(readers ${ARGN})
    q9_keep_files_with(readers "Q9_TEST_DATA_DIR|support/Golden\\.h")
    set_property(SOURCE ${readers} APPEND PROPERTY
        COMPILE_DEFINITIONS "Q9_TEST_DATA_DIR=\"${Q9_TEST_ROOT}${PROJECT_SOURCE_DIR}/tests/data\"")
endfunction()

file(GLOB support_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/support/*.cpp")
if(WIN32)    # the embedded spooler, on which the fake one stands; on the host it is part of the platform
    file(GLOB spooler_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/platform/host/spooler/*.cpp")
    list(APPEND support_sources ${spooler_sources})
endif()
if(Q9_FAULT_TRACE)
    list(APPEND support_sources "${PROJECT_SOURCE_DIR}/tests/support/trace/FaultTrace.cpp")
endif()
if(support_sources)
    q9_define_data_folder(${support_sources})
    add_library(q9_test_support STATIC EXCLUDE_FROM_ALL ${support_sources})
    target_compile_definitions(q9_test_support PRIVATE VLM_BUILDING)
    target_link_libraries(q9_test_support PRIVATE q9_test_options gmock)
endif()

# GoogleTest's headers cost more than most tests: they are compiled once for all test programs with the same options.
# A test includes what it uses all the same: clang builds, which go without, would tell.
option(Q9_PRECOMPILE_TEST_HEADERS "Precompile GoogleTest's headers for the tests" ON)
if(Q9_BUILD_TESTS AND Q9_PRECOMPILE_TEST_HEADERS AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    file(CONFIGURE OUTPUT "${Q9_GENERATED_DIR}/test_headers.cpp" CONTENT "// Home of the tests' precompiled headers.\n")
    add_executable(q9_test_headers EXCLUDE_FROM_ALL "${Q9_GENERATED_DIR}/test_headers.cpp")
    target_compile_definitions(q9_test_headers PRIVATE VLM_BUILDING)
    target_link_libraries(q9_test_headers PRIVATE q9_test_options gmock_main)
    target_precompile_headers(q9_test_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
endif()
