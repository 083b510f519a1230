# Cross build for arm-linux-gnueabi with Debian's cross compiler and multiarch
# libraries (dpkg --add-architecture; see scripts/install-cross-deps.sh).
# Tests run under qemu-arm through CTest's emulator setting.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabi-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabi-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabi)

# Multiarch: headers in /usr/include, libraries in /usr/lib/arm-linux-gnueabi.
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabi)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/arm-linux-gnueabi/pkgconfig:/usr/share/pkgconfig)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;/usr/arm-linux-gnueabi)
