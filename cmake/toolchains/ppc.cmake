# 32-bit big-endian PowerPC. The programs run under an emulator.
set(machine powerpc-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR ppc)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc -L /usr/${machine})
