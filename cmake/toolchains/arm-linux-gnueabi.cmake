# The camera's processor: 32-bit ARM without a floating-point unit (Debian
# armel: ARMv5TE, soft-float ABI), where every float and double operation is
# a library routine. Tests run under qemu-arm.
set(VIEWGEO_CROSS_TRIPLE arm-linux-gnueabi)
set(VIEWGEO_CROSS_QEMU qemu-arm)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_FLAGS_INIT "-march=armv5te -mfloat-abi=soft")
set(CMAKE_CXX_FLAGS_INIT "-march=armv5te -mfloat-abi=soft")
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
