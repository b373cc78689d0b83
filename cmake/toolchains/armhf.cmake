# 32-bit ARM with hardware floating point. The programs run under an emulator.
set(machine arm-linux-gnueabihf)
set(CMAKE_SYSTEM_PROCESSOR armhf)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/${machine})
