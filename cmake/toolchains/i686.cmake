# 32-bit x86. The programs run on the machine itself, through the loader and the libraries that come
# with the compiler.
set(machine i686-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR
    /usr/${machine}/lib/ld-linux.so.2 --library-path /usr/${machine}/lib)
