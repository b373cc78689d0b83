# Four Debian packages: libverrick1, which programs run with; libverrick-dev, which they are built with;
# libverrick-doc; and libverrick1-dbgsym, which debuggers read. scripts/package sets VERRICK_DEBIAN, and
# finishes what CPack makes.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME verrick)
set(CPACK_PACKAGE_VENDOR "The Verrick authors")
set(CPACK_PACKAGE_CONTACT "The Verrick authors <verrick@example.org>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_COMPONENTS_ALL runtime development documentation)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(about "Verrick gives threads, timers, synchronisation, INI files, message queues,
files, directory search and run-time loading behind one set of calls, as C++
objects and as flat calls with Win32 names.")
set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(exact_runtime "libverrick1 (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libverrick1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${about}")
set(CPACK_DEBIAN_RUNTIME_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# A program that is packaged with this library depends on the version that its symbols need (symbols).
# Tools that don't read this take the version that it was built with (shlibs).
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${packaging}/triggers ${PROJECT_BINARY_DIR}/symbols)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libverrick-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${about}
.
This package has the headers, the manual pages and what else programs are
built with.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${exact_runtime}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS libverrick-doc)

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME libverrick-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_COMPONENT_DOCUMENTATION_DESCRIPTION "${about}
.
This package has the guide and the reference as HTML, and the example
programs.")
set(doc ${CMAKE_INSTALL_DATAROOTDIR}/doc)
install(DIRECTORY ${VERRICK_HTML_DIR}/ DESTINATION ${doc}/libverrick-doc/html COMPONENT documentation)
install(DIRECTORY examples DESTINATION ${doc}/libverrick-doc COMPONENT documentation
    PATTERN examples/CMakeLists.txt EXCLUDE)
install(FILES ${packaging}/libverrick-doc.doc-base RENAME libverrick-doc
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc-base COMPONENT documentation)

# pack(SOURCE FILE): compresses a log as Debian wants it, without a name or a time in it.
function(pack source file)
    execute_process(COMMAND gzip -9nc ${source}
        OUTPUT_FILE ${PROJECT_BINARY_DIR}/${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()
pack(${packaging}/changelog changelog.Debian.gz)
pack(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog.gz)

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} prefix)
    set(package ${CPACK_DEBIAN_${prefix}_PACKAGE_NAME})
    install(FILES ${packaging}/copyright ${PROJECT_BINARY_DIR}/changelog.Debian.gz
                  ${PROJECT_BINARY_DIR}/changelog.gz
        DESTINATION ${doc}/${package} COMPONENT ${component})
    if(EXISTS ${packaging}/${package}.lintian-overrides)
        install(FILES ${packaging}/${package}.lintian-overrides RENAME ${package}
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides COMPONENT ${component})
    endif()
endforeach()

include(CPack)
