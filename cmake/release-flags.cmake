# Read by CMake before it offers its own optimisation of release builds. Ours is the same everywhere, and the parser's
# loops want more than -Os; what a user or a tool chain file says about CMAKE_CXX_FLAGS_RELEASE counts instead.
foreach(language C CXX)
    set(flags CMAKE_${language}_FLAGS_RELEASE_INIT)
    string(REGEX REPLACE "^ *-O3 -DNDEBUG$" "-O2" ${flags} "${${flags}}")
    string(REGEX REPLACE " -O3 -DNDEBUG$" "" ${flags} "${${flags}}")
endforeach()
