# Turns cmake/exports.list into the linker's version script. The linker exports what a pattern
# matches and hides the rest.
#
# A decorated name holds the length of a class's name before the name itself. So a pattern for
# DEvent (_ZN6DEvent*) never matches a member of DEventImpl (_ZN10DEventImpl*).
set(export_list ${PROJECT_SOURCE_DIR}/cmake/exports.list)
set(export_map ${PROJECT_BINARY_DIR}/exports.map)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${export_list})

set(patterns "")
file(STRINGS ${export_list} lines REGEX "^[^#]")
foreach(line IN LISTS lines)
    if(NOT line MATCHES "^(class|abstract|function|flat) ([A-Za-z0-9_]+)$")
        message(FATAL_ERROR "cmake/exports.list: its head doesn't explain this line: ${line}")
    endif()
    set(kind ${CMAKE_MATCH_1})
    set(name ${CMAKE_MATCH_2})
    string(LENGTH ${name} length)
    set(decorated ${length}${name})
    if(kind STREQUAL "flat")
        list(APPEND patterns ${name})
    elseif(kind STREQUAL "function")
        list(APPEND patterns _Z${decorated}*)
    else()
        # Virtual table, type information and its name; thunks; const members.
        list(APPEND patterns _ZT[VIS]${decorated} _ZTh*_N${decorated}* _ZNK${decorated}*)
        if(kind STREQUAL "abstract")
            list(APPEND patterns _ZN${decorated}[!C]* _ZN${decorated}C2*)
        else()
            list(APPEND patterns _ZN${decorated}*)
        endif()
    endif()
endforeach()
list(JOIN patterns ";\n    " patterns)
file(CONFIGURE OUTPUT ${export_map} @ONLY
    CONTENT "{\n  global:\n    @patterns@;\n  local:\n    *;\n};\n")

set_property(TARGET Verrick APPEND PROPERTY LINK_DEPENDS ${export_map})
target_link_options(Verrick PRIVATE "LINKER:--version-script=${export_map}")
