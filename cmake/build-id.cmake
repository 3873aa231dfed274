# What a field report names a build by: PARAM_BUILD_ID, or what git says of the tree, or "unknown". Included, this makes
# ${PROJECT_BINARY_DIR}/build_id.h and the target build_id, which looks again at every build; as a script, with
# PARAM_BUILD_ID, TREE and HEADER set, it writes the header if something has changed.
if(NOT CMAKE_SCRIPT_MODE_FILE)
    set(PARAM_BUILD_ID "" CACHE STRING "What a field report names this build by; empty: what git describe says")
    set(write_header ${CMAKE_COMMAND} "-DPARAM_BUILD_ID=${PARAM_BUILD_ID}" "-DTREE=${PROJECT_SOURCE_DIR}"
        "-DHEADER=${PROJECT_BINARY_DIR}/build_id.h" -P "${CMAKE_CURRENT_LIST_FILE}")
    execute_process(COMMAND ${write_header} COMMAND_ERROR_IS_FATAL ANY)
    add_custom_target(build_id ${write_header} BYPRODUCTS ${PROJECT_BINARY_DIR}/build_id.h VERBATIM)
    file(STRINGS ${PROJECT_BINARY_DIR}/build_id.h build_id REGEX define)
    string(REGEX REPLACE ".*\"(.*)\".*" "\\1" build_id "${build_id}")
    message(STATUS "${PROJECT_NAME} ${PROJECT_VERSION}, build ${build_id}")
    return()
endif()

# A tree that another repository holds, as a build folder of Buildroot's is, is not described by that one.
if(PARAM_BUILD_ID STREQUAL "" AND EXISTS "${TREE}/.git")
    execute_process(COMMAND git describe --tags --always --dirty WORKING_DIRECTORY "${TREE}" ERROR_QUIET
                    OUTPUT_VARIABLE PARAM_BUILD_ID OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
if(PARAM_BUILD_ID STREQUAL "")
    set(PARAM_BUILD_ID unknown)
endif()
if(NOT PARAM_BUILD_ID MATCHES "^[A-Za-z0-9._+~:-]+$")
    message(FATAL_ERROR "PARAM_BUILD_ID: ${PARAM_BUILD_ID}: expected letters, digits and . _ + ~ : -")
endif()
set(text "#define PARAM_BUILD_ID \"${PARAM_BUILD_ID}\"\n")
set(old "")
if(EXISTS "${HEADER}")
    file(READ "${HEADER}" old)
endif()
if(NOT old STREQUAL text)
    file(WRITE "${HEADER}" "${text}")
endif()
