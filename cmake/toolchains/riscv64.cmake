# 64-bit RISC-V. The programs run under an emulator.
set(machine riscv64-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR riscv64)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-riscv64 -L /usr/${machine})
