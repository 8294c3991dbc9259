# ACTIVESET_SANITIZE compiles and links everything with sanitizers: "address" selects those for address,
# leak and undefined behaviour, "thread" the one for data races.
set(ACTIVESET_SANITIZE "" CACHE STRING "Sanitizers: empty, address or thread")
set_property(CACHE ACTIVESET_SANITIZE PROPERTY STRINGS "" address thread)

if(ACTIVESET_SANITIZE STREQUAL "address")
    set(sanitizers -fsanitize=address,undefined)
elseif(ACTIVESET_SANITIZE STREQUAL "thread")
    set(sanitizers -fsanitize=thread)
elseif(NOT ACTIVESET_SANITIZE STREQUAL "")
    message(FATAL_ERROR "ACTIVESET_SANITIZE is \"${ACTIVESET_SANITIZE}\"; "
                        "it can be empty, address or thread")
endif()

if(ACTIVESET_SANITIZE)
    # -O1 for every build type: with the checks, a higher level takes twice as long to compile.
    add_compile_options(${sanitizers} -O1 -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
    add_link_options(${sanitizers})
endif()

# Fuzzers need coverage of the library's branches. A floating-point conversion that overflows is undefined,
# too, but not part of the group above.
if(ACTIVESET_BUILD_FUZZERS)
    add_compile_options(-fsanitize=fuzzer-no-link,float-cast-overflow
                        -fno-sanitize-recover=all -g1)
    add_link_options(-fsanitize=fuzzer-no-link,float-cast-overflow)
endif()
