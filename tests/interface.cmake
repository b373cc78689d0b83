# The interface as programs meet it that were built, or are being built, against the library:
# exported symbols, binary layout, headers, and an installed tree.

# An emulator is a list in CMake and a command line for the scripts.
list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
set(tools CXX=${CMAKE_CXX_COMPILER} CC=${CMAKE_C_COMPILER} READELF=${CMAKE_READELF}
    EMULATOR=${emulator} CMAKE_TOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE}
    CMAKE_GENERATOR=${CMAKE_GENERATOR} ${verrick_test_environment})

# interface_test(NAME COMMAND...): a script of this folder, with the build's tools in its environment.
function(interface_test name script)
    add_test(NAME ${name} COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/${script} ${ARGN})
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "${tools}" TIMEOUT 600)
endfunction()

interface_test(exports.MatchTheList check_exports.sh $<TARGET_FILE:Verrick>
    ${PROJECT_SOURCE_DIR}/cmake/exports.list ${PROJECT_SOURCE_DIR}/include ${CMAKE_NM})

add_test(NAME layers.PointDownwards COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_layers.sh
    ${PROJECT_SOURCE_DIR})
add_test(NAME version.IsTheSameEverywhere COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_version.sh
    ${PROJECT_SOURCE_DIR} ${PROJECT_VERSION})

# What is left is the same in a sanitizer's build.
if(NOT VERRICK_TEST_INTERFACE)
    return()
endif()

interface_test(abi.IsTheCommittedOne abi/check.sh abi/${CMAKE_SYSTEM_PROCESSOR}.txt
    $<TARGET_FILE:Verrick> ${PROJECT_SOURCE_DIR}/include)
set_tests_properties(abi.IsTheCommittedOne PROPERTIES WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})

set(gcc g++ gcc)
set(clang clang++ clang)
if(CMAKE_CROSSCOMPILING)
    set(gcc ${CMAKE_CXX_COMPILER} ${CMAKE_C_COMPILER})
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -dumpmachine OUTPUT_VARIABLE machine
        OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    list(TRANSFORM clang APPEND " --target=${machine}")
endif()
interface_test(headers.CompileAloneWithGcc check_headers.sh ${gcc} ${PROJECT_SOURCE_DIR}/include)
interface_test(headers.CompileAloneWithClang check_headers.sh ${clang} ${PROJECT_SOURCE_DIR}/include)

interface_test(headers.StandInAnUmbrellaOrOptIn check_umbrellas.sh ${PROJECT_SOURCE_DIR}/include
    ${CMAKE_CURRENT_SOURCE_DIR}/opt_in_headers.txt)

# The printers read debug information, and GDB runs what this machine can run by itself. The program has
# its variables where GDB finds them.
if(CMAKE_BUILD_TYPE MATCHES "Deb" AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
    add_executable(stopped debug/stopped.cpp)
    target_compile_features(stopped PRIVATE cxx_std_20)
    target_compile_options(stopped PRIVATE -O0)
    target_include_directories(stopped PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(stopped PRIVATE Verrick::Verrick)
    verrick_warnings(stopped)
    interface_test(debug.PrintersTellTheStateOfObjects debug/check_printers.sh
        ${PROJECT_SOURCE_DIR}/debug/gdb_printers.py $<TARGET_FILE:stopped>)
endif()

if(VERRICK_INSTALL)
    interface_test(install.ServesOutsidePrograms check_install.sh ${PROJECT_BINARY_DIR}
        ${PROJECT_SOURCE_DIR}/README.md)
endif()
