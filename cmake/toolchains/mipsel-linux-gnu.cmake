# 32-bit MIPS, little-endian (Debian mipsel: MIPS32 release 2, hard float
# with the o32 ABI), as in the cameras built around MIPS cores. Tests run
# under qemu-mipsel.
set(VIEWGEO_CROSS_TRIPLE mipsel-linux-gnu)
set(VIEWGEO_CROSS_QEMU qemu-mipsel)
set(CMAKE_SYSTEM_PROCESSOR mipsel)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
