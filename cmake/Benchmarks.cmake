# Benchmarks, host only: benchmarks/<topic>_bench.cpp, one program each.  The libraries that ours are compared with are
# required here; ./dev bench installs them.  The tests' support stays out: it replaces the global operator new, and every
# allocation of ours and of the peers would pay for that.
if(WIN32)
    message(FATAL_ERROR "benchmarks run on the host only")
endif()
find_package(benchmark REQUIRED)
find_package(Qt5 REQUIRED COMPONENTS Core)
find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(fmt REQUIRED)
find_package(spdlog REQUIRED)
find_package(absl REQUIRED)
find_package(Boost REQUIRED)
find_package(Protobuf REQUIRED)
pkg_check_modules(BENCH_PEERS REQUIRED IMPORTED_TARGET libdeflate libisal inih)

add_library(q9_bench_peers INTERFACE)
target_link_libraries(q9_bench_peers INTERFACE benchmark::benchmark benchmark::benchmark_main Qt5::Core ICU::uc ICU::i18n
    fmt::fmt spdlog::spdlog absl::strings absl::cord absl::hash absl::flat_hash_map Boost::headers protobuf::libprotobuf PkgConfig::BENCH_PEERS)

file(GLOB bench_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/benchmarks/*_bench.cpp")
file(GLOB bench_protos CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/benchmarks/*.proto")
if(bench_protos)
    protobuf_generate_cpp(proto_sources proto_headers ${bench_protos})
    add_library(q9_bench_protos STATIC ${proto_sources} ${proto_headers})
    target_include_directories(q9_bench_protos SYSTEM PUBLIC "${CMAKE_CURRENT_BINARY_DIR}")
    target_link_libraries(q9_bench_protos PUBLIC protobuf::libprotobuf)
    target_link_libraries(q9_bench_peers INTERFACE q9_bench_protos)
endif()
foreach(source IN LISTS bench_sources)
    cmake_path(GET source STEM target)
    add_executable(${target} "${source}")
    target_include_directories(${target} PRIVATE
        "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/benchmarks" "${Q9_GENERATED_DIR}")
    target_compile_definitions(${target} PRIVATE VLM_BUILDING)
    target_link_libraries(${target} PRIVATE q9_options q9_bench_peers)
    q9_link_floors(${target} ${Q9_ALL_OBJECTS})
endforeach()
