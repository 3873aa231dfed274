# Builds for a camera without its firmware: 32-bit ARM with uClibc, from Debian's cross compiler and the sysroot
# that script/uclibc-sysroot makes. That compiler is made for another C library, so nothing that it would add by
# itself is used: headers, start files and libraries are all named here.
# For the tool chain of a real firmware start from sample-toolchain.cmake instead.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

option(PARAM_ARM_DYNAMIC "Link against the camera's shared C library instead of statically" OFF)
set(PARAM_UCLIBC_SYSROOT "" CACHE PATH "The sysroot; empty: script/uclibc-sysroot finds or builds it")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PARAM_ARM_DYNAMIC PARAM_UCLIBC_SYSROOT)
if(NOT PARAM_UCLIBC_SYSROOT)
    execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/../script/uclibc-sysroot"
                    OUTPUT_VARIABLE PARAM_UCLIBC_SYSROOT OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
endif()
set(CMAKE_SYSROOT "${PARAM_UCLIBC_SYSROOT}")
set(libraries "${CMAKE_SYSROOT}/usr/lib")

set(CMAKE_C_COMPILER arm-linux-gnueabi-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabi-g++)
execute_process(COMMAND ${CMAKE_C_COMPILER} -print-file-name=include
                OUTPUT_VARIABLE compiler_headers OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_C_COMPILER} -print-libgcc-file-name
                OUTPUT_VARIABLE libgcc OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
get_filename_component(libgcc_folder "${libgcc}" DIRECTORY)

# The C++ headers come last, behind those of the C library: what belongs to the language (array, limits,
# type_traits) works, what wraps a C header with the other C library in mind is not found.
set(CMAKE_C_STANDARD_INCLUDE_DIRECTORIES "${compiler_headers}" "${CMAKE_SYSROOT}/usr/include")
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES ${CMAKE_C_STANDARD_INCLUDE_DIRECTORIES}
    "${CMAKE_SYSROOT}/usr/include/c++" "${CMAKE_SYSROOT}/usr/include/c++/arm-linux-gnueabi")
set(CMAKE_C_FLAGS_INIT "-nostdinc -fno-pie")
set(CMAKE_CXX_FLAGS_INIT "-nostdinc -fno-pie")

if(PARAM_ARM_DYNAMIC)
    set(kind "-Wl,--dynamic-linker,/lib/ld-uClibc.so.0")
else()
    set(kind "-static")
endif()
# ld names the map after the program that it links: param.cgi.map.
string(CONCAT CMAKE_EXE_LINKER_FLAGS_INIT "${kind} -no-pie -nostdlib -Wl,-Map=%.map "
       "-L${libraries} -L${libgcc_folder} ${libraries}/crt1.o ${libraries}/crti.o")
set(CMAKE_C_STANDARD_LIBRARIES "-Wl,--start-group -lc -lgcc -lgcc_eh -Wl,--end-group ${libraries}/crtn.o")
set(CMAKE_CXX_STANDARD_LIBRARIES "${CMAKE_C_STANDARD_LIBRARIES}")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
