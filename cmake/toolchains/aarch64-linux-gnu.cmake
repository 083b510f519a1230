# 64-bit ARM (Debian arm64). Its floating-point unit has fused multiply-add,
# which the build's -ffp-contract=off keeps out of the library's arithmetic.
# Tests run under qemu-aarch64.
set(VIEWGEO_CROSS_TRIPLE aarch64-linux-gnu)
set(VIEWGEO_CROSS_QEMU qemu-aarch64)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
