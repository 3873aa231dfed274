# What compiler and linker add against a fault that slips through: on the build machine everything that is usual, on a
# camera what costs nothing. script/build-arm prints what is on, docs/firmware.md what the rest would cost.
add_library(param_hardening INTERFACE)
# With a shared C library, its addresses are looked up at the start and read-only from then on. A static program has
# none, and would only grow by 2 KB of alignment.
if(CMAKE_EXE_LINKER_FLAGS MATCHES "-static")
    target_link_options(param_hardening INTERFACE -Wl,-z,norelro)
else()
    target_link_options(param_hardening INTERFACE -Wl,-z,relro -Wl,-z,now)
endif()
if(NOT CMAKE_CROSSCOMPILING)
    target_compile_options(param_hardening INTERFACE -fstack-protector-strong)
    # The C library's bounds checks need an optimiser, and the sanitizers have their own.
    if(NOT PARAM_SANITIZE)
        target_compile_definitions(param_hardening INTERFACE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
    endif()
endif()
target_link_libraries(param_product INTERFACE param_hardening)
