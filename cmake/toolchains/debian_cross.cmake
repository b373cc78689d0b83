# What the toolchain files beside this one share: Debian's cross compiler for the machine that is named
# in `machine`, and the headers and libraries that come with it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${machine}-gcc)
set(CMAKE_CXX_COMPILER ${machine}-g++)
set(CMAKE_FIND_ROOT_PATH /usr/${machine})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
