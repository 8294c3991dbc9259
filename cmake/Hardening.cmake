# activeset_hardening: what makes a fault of memory harder to exploit, for the library and the tool. Stack
# protectors, checked calls of the C library, relocations that are read-only before the first call.
# tests/install/hardened_elf looks for it in what was built.
add_library(activeset_hardening INTERFACE)
target_compile_options(activeset_hardening INTERFACE -fstack-protector-strong)
target_link_options(activeset_hardening INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)

# The checked calls need optimisation; a sanitizer has checks of its own. Level 3, of GCC 12 and Clang 9,
# knows sizes that are only known when the program runs.
include(CheckCXXSourceCompiles)
block()
    set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
    check_cxx_source_compiles("#include <cstring>\nint main() {}" ACTIVESET_HAS_FORTIFY_3)
endblock()
set(fortify_level $<IF:$<BOOL:${ACTIVESET_HAS_FORTIFY_3}>,3,2>)
if(NOT ACTIVESET_SANITIZE)
    target_compile_options(
        activeset_hardening
        INTERFACE "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>"
                  "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=${fortify_level}>")
endif()
