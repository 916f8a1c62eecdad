# Compiles through ccache when it is there.  Paths below the source folder are hashed relative to the build
# folder, so that several checkouts of the project share what they compile.
find_program(Q9_CCACHE ccache)
option(Q9_USE_CCACHE "Compile through ccache when it is installed" ON)
if(Q9_CCACHE AND Q9_USE_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env
        "CCACHE_BASEDIR=${CMAKE_SOURCE_DIR}" CCACHE_NOHASHDIR=1
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime "${Q9_CCACHE}")
endif()
