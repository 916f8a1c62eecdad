# Compiler and linker options shared by every target of this project, as two interface targets:
# q9_options for all of our code, q9_link_options for what is linked into a DLL or an executable.
include(CcacheLauncher)

set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

add_library(q9_options INTERFACE)
target_compile_options(q9_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wformat=2 -Wimplicit-fallthrough -Wnon-virtual-dtor
    -Wold-style-cast -Wcast-align -Wundef -Wvla -Wextra-semi
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op>
    $<$<BOOL:${Q9_WARNINGS_AS_ERRORS}>:-Werror>)
# No absolute path of the build machine in an object: the second form is what ccache turns the first into.
target_compile_options(q9_options INTERFACE
    "-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=" "-ffile-prefix-map=${CMAKE_BINARY_DIR}/=build/" "-ffile-prefix-map=../../=")

# Unique symbols would keep the host's module in a process for ever after dlclose.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT WIN32)
    target_compile_options(q9_options INTERFACE -fno-gnu-unique)
endif()

# The compiler believes a Windows stack to be aligned for the 256-bit values that it spills there (a known defect of this
# target); the assembler makes every vector move one that does not care.
if(WIN32)
    target_compile_options(q9_options INTERFACE -Wa,-muse-unaligned-vector-move)
endif()

# An exported function may then be inlined into its neighbours; clang and Windows take this for granted.
target_compile_options(q9_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)

# Hardening that costs next to nothing.  Not on Windows: the guard's start-up code in libssp asks CryptoAPI for
# random bytes from a constructor, which would load a library under the loader lock of the spooler.
if(NOT WIN32)
    target_compile_options(q9_options INTERFACE -fstack-protector-strong)
endif()
target_compile_definitions(q9_options INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

if(Q9_SANITIZE)
    add_compile_options(-fsanitize=${Q9_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${Q9_SANITIZE})
endif()
if(Q9_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Every function of ours tells when it begins and ends, see tests/support/trace.
option(Q9_FAULT_TRACE "Trace which functions meet a fault in the tests" OFF)
if(Q9_FAULT_TRACE)
    target_compile_definitions(q9_options INTERFACE Q9_FAULT_TRACE)
    target_compile_options(q9_options INTERFACE -finstrument-functions
        -finstrument-functions-exclude-file-list=/usr/)
endif()

add_library(q9_link_options INTERFACE)
if(WIN32)
    # Everything but the system is inside; same bytes from the same source; the loader may place us anywhere.
    target_link_options(q9_link_options INTERFACE
        -static -static-libgcc -static-libstdc++
        LINKER:--no-insert-timestamp LINKER:--disable-auto-image-base
        LINKER:--dynamicbase LINKER:--high-entropy-va LINKER:--nxcompat)
else()
    target_link_options(q9_link_options INTERFACE LINKER:-z,relro LINKER:-z,now)
endif()

find_package(Threads REQUIRED)
