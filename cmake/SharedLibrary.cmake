# The product: q9util073.dll with its import library, on the host libq9util073.so.
file(GLOB_RECURSE Q9_PUBLIC_HEADERS CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/*.h")
file(GLOB_RECURSE Q9_PUBLIC_INCLUDES CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/*.inl")
foreach(list Q9_PUBLIC_HEADERS Q9_PUBLIC_INCLUDES)
    list(FILTER ${list} EXCLUDE REGEX "(Impl\\.(h|inl)|/detail/.*|/src/platform/(host|win32)/.*|/src/portmonitor/.*)$")
endforeach()

# q9util.h includes every public header, in the order of their paths, but the one that redefines the spooler's names.
set(umbrella "// Everything that the library offers, in one include.\n#pragma once\n\n")
foreach(header IN LISTS Q9_PUBLIC_HEADERS)
    if(header MATCHES "/PrinterDataNames\\.h$")
        continue()
    endif()
    cmake_path(RELATIVE_PATH header BASE_DIRECTORY "${PROJECT_SOURCE_DIR}/src" OUTPUT_VARIABLE relative)
    string(APPEND umbrella "#include \"${relative}\"\n")
endforeach()
string(APPEND umbrella "#include \"q9version.h\"\n")
file(CONFIGURE OUTPUT "${Q9_GENERATED_DIR}/q9util.h" CONTENT "${umbrella}" @ONLY)

if(NOT TARGET q9_platform)
    message(STATUS "q9util073: no platform adapter yet, the shared library is left out")
    return()
endif()

file(GLOB_RECURSE resources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/*.rc")
if(NOT WIN32)
    set(resources "")
endif()
add_library(q9util073 SHARED ${resources})
add_library(q9util::q9util ALIAS q9util073)
if(WIN32)
    q9_link_floors(q9util073 ${Q9_FLOOR_OBJECTS_8})
else()
    # The embedded spooler of the host answers monitor requests itself, with the monitor's own server.
    q9_link_floors(q9util073 ${Q9_ALL_OBJECTS})
endif()
target_sources(q9util073 PUBLIC FILE_SET HEADERS
    BASE_DIRS "${PROJECT_SOURCE_DIR}/src" "${Q9_GENERATED_DIR}"
    FILES ${Q9_PUBLIC_HEADERS} "${Q9_GENERATED_DIR}/q9util.h" "${Q9_GENERATED_DIR}/q9version.h")
target_compile_features(q9util073 PUBLIC cxx_std_20)
set_target_properties(q9util073 PROPERTIES
    EXPORT_NAME q9util
    OUTPUT_NAME q9util073
    LINKER_LANGUAGE CXX
    VERIFY_INTERFACE_HEADER_SETS ON)
if(WIN32)
    # Nothing is exported but what Export.h marks.
    set_target_properties(q9util073 PROPERTIES PREFIX "" IMPORT_PREFIX "lib" IMPORT_SUFFIX ".dll.a")
    target_link_options(q9util073 PRIVATE LINKER:--exclude-all-symbols)
    q9_add_version_resource(q9util073 q9util073.dll "${PROJECT_DESCRIPTION}")
else()
    set_target_properties(q9util073 PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    # Once loaded it stays: the system calls us back when a thread ends, which may be after the last handle was closed.
    target_link_options(q9util073 PRIVATE LINKER:-z,nodelete)
    if(NOT Q9_SANITIZE)    # the sanitizers' run-time is in the program
        target_link_options(q9util073 PRIVATE LINKER:--no-undefined)
    endif()
endif()
