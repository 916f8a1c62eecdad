# One test program per folder below tests/, linked with the objects of its floor and below (never with the DLL, but
# for tests/dll and tests/package).

add_custom_target(test-programs)

# Registers each test of a program with CTest, under the prefix "<folder>.".  The host's store is kept in memory: no test
# writes to the user's own.  Under Wine all tests share one spooler, with its monitors and queues: those that use it run
# one at a time.  On the host the monitor's tests do, which share one folder.
function(q9_register_tests target folder)
    set(lock "")
    if(folder STREQUAL "portmonitor" OR (WIN32 AND folder STREQUAL "printing"))
        set(lock RESOURCE_LOCK spooler)
    endif()
    add_dependencies(test-programs ${target})
    set(common TEST_PREFIX "${folder}." DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60)
    set(properties TIMEOUT ${Q9_TEST_TIMEOUT} LABELS ${folder} ENVIRONMENT "Q9_STORE=:memory:")
    if(WIN32 AND folder STREQUAL "platform")
        set(of_spooler "*SpoolerPort*:*PrintingPorts*")
        gtest_discover_tests(${target} ${common} TEST_LIST ${target}_spooler TEST_FILTER "${of_spooler}"
            PROPERTIES ${properties} RESOURCE_LOCK spooler)
        set(common ${common} TEST_FILTER "-${of_spooler}")
    endif()
    gtest_discover_tests(${target} ${common} PROPERTIES ${properties} ${lock})
endfunction()

