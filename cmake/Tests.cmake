# One test program per folder below tests/, linked with the objects of its floor and below (never with the DLL),
# GoogleTest from its Debian source package and the support library.
include(GoogleTest)
set(Q9_GOOGLETEST_DIR "/usr/src/googletest" CACHE PATH "Sources of GoogleTest")
if(NOT EXISTS "${Q9_GOOGLETEST_DIR}/CMakeLists.txt")
    message(FATAL_ERROR "no GoogleTest sources in ${Q9_GOOGLETEST_DIR}: run ./dev test, or install googletest")
endif()
set(INSTALL_GTEST OFF)
add_subdirectory("${Q9_GOOGLETEST_DIR}" googletest EXCLUDE_FROM_ALL SYSTEM)

set(Q9_TEST_TIMEOUT 60)
set(Q9_TEST_ROOT "")
if(WIN32)
    set(Q9_TEST_ROOT "Z:")    # how a program under Wine sees the machine's root folder
endif()

add_library(q9_test_options INTERFACE)
target_include_directories(q9_test_options INTERFACE
    "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/tests" "${Q9_GENERATED_DIR}")
target_compile_definitions(q9_test_options INTERFACE
    "Q9_TEST_DATA_DIR=\"${Q9_TEST_ROOT}${PROJECT_SOURCE_DIR}/tests/data\"")
target_link_libraries(q9_test_options INTERFACE q9_options q9_link_options)

file(GLOB support_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/support/*.cpp")
if(support_sources)
    add_library(q9_test_support STATIC ${support_sources})
    target_compile_definitions(q9_test_support PRIVATE VLM_BUILDING)
    target_link_libraries(q9_test_support PRIVATE q9_test_options gmock)
endif()

# q9_add_test_program(<folder> <objects>...): test_<folder> from tests/<folder>/*.cpp, if there are any.
function(q9_add_test_program folder)
    file(GLOB_RECURSE test_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${folder}/*.cpp")
    if(NOT test_sources)
        return()
    endif()
    set(target test_${folder})
    add_executable(${target} ${test_sources})
    target_compile_definitions(${target} PRIVATE VLM_BUILDING)
    target_link_libraries(${target} PRIVATE q9_test_options)
    q9_link_floors(${target} ${ARGN})
    if(TARGET q9_test_support)
        target_link_libraries(${target} PRIVATE q9_test_support)
    endif()
    target_link_libraries(${target} PRIVATE gmock_main)
    gtest_discover_tests(${target} TEST_PREFIX "${folder}." DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT ${Q9_TEST_TIMEOUT} LABELS ${folder})
endfunction()

q9_add_test_program(platform ${Q9_FLOOR_OBJECTS_0})
set(floor 0)
foreach(folder text failure values formats access diagnostics printing)
    math(EXPR floor "${floor} + 1")
    q9_add_test_program(${folder} ${Q9_FLOOR_OBJECTS_${floor}})
endforeach()
