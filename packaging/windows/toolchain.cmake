# Cross compilation for 64-bit Windows with Debian's mingw-w64, posix threads. OSTRAVEL_SYSROOT is what deps.sh prints.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

if(NOT OSTRAVEL_SYSROOT)
    message(FATAL_ERROR "OSTRAVEL_SYSROOT is not set: packaging/windows/deps.sh makes the folder and prints its path")
endif()
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES OSTRAVEL_SYSROOT)
set(CMAKE_FIND_ROOT_PATH ${OSTRAVEL_SYSROOT} /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Nothing of the machine that builds may answer to pkg-config.
set(ENV{PKG_CONFIG_LIBDIR} ${OSTRAVEL_SYSROOT}/lib/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} "")

set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)
