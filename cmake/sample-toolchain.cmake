# A start for the tool chain of your firmware: copy this file, adapt the four settings below, and build with
#
#   cmake -B build/camera -G Ninja -DCMAKE_TOOLCHAIN_FILE=/path/to/your-copy.cmake \
#         -DCMAKE_BUILD_TYPE=Release
#   cmake --build build/camera
#   DESTDIR=/path/to/rootfs cmake --install build/camera --prefix /usr --strip
#
# docs/firmware.md tells what else the camera must have.

# 1. What stands in front of "gcc" in the compiler's name; a full path if the compiler is not on PATH.
set(cross arm-linux-gnueabi-)

# 2. The folder that holds the camera's usr/include and usr/lib. Leave it out when the compiler knows its own, as
#    those built by Buildroot or crosstool-NG do ("gcc -print-sysroot" tells).
# set(CMAKE_SYSROOT /opt/camera/sysroot)

# 3. The processor, as the rest of the firmware is compiled. Thumb code (-mthumb) is smaller where the processor has it.
#    The float ABI must be that of the C library: -mfloat-abi=soft, softfp or hard.
#    glibc keeps the square root in a library of its own, libm, which the camera then needs as well, unless the
#    processor has one (-march=armv7-a -mfpu=vfpv3-d16 -mfloat-abi=softfp); with uClibc and musl it is in the C library.
set(processor "-march=armv5te -mfloat-abi=soft")

# 4. How to link. Empty: against the camera's shared C library. "-static": nothing is needed on the camera.
set(linking "")

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER ${cross}gcc)
set(CMAKE_CXX_COMPILER ${cross}g++)
set(CMAKE_C_FLAGS_INIT "${processor}")
set(CMAKE_CXX_FLAGS_INIT "${processor}")
# The program uses nothing of the C++ run-time library; as-needed keeps it out of the list of libraries to load.
set(CMAKE_EXE_LINKER_FLAGS_INIT "${linking} -Wl,--as-needed")

# Programs come from the build machine; libraries and headers never do.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
