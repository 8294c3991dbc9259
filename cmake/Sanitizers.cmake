# ACTIVESET_SANITIZE compiles and links everything under sanitizers: "address" stands for address,
# leak and undefined behaviour together, "thread" for data races.
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
    add_compile_options(${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
    add_link_options(${sanitizers})
endif()
