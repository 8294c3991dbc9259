# activeset_warnings: the flags that every target of the project is compiled with.
#
# -ffp-contract=off is here because the rounding of each operation is behaviour: a fused multiply-add would
# change branches in the ratio test. -Wno-restrict: GCC 12 reports overlapping copies in every
# `"text" + string` that it inlines (its bug 105651, fixed in 13).
add_library(activeset_warnings INTERFACE)
target_compile_options(
    activeset_warnings
    INTERFACE -Wall
              -Wextra
              -Wpedantic
              -Wconversion
              -Wsign-conversion
              $<$<NOT:$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wshadow>
              -Wold-style-cast
              -Wnon-virtual-dtor
              -Werror
              $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
              -ffp-contract=off)
