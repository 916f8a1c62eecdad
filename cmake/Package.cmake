# The install tree: include/q9util, lib, bin, the CMake package, q9util.pc and the debugger's views.
# Components: Core (library and headers), Tools, Debugger, Monitor.
if(NOT TARGET q9util073)
    return()
endif()
include(CMakePackageConfigHelpers)
set(Q9_INCLUDE_DIR "${CMAKE_INSTALL_INCLUDEDIR}/q9util")
set(Q9_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/q9util")

install(TARGETS q9util073 EXPORT q9utilTargets COMPONENT Core
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    FILE_SET HEADERS DESTINATION "${Q9_INCLUDE_DIR}")
foreach(include IN LISTS Q9_PUBLIC_INCLUDES)
    cmake_path(RELATIVE_PATH include BASE_DIRECTORY "${PROJECT_SOURCE_DIR}/src" OUTPUT_VARIABLE relative)
    cmake_path(GET relative PARENT_PATH folder)
    install(FILES "${include}" DESTINATION "${Q9_INCLUDE_DIR}/${folder}" COMPONENT Core)
endforeach()

install(EXPORT q9utilTargets NAMESPACE q9util:: DESTINATION "${Q9_CMAKE_DIR}" COMPONENT Core)
configure_package_config_file(cmake/q9utilConfig.cmake.in "${Q9_GENERATED_DIR}/q9utilConfig.cmake"
    INSTALL_DESTINATION "${Q9_CMAKE_DIR}")
write_basic_package_version_file("${Q9_GENERATED_DIR}/q9utilConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${Q9_GENERATED_DIR}/q9utilConfig.cmake" "${Q9_GENERATED_DIR}/q9utilConfigVersion.cmake"
    DESTINATION "${Q9_CMAKE_DIR}" COMPONENT Core)

# The prefix in the .pc file is told relative to the file, so that the tree may be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE Q9_PC_TO_PREFIX)
configure_file(cmake/q9util.pc.in "${Q9_GENERATED_DIR}/q9util.pc" @ONLY)
install(FILES "${Q9_GENERATED_DIR}/q9util.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT Core)

foreach(document LICENSE THIRD_PARTY.md)
    if(EXISTS "${PROJECT_SOURCE_DIR}/${document}")
        install(FILES "${document}" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/q9util" COMPONENT Core)
    endif()
endforeach()

if(TARGET q9diag)
    set_target_properties(q9diag PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
    install(TARGETS q9diag RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Tools)
endif()
foreach(target IN LISTS Q9_MONITOR_TARGETS)
    install(TARGETS ${target} LIBRARY DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Monitor)
endforeach()

# gdb finds a script under its auto-load folder by the library's full path, or as <library>-gdb.py beside it.
if(EXISTS "${PROJECT_SOURCE_DIR}/tools/debugger/q9util.natvis")
    install(FILES tools/debugger/q9util.natvis DESTINATION "${CMAKE_INSTALL_DATADIR}/q9util" COMPONENT Debugger)
endif()
if(EXISTS "${PROJECT_SOURCE_DIR}/tools/debugger/q9util-gdb.py")
    if(WIN32)
        install(FILES tools/debugger/q9util-gdb.py DESTINATION "${CMAKE_INSTALL_BINDIR}" RENAME q9util073.dll-gdb.py COMPONENT Debugger)
    else()
        install(FILES tools/debugger/q9util-gdb.py DESTINATION "${CMAKE_INSTALL_LIBDIR}"
            RENAME libq9util073.so.${PROJECT_VERSION}-gdb.py COMPONENT Debugger)
    endif()
endif()
