# Library, headers, CMake package, pkg-config file and manual pages.
# GNUInstallDirs changes where a whole project installs. So it is included here, and not where a
# parent only builds the library.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Verrick)

install(TARGETS Verrick EXPORT VerrickTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/verrick DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT VerrickTargets NAMESPACE Verrick:: DESTINATION ${package_dir} COMPONENT development)

configure_package_config_file(cmake/VerrickConfig.cmake.in VerrickConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(VerrickConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/VerrickConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/VerrickConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT development)

# Relative to the file's own place, so that an installed tree can be moved.
file(RELATIVE_PATH pc_to_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/verrick.pc.in verrick.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/verrick.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# GDB loads a file of this name from its auto-load folder together with the library at that path.
install(FILES debug/gdb_printers.py RENAME libVerrick.so.1-gdb.py COMPONENT runtime
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/gdb/auto-load${CMAKE_INSTALL_FULL_LIBDIR})

# The manual pages are made by scripts/docs; without them there is nothing to install.
set(VERRICK_MAN_DIR ${PROJECT_SOURCE_DIR}/build/docs/man CACHE PATH "Folder of built manual pages")
if(IS_DIRECTORY ${VERRICK_MAN_DIR})
    install(DIRECTORY ${VERRICK_MAN_DIR}/ DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT development)
endif()
