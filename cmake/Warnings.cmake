# activeset_warnings: the flags that every target of the project is compiled with.
#
# -ffp-contract=off belongs here because the order and rounding of each operation is behaviour: a
# fused multiply-add would take other branches in the ratio test.
add_library(activeset_warnings INTERFACE)
target_compile_options(
    activeset_warnings
    INTERFACE -Wall
              -Wextra
              -Wpedantic
              -Wconversion
              -Wsign-conversion
              -Wshadow
              -Wold-style-cast
              -Wnon-virtual-dtor
              -Werror
              -ffp-contract=off)
