# Finds googletest, so that the tests can link to GTest::gtest_main.
#
# A source folder is taken first, because it is compiled with this build's own compiler and flags.
# Sanitizers and other targets need that. Debian's package googletest has such a folder. Without one,
# an installed googletest serves.
set(VERRICK_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "Folder with the sources of googletest")

if(EXISTS ${VERRICK_GOOGLETEST_SOURCE}/CMakeLists.txt)
    set(INSTALL_GTEST OFF)
    set(BUILD_GMOCK OFF)
    add_subdirectory(${VERRICK_GOOGLETEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
else()
    find_package(GTest)
    if(NOT GTest_FOUND)
        message(FATAL_ERROR "The tests need googletest. Install its package, or name a folder with its \
sources in VERRICK_GOOGLETEST_SOURCE, or configure with VERRICK_BUILD_TESTS=OFF.")
    endif()
endif()
