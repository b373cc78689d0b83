# 64-bit big-endian IBM Z. The programs run under an emulator.
set(machine s390x-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x -L /usr/${machine})
