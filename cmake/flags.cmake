# Who names no build type wants the program that is shipped.
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, Debug, RelWithDebInfo or MinSizeRel" FORCE)
endif()

# The one set of compiler flags. param_warnings holds for every target of the tree, param_product adds
# what the program on the camera wants: no C++ run-time library, every function in a section of its own.
add_library(param_warnings INTERFACE)
target_compile_options(param_warnings INTERFACE -Wall -Wextra -Wshadow -Wconversion -Wformat=2
    $<$<BOOL:${PARAM_WARNINGS_ARE_ERRORS}>:-Werror>
    # A dispatch record that no header declares.
    $<IF:$<CXX_COMPILER_ID:GNU>,-Wunused-const-variable=1,-Wunused-const-variable>
    # Texts that are cut at the end of their buffer are the contract of the fixed-size context.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-format-truncation>)
if(PARAM_SANITIZE)
    target_compile_options(param_warnings INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                           -fno-omit-frame-pointer)
    target_link_options(param_warnings INTERFACE -fsanitize=address,undefined)
endif()

add_library(param_product INTERFACE)
target_link_libraries(param_product INTERFACE param_warnings)
target_include_directories(param_product INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_options(param_product INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
    -fno-asynchronous-unwind-tables -ffunction-sections -fdata-sections
    # A fused multiply-add would round positions and object sizes differently on some processors.
    -ffp-contract=off
    # Nobody asks errno about a square root; without the question it is an instruction, and libm is not needed for it.
    -fno-math-errno)

option(PARAM_STATIC "Link param.cgi statically, at a fixed address: it starts soonest and needs no library" OFF)

# make_camera_program(TARGET): a program for the camera, straight in the build folder. The C driver links, without the
# libraries that CMake adds for C++: the C library is all that it needs, and a camera's toolchain may have no other.
macro(make_camera_program target)
    set(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES "")
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src/common/no_unwinder.cpp
                   ${PROJECT_SOURCE_DIR}/src/common/build_note.cpp)
    # The one place that holds the version is the project's.
    target_compile_definitions(${target} PRIVATE PARAM_VERSION="${PROJECT_VERSION}" PARAM_PROGRAM_NAME="${target}")
    target_include_directories(${target} PRIVATE ${PROJECT_BINARY_DIR})
    add_dependencies(${target} build_id)
    set_target_properties(${target} PROPERTIES LINKER_LANGUAGE C RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
    target_link_options(${target} PRIVATE -Wl,--gc-sections)
    if(PARAM_STATIC)
        target_link_options(${target} PRIVATE -static -no-pie)
    endif()
endmacro()
