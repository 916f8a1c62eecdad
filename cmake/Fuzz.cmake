# Fuzz targets: fuzz/<name>_fuzz.cpp with fuzz/corpus/<name>/ and fuzz/dict/<name>.dict.
# With Q9_FUZZ each becomes <name>_fuzz under libFuzzer; in every other build its corpus is replayed as a test.
file(GLOB fuzz_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/fuzz/*_fuzz.cpp")
if(NOT DEFINED Q9_STAGED_INCLUDE_DIR)
    list(FILTER fuzz_sources EXCLUDE REGEX "settings_json_fuzz")
endif()
foreach(source IN LISTS fuzz_sources)
    cmake_path(GET source STEM target)
    string(REGEX REPLACE "_fuzz$" "" name "${target}")
    if(Q9_FUZZ)
        add_executable(${target} "${source}")
        target_link_options(${target} PRIVATE -fsanitize=fuzzer)
    else()
        set(target replay_${name})
        add_executable(${target} "${source}" "${PROJECT_SOURCE_DIR}/fuzz/ReplayMain.cpp")
        add_test(NAME fuzz.${name} COMMAND ${target} "${Q9_TEST_ROOT}${PROJECT_SOURCE_DIR}/fuzz/corpus/${name}")
        set_tests_properties(fuzz.${name} PROPERTIES TIMEOUT ${Q9_TEST_TIMEOUT} LABELS fuzz)
    endif()
    target_include_directories(${target} PRIVATE
        "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/tests" "${PROJECT_SOURCE_DIR}/fuzz" "${Q9_GENERATED_DIR}")
    target_compile_definitions(${target} PRIVATE VLM_BUILDING)
    q9_define_data_folder("${source}")
    target_link_libraries(${target} PRIVATE q9_options)
    # As for the tests: GCC 12 sees copies beyond the end of short vectors and strings that nobody makes.
    target_compile_options(${target} PRIVATE
        $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds -Wno-restrict -Wno-stringop-overflow -Wno-stringop-overread>)
    q9_link_floors(${target} ${Q9_FLOOR_OBJECTS_7} q9_monitor)    # no entry point: the targets change the platform
    if(name STREQUAL "settings_json")    # the tool's reader and writer of settings, with its JSON library
        foreach(unit Failure JsonObject JsonText RecordJson Settings SettingsJson SettingsText Text Units)
            target_sources(${target} PRIVATE "${PROJECT_SOURCE_DIR}/tools/q9diag/${unit}.cpp")
        endforeach()
        target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/tools/q9diag")
        target_include_directories(${target} SYSTEM PRIVATE "${Q9_STAGED_INCLUDE_DIR}")
    endif()
    if(TARGET q9_test_support)
        target_link_libraries(${target} PRIVATE q9_test_support gmock)
    endif()
endforeach()
