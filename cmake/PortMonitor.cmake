# The family's port monitor on Windows: a DLL for each file in src/portmonitor/entry, named after it, with the sources of
# the folder of that name beside it.  q7lrs is the monitor: the request server and what it needs of floors 0 to 5.
# q7lrsl is its loader and needs the system alone.
if(NOT WIN32 OR NOT TARGET q9_monitor)
    return()
endif()

# The floors once more, as a library that the linker takes only what it needs from, and without the directives that
# would export the library's classes from the monitor, too.
add_library(q9_monitor_parts STATIC EXCLUDE_FROM_ALL)
foreach(objects IN LISTS Q9_FLOOR_OBJECTS_5 ITEMS q9_monitor)
    target_sources(q9_monitor_parts PRIVATE $<TARGET_OBJECTS:${objects}>)
endforeach()
set_target_properties(q9_monitor_parts PROPERTIES LINKER_LANGUAGE CXX)
add_custom_command(TARGET q9_monitor_parts POST_BUILD
    COMMAND "${CMAKE_OBJCOPY}" --remove-section=.drectve "$<TARGET_FILE:q9_monitor_parts>" VERBATIM)

function(q9_add_monitor_dll name description)
    file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/portmonitor/entry/${name}/*.cpp")
    add_library(${name} MODULE "${PROJECT_SOURCE_DIR}/src/portmonitor/entry/${name}.cpp" ${sources})
    set_target_properties(${name} PROPERTIES PREFIX "")
    target_compile_definitions(${name} PRIVATE VLM_STATIC)
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/src" "${Q9_GENERATED_DIR}")
    target_link_libraries(${name} PRIVATE q9_options ${ARGN} q9_link_options)
    q9_add_version_resource(${name} ${name}.dll "${description}")
endfunction()

q9_add_monitor_dll(q7lrs "Port monitor of the printer drivers" q9_monitor_parts q9_platform_libraries)
q9_add_monitor_dll(q7lrsl "Loader of the port monitor" version)
set(Q9_MONITOR_TARGETS q7lrs q7lrsl)
