# The shared object: how it is compiled and linked, and what it exports.
add_library(Verrick SHARED)
add_library(Verrick::Verrick ALIAS Verrick)
include(cmake/Sources.cmake)

find_package(Threads REQUIRED)
target_link_libraries(Verrick PRIVATE Threads::Threads ${CMAKE_DL_LIBS})
# GCC changes a single byte by a call into its own run-time library where the processor can't, as on
# 64-bit RISC-V.
include(CheckCXXSourceCompiles)
check_cxx_source_compiles("
    #include <atomic>
    std::atomic<bool> flag;
    int main() { bool seen = false; return flag.compare_exchange_strong(seen, true); }"
    VERRICK_HAS_BYTE_ATOMICS)
if(NOT VERRICK_HAS_BYTE_ATOMICS)
    target_link_libraries(Verrick PRIVATE atomic)
endif()
target_include_directories(Verrick
    PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    PRIVATE ${PROJECT_SOURCE_DIR})
target_compile_features(Verrick PRIVATE cxx_std_20 INTERFACE cxx_std_11)
set_target_properties(Verrick PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    SOVERSION 1)
target_compile_definitions(Verrick PRIVATE _GNU_SOURCE)
# An exported function is never replaced by an application's own of that name, neither for the
# compiler (which may inline it) nor for the linker (which binds the library's calls to it).
target_compile_options(Verrick PRIVATE -fno-semantic-interposition -fno-plt)
# The library's few thread-local words have places known to the loader. That is faster than asking for
# them, and GCC for PowerPC asks for a wrong place together with -fno-plt.
target_compile_options(Verrick PRIVATE -ftls-model=initial-exec)
verrick_warnings(Verrick)
verrick_hardening(Verrick)

include(cmake/Exports.cmake)
# The object stays loaded after dlclose: a detached thread may still be on its last instructions.
target_link_options(Verrick PRIVATE
    LINKER:-Bsymbolic-functions
    LINKER:-z,relro,-z,now
    LINKER:-z,nodelete)
