# What the library settles with the project around it: the build type, unity builds, shared or static.
# Nothing here reaches a parent project. The build type is set only where this project is the top
# level, and every other variable is local to this folder and those below it.

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

# Each source is compiled on its own, also below a parent that joins its sources into few: sources
# have internal names in common, and some ask libc for records of another size than the others.
set(CMAKE_UNITY_BUILD OFF)

set(shared_only "Verrick is built as a shared library only. Its timer service and its registry of \
named semaphores exist once in a process, and a static copy in each module would make several. Its \
calls to its own functions stay its own, even if a program defines a function of that name. A static \
library can't promise that.")
if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
    if(PROJECT_IS_TOP_LEVEL)
        message(FATAL_ERROR "${shared_only} Configure without BUILD_SHARED_LIBS=OFF.")
    endif()
    message(STATUS "${shared_only} It stays shared below ${CMAKE_PROJECT_NAME}.")
endif()
