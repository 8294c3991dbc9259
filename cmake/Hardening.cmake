# activeset_hardening: flags that make memory errors harder to exploit, for the library and the tool: stack
# protectors, checked calls of the C library, relocations that are read-only before the first call.
# tests/install/hardened_elf checks the result.
add_library(activeset_hardening INTERFACE)
target_compile_options(activeset_hardening INTERFACE -fstack-protector-strong)
target_link_options(activeset_hardening INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)

# Checked calls need optimisation; a sanitizer has checks of its own. Level 3, of GCC 12 and Clang 9, also
# uses sizes that are known only at run time.
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
