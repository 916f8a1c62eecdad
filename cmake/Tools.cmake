# q9diag: public headers and the shared library only.  Its two header-only libraries are staged in a folder of their
# own, because the system's include folder must never be on the path of the cross build.
add_custom_target(all-tools)
file(GLOB q9diag_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tools/q9diag/*.cpp")
if(NOT q9diag_sources OR NOT Q9_BUILD_TOOLS)
    return()
endif()

set(Q9_STAGED_INCLUDE_DIR "${CMAKE_BINARY_DIR}/staged-include")
file(MAKE_DIRECTORY "${Q9_STAGED_INCLUDE_DIR}")
foreach(library nlohmann CLI)
    if(NOT EXISTS "/usr/include/${library}")
        message(FATAL_ERROR "/usr/include/${library} is missing: run ./dev, or install nlohmann-json3-dev and libcli11-dev")
    endif()
    file(CREATE_LINK "/usr/include/${library}" "${Q9_STAGED_INCLUDE_DIR}/${library}" SYMBOLIC)
endforeach()

if(NOT TARGET q9util073)
    return()
endif()

# The demo's stored settings and the sample product's cabinet file are compiled in.
function(q9_embed_bytes file include)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    file(READ "${file}" bytes HEX)
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
    file(CONFIGURE OUTPUT "${Q9_GENERATED_DIR}/${include}" CONTENT "@bytes@\n" @ONLY)
endfunction()
q9_embed_bytes("${PROJECT_SOURCE_DIR}/examples/data/queue-settings.bin" DemoBlock.inc)
file(GLOB product_cab "${PROJECT_SOURCE_DIR}/examples/product/*.cab")
q9_embed_bytes("${product_cab}" DemoCabinet.inc)

# Arguments and standard streams belong to the program, not to the library.
set(program_sources ${q9_sources_program})
if(WIN32)
    list(FILTER program_sources INCLUDE REGEX "/win32/")
else()
    list(FILTER program_sources INCLUDE REGEX "/host/")
endif()

add_executable(q9diag ${q9diag_sources} ${program_sources})
# GCC 12 takes the joining of short texts for overlapping copies once it has inlined them.
target_compile_options(q9diag PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
target_include_directories(q9diag SYSTEM PRIVATE "${Q9_STAGED_INCLUDE_DIR}")
target_include_directories(q9diag PRIVATE "${PROJECT_SOURCE_DIR}/tools/q9diag")
target_link_libraries(q9diag PRIVATE q9util073 q9_options q9_link_options Threads::Threads)
add_dependencies(all-tools q9diag)
if(WIN32)
    target_link_libraries(q9diag PRIVATE shell32)
    set_target_properties(q9diag PROPERTIES OUTPUT_NAME q9diag073)
    q9_add_version_resource(q9diag q9diag073.exe "Diagnostic tool of the utility library")
endif()
