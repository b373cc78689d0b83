# What differs between the targets when tests run: the locale, and the tests that an emulator can't
# run. Included by tests/CMakeLists.txt.

# Tests speak C.UTF-8, whose compiled form has the byte order of the machine: a big-endian target
# can't read the build machine's.
set(verrick_test_environment "")
if(CMAKE_CROSSCOMPILING AND CMAKE_CXX_BYTE_ORDER STREQUAL "BIG_ENDIAN")
    set(locale_folder ${PROJECT_BINARY_DIR}/locale)
    if(NOT EXISTS ${locale_folder}/C.UTF-8/LC_CTYPE)
        file(MAKE_DIRECTORY ${locale_folder})
        execute_process(COMMAND localedef --big-endian -i C -f UTF-8 ${locale_folder}/C.UTF-8
            COMMAND_ERROR_IS_FATAL ANY)
    endif()
    set(verrick_test_environment LOCPATH=${locale_folder})
endif()

# tests/exceptions.txt names the tests that can't run on a target, under memcheck or under a
# sanitizer. They are registered all the same, and ctest's summary names them as disabled.
set(runner "")
if(CMAKE_CROSSCOMPILING)
    set(runner ${CMAKE_SYSTEM_PROCESSOR})
endif()
set(VERRICK_TEST_EXCEPTIONS "${runner}" CACHE STRING "Whose exceptions of tests/exceptions.txt count")
set(exceptions ${PROJECT_SOURCE_DIR}/tests/exceptions.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${exceptions})
set(disabled "")
if(VERRICK_TEST_EXCEPTIONS)
    file(STRINGS ${exceptions} lines REGEX "^${VERRICK_TEST_EXCEPTIONS} ")
    foreach(line IN LISTS lines)
        string(REGEX MATCH "^[^ ]+ +([^ ]+) +[^ ]" reasoned "${line}")
        if(NOT reasoned)
            message(FATAL_ERROR "tests/exceptions.txt: a line without a reason: ${line}")
        endif()
        string(APPEND disabled "set_tests_properties(${CMAKE_MATCH_1} PROPERTIES DISABLED TRUE)\n")
    endforeach()
endif()
file(WRITE ${PROJECT_BINARY_DIR}/exceptions.cmake "${disabled}")

# This runs at the end of the folder, because only a file that is included last sees every test.
function(verrick_disable_exceptions)
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${PROJECT_BINARY_DIR}/exceptions.cmake)
endfunction()
cmake_language(DEFER CALL verrick_disable_exceptions)