# q9_add_test_program(<folder> <objects>...): test_<folder> from tests/<folder>/, if there are sources.
function(q9_add_test_program folder)
    file(GLOB_RECURSE test_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${folder}/*.cpp")
    if(WIN32)
        # Tests of the host's own adapters.
        list(FILTER test_sources EXCLUDE REGEX "/tests/platform/host/")
    endif()
    if(NOT test_sources)
        return()
    endif()
    if(Q9_SANITIZE MATCHES "thread")
        # The thread sanitizer has something to say about tests with threads only.
        q9_keep_files_with(test_sources "std::(j?thread|async)|StartThread|Concurrent")
        if(NOT test_sources)
            return()
        endif()
    endif()
    set(target test_${folder})
    add_executable(${target} ${test_sources})
    if(TARGET q9_test_support AND NOT folder STREQUAL "platform")
        target_sources(${target} PRIVATE "${PROJECT_SOURCE_DIR}/tests/support/pools/PoolFaults.cpp")
    endif()
    q9_define_data_folder(${test_sources})
    if(TARGET q9_test_headers)
        target_precompile_headers(${target} REUSE_FROM q9_test_headers)
    endif()
    target_compile_definitions(${target} PRIVATE VLM_BUILDING)
    target_link_libraries(${target} PRIVATE q9_test_options)
    q9_link_floors(${target} ${ARGN})
    if(TARGET q9_test_support)
        target_link_libraries(${target} PRIVATE q9_test_support)
    endif()
    target_link_libraries(${target} PRIVATE gmock_main)
    q9_register_tests(${target} ${folder})
endfunction()

q9_add_test_program(platform ${Q9_FLOOR_OBJECTS_0})
set(floor 0)
foreach(folder text failure values formats access diagnostics printing)
    math(EXPR floor "${floor} + 1")
    q9_add_test_program(${folder} ${Q9_FLOOR_OBJECTS_${floor}})
endforeach()

# The monitor's server sees floors 0 to 5; its tests join it to the client of floor 5.
if(TARGET q9_monitor)
    q9_add_test_program(portmonitor ${Q9_FLOOR_OBJECTS_5} q9_monitor)
    if(TARGET test_portmonitor AND TARGET q7lrs)    # on Windows also in the real spooler
        add_dependencies(test_portmonitor ${Q9_MONITOR_TARGETS})
        target_compile_definitions(test_portmonitor PRIVATE "Q9_MONITOR_FOLDER=\"${Q9_TEST_ROOT}$<TARGET_FILE_DIR:q7lrs>\"")
    endif()
endif()

# The real spooler under Wine has no TCP/IP monitor: the tests of ports bring one.
if(WIN32 AND TARGET test_printing)
    add_library(q9tcpmon MODULE "${PROJECT_SOURCE_DIR}/tests/monitors/q9tcpmon.cpp")
    set_target_properties(q9tcpmon PROPERTIES PREFIX "" EXCLUDE_FROM_ALL ON)
    target_include_directories(q9tcpmon PRIVATE "${PROJECT_SOURCE_DIR}/src")
    target_link_libraries(q9tcpmon PRIVATE q9_options q9_link_options)
    add_dependencies(test_printing q9tcpmon)
    target_compile_definitions(test_printing PRIVATE
        "Q9_TCPMON_DLL=VTEXT(\"${Q9_TEST_ROOT}$<TARGET_FILE:q9tcpmon>\")")
endif()

# Whole-program tests of q9diag: the test starts the program named by Q9_DIAG_PROGRAM.
if(TARGET q9diag)
    q9_add_test_program(tool ${Q9_ALL_OBJECTS})
    if(TARGET test_tool)
        add_dependencies(test_tool q9diag)
        target_include_directories(test_tool SYSTEM PRIVATE "${Q9_STAGED_INCLUDE_DIR}")
        target_compile_definitions(test_tool PRIVATE "Q9_DIAG_PROGRAM=\"${Q9_TEST_ROOT}$<TARGET_FILE:q9diag>\"")
    endif()
endif()

# The debugger's views: gdb stops the sample and shows its values.
find_program(Q9_GDB gdb)
if(Q9_GDB AND NOT WIN32 AND NOT Q9_SANITIZE)
    add_executable(debugger_sample "${PROJECT_SOURCE_DIR}/tests/debugger/sample.cpp")
    target_compile_definitions(debugger_sample PRIVATE VLM_BUILDING)
    set_source_files_properties("${PROJECT_SOURCE_DIR}/tests/debugger/sample.cpp" PROPERTIES COMPILE_OPTIONS "-g;-O0")
    target_link_libraries(debugger_sample PRIVATE q9_test_options)
    q9_link_floors(debugger_sample ${Q9_FLOOR_OBJECTS_3})
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    add_test(NAME debugger.gdb_views COMMAND Python3::Interpreter "${PROJECT_SOURCE_DIR}/tests/debugger/gdb_test.py"
        "${Q9_GDB}" "${PROJECT_SOURCE_DIR}/tools/debugger/q9util-gdb.py"
        "${PROJECT_SOURCE_DIR}/tools/debugger/q9util.natvis" $<TARGET_FILE:debugger_sample>)
    set_tests_properties(debugger.gdb_views PROPERTIES TIMEOUT ${Q9_TEST_TIMEOUT} LABELS debugger SKIP_RETURN_CODE 77)
endif()

# The library as its users see it: public headers, import library, the loaded module.
file(GLOB dll_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/dll/*.cpp")
if(dll_sources AND TARGET q9util073)
    add_executable(test_dll ${dll_sources})
    target_link_libraries(test_dll PRIVATE q9util073 q9_options q9_link_options q9_test_support gmock_main
        Threads::Threads ${CMAKE_DL_LIBS})
    target_include_directories(test_dll PRIVATE "${PROJECT_SOURCE_DIR}/tests")
    target_compile_definitions(test_dll PRIVATE "Q9_LIBRARY_FILE=\"${Q9_TEST_ROOT}$<TARGET_FILE:q9util073>\"")
    q9_register_tests(test_dll dll)
endif()
file(GLOB loader_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/dll/loader/*.cpp")
if(loader_sources AND TARGET q9util073)
    add_executable(test_loader ${loader_sources})
    add_dependencies(test_loader q9util073)
    target_link_libraries(test_loader PRIVATE q9_options q9_link_options gmock_main Threads::Threads ${CMAKE_DL_LIBS}
        $<$<PLATFORM_ID:Windows>:version>)
    target_include_directories(test_loader PRIVATE "${PROJECT_SOURCE_DIR}/tests" "${Q9_GENERATED_DIR}")
    if(Q9_SANITIZE MATCHES "undefined")    # symbols looked up by name are called without their classes' types
        target_compile_options(test_loader PRIVATE -fno-sanitize=function)
    endif()
    target_compile_definitions(test_loader PRIVATE "Q9_LIBRARY_FILE=\"${Q9_TEST_ROOT}$<TARGET_FILE:q9util073>\"")
    q9_register_tests(test_loader loader)
endif()

# Several processes that share one log file.
if(TARGET q9util073)
    add_executable(log_writer "${PROJECT_SOURCE_DIR}/tests/dll/writer/LogWriter.cpp")
    target_link_libraries(log_writer PRIVATE q9util073 q9_options q9_link_options)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    add_test(NAME dll.ManyProcessesTest
        COMMAND "${Python3_EXECUTABLE}" "${PROJECT_SOURCE_DIR}/tests/dll/ManyProcessesTest.py" "$<TARGET_FILE:log_writer>")
    set_tests_properties(dll.ManyProcessesTest PROPERTIES TIMEOUT 180 LABELS dll)
    add_dependencies(test-programs log_writer)
    if(TARGET q9diag AND NOT WIN32)
        add_test(NAME dll.LiveSettingsTest COMMAND "${Python3_EXECUTABLE}"
            "${PROJECT_SOURCE_DIR}/tests/dll/LiveSettingsTest.py" "$<TARGET_FILE:log_writer>" "$<TARGET_FILE:q9diag>")
        set_tests_properties(dll.LiveSettingsTest PROPERTIES TIMEOUT 60 LABELS tool)
    endif()
endif()

# The tool as a whole program: tests/tool/*Test.py run it as a user would, on Windows under Wine.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
if(TARGET q9diag)
    file(GLOB tool_tests CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/tool/*Test.py")
    foreach(source IN LISTS tool_tests)
        cmake_path(GET source STEM name)
        add_test(NAME tool.${name} COMMAND "${Python3_EXECUTABLE}" "${source}" "$<TARGET_FILE:q9diag>")
        set_tests_properties(tool.${name} PROPERTIES TIMEOUT 180 LABELS tool)
        if(WIN32 AND name MATCHES "^(Demo|Driver|Model|Port|PortMon|Queue|QueueSample)Test$")
            set_tests_properties(tool.${name} PROPERTIES RESOURCE_LOCK spooler)
        endif()
    endforeach()
endif()

# What does not depend on the sanitizers is checked in the plain builds.
if(Q9_SANITIZE)
    return()
endif()

# Checks of the sources, the same on both systems.
function(q9_add_lint_test name)
    add_test(NAME lint.${name} COMMAND "${Python3_EXECUTABLE}" ${ARGN} WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}")
    set_tests_properties(lint.${name} PROPERTIES TIMEOUT ${Q9_TEST_TIMEOUT} LABELS lint)
endfunction()
q9_add_lint_test(floors tools/lint/check_floors.py)
q9_add_lint_test(text tools/lint/check_text.py)
q9_add_lint_test(packaging tools/lint/check_packaging.py)
q9_add_lint_test(self tools/lint/lint_test.py)

# What the DLL exports and the order of its virtual functions, against the reviewed lists.
if(TARGET q9util073 AND WIN32 AND EXISTS "${PROJECT_SOURCE_DIR}/abi/q9util073.exports")
    q9_add_lint_test(exports abi/check_exports.py "$<TARGET_FILE:q9util073>" abi/q9util073.exports)
endif()
if(TARGET q9util073 AND WIN32)
    q9_add_lint_test(imports abi/check_exports.py --imports "$<TARGET_FILE:q9util073>")
endif()
foreach(target IN LISTS Q9_MONITOR_TARGETS)
    q9_add_lint_test(${target} abi/check_exports.py --monitor "$<TARGET_FILE:${target}>")
endforeach()
if(TARGET q9util073 AND WIN32 AND EXISTS "${PROJECT_SOURCE_DIR}/abi/q9util073.vtables")
    q9_add_lint_test(vtables abi/check_exports.py --vtables abi/q9util073.vtables
        "${CMAKE_CXX_COMPILER}" "-I${Q9_GENERATED_DIR}")
endif()

# A consumer's project, configured and built against the installed tree.
if(TARGET q9util073)
    add_test(NAME package.consumer COMMAND "${CMAKE_COMMAND}"
        "-DBUILD_DIR=${CMAKE_BINARY_DIR}" "-DWORK_DIR=${CMAKE_BINARY_DIR}/package-test"
        "-DSOURCE_DIR=${PROJECT_SOURCE_DIR}" "-DTOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE}"
        "-DCOMPILER=${CMAKE_CXX_COMPILER}" "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}"
        "-DBUILD_TYPE=${CMAKE_BUILD_TYPE}" "-DVERSION=${PROJECT_VERSION}"
        -P "${PROJECT_SOURCE_DIR}/tests/package/run.cmake")
    set_tests_properties(package.consumer PROPERTIES TIMEOUT 300 LABELS package)
endif()
