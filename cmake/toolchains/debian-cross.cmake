# Shared part of the cross toolchain files: Debian's cross compiler for
# VIEWGEO_CROSS_TRIPLE, the target's libraries from Debian multiarch
# (dpkg --add-architecture, see scripts/install-cross-deps.sh), and qemu
# user-mode emulation as CTest's cross-compiling emulator.
#
# A camera SDK's root file system instead: configure with
# -DVIEWGEO_SYSROOT=/path/to/sysroot. Headers, libraries, pkg-config files
# and CMake packages are then searched only there, and qemu loads the
# target's C library from it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${VIEWGEO_CROSS_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${VIEWGEO_CROSS_TRIPLE}-g++)

# try_compile projects read this file again; hand the sysroot to them.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VIEWGEO_SYSROOT)

if(VIEWGEO_SYSROOT)
  set(CMAKE_SYSROOT ${VIEWGEO_SYSROOT})
  set(CMAKE_FIND_ROOT_PATH ${VIEWGEO_SYSROOT})
  set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
  set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
  set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
  set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
  # pkg-config reports paths inside the sysroot, prefixed with it.
  set(ENV{PKG_CONFIG_SYSROOT_DIR} ${VIEWGEO_SYSROOT})
  set(ENV{PKG_CONFIG_LIBDIR}
      "${VIEWGEO_SYSROOT}/usr/lib/${VIEWGEO_CROSS_TRIPLE}/pkgconfig:${VIEWGEO_SYSROOT}/usr/lib/pkgconfig:${VIEWGEO_SYSROOT}/usr/share/pkgconfig")
  set(VIEWGEO_QEMU_ROOT ${VIEWGEO_SYSROOT})
else()
  # Multiarch: headers in /usr/include, libraries in /usr/lib/<triple>, the
  # target's C library and loader in /usr/<triple>.
  set(CMAKE_LIBRARY_ARCHITECTURE ${VIEWGEO_CROSS_TRIPLE})
  set(CMAKE_FIND_ROOT_PATH /usr/${VIEWGEO_CROSS_TRIPLE})
  set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
  set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY BOTH)
  set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
  set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
  # Only the target's pkg-config files, never the build machine's.
  set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${VIEWGEO_CROSS_TRIPLE}/pkgconfig:/usr/share/pkgconfig)
  set(VIEWGEO_QEMU_ROOT /usr/${VIEWGEO_CROSS_TRIPLE})
  # The loader under /usr/<triple> comes with the cross compiler's C library,
  # while the multiarch libc6:<arch> in /lib/<triple> may be a newer
  # release. The loader must load its own C library: mixed, a program dies at
  # start (s390x) or any forked child dies (ARM, MIPS).
  set(VIEWGEO_QEMU_ENV -E LD_LIBRARY_PATH=/usr/${VIEWGEO_CROSS_TRIPLE}/lib)
endif()

set(CMAKE_CROSSCOMPILING_EMULATOR ${VIEWGEO_CROSS_QEMU} -L ${VIEWGEO_QEMU_ROOT} ${VIEWGEO_QEMU_ENV})
