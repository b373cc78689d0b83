# Two Debian packages: libverrick1, which programs run with, and libverrick-dev, which they are built
# with. For scripts/package, which sets VERRICK_DEBIAN.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME verrick)
set(CPACK_PACKAGE_VENDOR "The Verrick authors")
set(CPACK_PACKAGE_CONTACT "The Verrick authors <verrick@example.org>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/dist)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_MULTIARCH same)

set(about "Verrick gives threads, timers, synchronisation, INI files, message queues,
files, directory search and run-time loading behind one set of calls, as C++
objects and as flat calls with Win32 names.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libverrick1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${about}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# Programs that are packaged against this library depend on this version or a later one.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libverrick-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${about}
.
This package has the headers and what else programs are built with.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libverrick1 (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

foreach(part IN ITEMS runtime:libverrick1 development:libverrick-dev)
    string(REPLACE ":" ";" part ${part})
    list(GET part 0 component)
    list(GET part 1 package)
    set(doc ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package})
    install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright DESTINATION ${doc} COMPONENT ${component})
    install(FILES ${PROJECT_BINARY_DIR}/changelog.Debian.gz DESTINATION ${doc} COMPONENT ${component})
    install(FILES ${PROJECT_BINARY_DIR}/changelog.gz DESTINATION ${doc} COMPONENT ${component})
endforeach()

# Compressed as Debian wants it: without a name or a time in it.
foreach(log IN ITEMS cmake/debian/changelog:changelog.Debian.gz CHANGELOG.md:changelog.gz)
    string(REPLACE ":" ";" log ${log})
    list(GET log 0 source)
    list(GET log 1 packed)
    execute_process(COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/${source}
        OUTPUT_FILE ${PROJECT_BINARY_DIR}/${packed} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

include(CPack)
