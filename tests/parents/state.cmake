# A parent calls keep_state before it brings the library in, and expect_same_state afterwards.

# steering_variables(RESULT): the variables with which CMake steers a project. Left out are those that
# each project() and each file moves, and what the search for the thread library keeps for the next
# run.
function(steering_variables result)
    get_cmake_property(names VARIABLES)
    list(REMOVE_DUPLICATES names)
    list(FILTER names INCLUDE REGEX "^(BUILD|CMAKE|CPACK|CTEST)_")
    list(FILTER names EXCLUDE REGEX "^CMAKE_(CURRENT|PARENT|PROJECT|MATCH|HAVE)_")
    set(${result} ${names} PARENT_SCOPE)
endfunction()

function(keep_state)
    steering_variables(names)
    set_property(GLOBAL PROPERTY kept_names "${names}")
    foreach(name IN LISTS names)
        set_property(GLOBAL PROPERTY kept_${name} "${${name}}")
    endforeach()
endfunction()

function(expect_same_state)
    steering_variables(names)
    get_property(kept_names GLOBAL PROPERTY kept_names)
    expect("The parent's set of variables" "${names}" "${kept_names}")
    foreach(name IN LISTS names)
        get_property(kept GLOBAL PROPERTY kept_${name})
        expect(${name} "${${name}}" "${kept}")
    endforeach()
endfunction()

# expect(NAME ACTUAL EXPECTED): fails the configuration if the two differ, and shows in what.
function(expect name actual expected)
    if(actual STREQUAL expected)
        return()
    endif()
    set(missing ${expected})
    list(REMOVE_ITEM missing ${actual})
    list(REMOVE_ITEM actual ${expected})
    message(FATAL_ERROR "${name} changed: '${actual}' instead of '${missing}'")
endfunction()
