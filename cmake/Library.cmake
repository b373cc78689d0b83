# The shared object: how it is compiled and linked, and what it exports.
add_library(Verrick SHARED)
add_library(Verrick::Verrick ALIAS Verrick)
include(cmake/Sources.cmake)

find_package(Threads REQUIRED)
target_link_libraries(Verrick PRIVATE Threads::Threads ${CMAKE_DL_LIBS})
target_include_directories(Verrick PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_include_directories(Verrick PRIVATE ${PROJECT_SOURCE_DIR})
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
verrick_warnings(Verrick)

# cmake/exports.list is the one place that names what the object exports. In it, @PTR@ stands for
# the size of a pointer, which is the offset of a second base in a thunk's name.
set(export_list ${PROJECT_SOURCE_DIR}/cmake/exports.list)
set(export_map ${PROJECT_BINARY_DIR}/exports.map)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${export_list})
file(STRINGS ${export_list} symbols REGEX "^[^#]")
list(JOIN symbols ";\n    " symbols)
string(REPLACE "@PTR@" "${CMAKE_SIZEOF_VOID_P}" symbols "${symbols}")
file(CONFIGURE OUTPUT ${export_map} CONTENT "{\n  global:\n    @symbols@;\n  local:\n    *;\n};\n" @ONLY)
set_property(TARGET Verrick APPEND PROPERTY LINK_DEPENDS ${export_map})
# The object stays loaded after dlclose: a detached thread may still be on its last instructions.
target_link_options(Verrick PRIVATE
    "LINKER:--version-script=${export_map}"
    LINKER:-Bsymbolic-functions
    LINKER:-z,relro,-z,now
    LINKER:-z,nodelete)
