# 32-bit ARM with a VFP unit and the hard-float ABI (Debian armhf). Tests run
# under qemu-arm.
set(VIEWGEO_CROSS_TRIPLE arm-linux-gnueabihf)
set(VIEWGEO_CROSS_QEMU qemu-arm)
set(CMAKE_SYSTEM_PROCESSOR arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
