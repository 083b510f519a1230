# 64-bit IBM Z (Debian s390x). No camera runs it: it is the big-endian
# target on which the suite shows that no result and no file depends on the
# byte order of the machine. Tests run under qemu-s390x.
set(VIEWGEO_CROSS_TRIPLE s390x-linux-gnu)
set(VIEWGEO_CROSS_QEMU qemu-s390x)
set(CMAKE_SYSTEM_PROCESSOR s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
