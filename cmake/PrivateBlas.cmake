# activeset_blas: BLAS and LAPACK with 64-bit integers, inside the library and with a prefix of its own.
#
# A host process often has another BLAS loaded, with the same symbol names and 32-bit integers. If the
# library imported dgeqp3_, the process would call the other one, which writes pivots of half the width.
# So the routines that the library uses are linked from a static archive into one relocatable object. There
# dgeqp3_ becomes activeset_dgeqp3_, and every other symbol becomes local. So no other library can capture
# these calls, and these symbols capture no calls of another library. The object also lacks the archive's
# clean-up at the end of the process, which takes buffers away from other threads.
#
# ACTIVESET_BLAS selects the archive:
#   embedded   OpenBLAS with kernels for every processor: the one for releases
#   reference  the plain Fortran implementation, for comparison
set(ACTIVESET_BLAS embedded CACHE STRING "BLAS and LAPACK: embedded or reference")
set_property(CACHE ACTIVESET_BLAS PROPERTY STRINGS embedded reference)

set(routines
    # BLAS
    dgemv dgemm dtrsv dtrsm dtrmv ddot daxpy dscal dnrm2 dcopy drot dsyrk dsymv dger idamax
    # LAPACK
    dgeqrf dgeqp3 dorgqr dormqr dpotrf dpstrf dpotrs dpotri dtrtrs dgels dsytrf dsytrs dlange)
list(TRANSFORM routines APPEND _)

find_package(Threads REQUIRED)
find_library(ACTIVESET_FORTRAN_RUNTIME NAMES gfortran libgfortran.so.5 REQUIRED)
# Always the GNU tools: lld has no --require-defined.
find_program(ACTIVESET_LD NAMES ld.bfd REQUIRED)
find_program(ACTIVESET_OBJCOPY NAMES objcopy REQUIRED)

if(ACTIVESET_BLAS STREQUAL "embedded")
    find_library(ACTIVESET_OPENBLAS_ARCHIVE NAMES libopenblas64.a
                 PATH_SUFFIXES openblas64-pthread REQUIRED)
    set(archives ${ACTIVESET_OPENBLAS_ARCHIVE})
    list(APPEND routines openblas_set_num_threads openblas_get_num_threads openblas_get_corename blas_thread_shutdown_)
elseif(ACTIVESET_BLAS STREQUAL "reference")
    find_library(ACTIVESET_BLAS_ARCHIVE NAMES libblas64.a PATH_SUFFIXES blas64 REQUIRED)
    find_library(ACTIVESET_LAPACK_ARCHIVE NAMES liblapack64.a PATH_SUFFIXES lapack64 REQUIRED)
    set(archives ${ACTIVESET_LAPACK_ARCHIVE} ${ACTIVESET_BLAS_ARCHIVE})
else()
    message(FATAL_ERROR "ACTIVESET_BLAS is \"${ACTIVESET_BLAS}\"; it can be embedded or reference")
endif()
set(runtime ${ACTIVESET_FORTRAN_RUNTIME} Threads::Threads m)

# The length 3 - 2^32 is negative, so idamax returns 0. A routine with 32-bit integers sees the low half,
# 3, and returns the position of the largest of three entries.
include(CheckCXXSourceRuns)
block()
    set(CMAKE_REQUIRED_LIBRARIES ${archives} ${runtime})
    check_cxx_source_runs(
        "#include <cstdint>
        extern \"C\" std::int64_t idamax_(const std::int64_t*, const double*, const std::int64_t*);
        int main() {
            const std::int64_t length = 3 - (std::int64_t{1} << 32);
            const std::int64_t step = 1;
            const double x[] = {1.0, 3.0, 2.0};
            return idamax_(&length, x, &step) == 0 ? 0 : 1;
        }"
        ACTIVESET_BLAS_${ACTIVESET_BLAS}_HAS_64_BIT_INTEGERS)
endblock()
if(NOT ACTIVESET_BLAS_${ACTIVESET_BLAS}_HAS_64_BIT_INTEGERS)
    message(FATAL_ERROR "${archives}: no BLAS with 64-bit integers that links and runs")
endif()

# The library provides the buffers of the embedded BLAS (src/host/blas_buffer.cpp). This program finds
# their size: it is what BLAS maps without that.
set(definitions "")
if(ACTIVESET_BLAS STREQUAL "embedded")
    if(NOT DEFINED ACTIVESET_BLAS_BUFFER_BYTES)
        try_run(
            buffer_ran buffer_compiled
            SOURCE_FROM_CONTENT
            buffer.cpp
            "#include <cstdio>
            #include <cstddef>
            extern \"C\" void* blas_memory_alloc(int);
            extern \"C\" void* __real_mmap(void*, std::size_t, int, int, int, long);
            extern \"C\" void* __wrap_mmap(void* at, std::size_t size, int a, int b, int c, long d) {
                std::printf(\"%zu;\", size);
                return __real_mmap(at, size, a, b, c, d);
            }
            int main() { return blas_memory_alloc(0) == nullptr; }"
            LINK_OPTIONS -Wl,--wrap=mmap
            LINK_LIBRARIES ${archives} ${runtime}
            RUN_OUTPUT_STDOUT_VARIABLE buffer_sizes)
        list(POP_BACK buffer_sizes)
        list(SORT buffer_sizes COMPARE NATURAL ORDER DESCENDING)
        list(GET buffer_sizes 0 buffer_size)
        if(NOT buffer_ran EQUAL 0 OR NOT buffer_size GREATER 0)
            message(FATAL_ERROR "${archives}: does not say how large its buffers are")
        endif()
        set(ACTIVESET_BLAS_BUFFER_BYTES ${buffer_size} CACHE INTERNAL "What the BLAS maps at a time")
    endif()
    list(APPEND definitions ACTIVESET_EMBEDDED_BLAS
         ACTIVESET_BLAS_BUFFER_BYTES=${ACTIVESET_BLAS_BUFFER_BYTES})
endif()

foreach(routine IN LISTS routines)
    list(APPEND wanted --require-defined=${routine})
    list(APPEND renamed --redefine-sym ${routine}=activeset_${routine}
         --keep-global-symbol=activeset_${routine})
endforeach()

set(blas_dir ${PROJECT_BINARY_DIR}/private_blas)
set(blas_archive ${blas_dir}/libactiveset_blas.a)
file(MAKE_DIRECTORY ${blas_dir})

# Compiled by a command of its own, so that neither sanitizers nor coverage affect the start-up of BLAS.
set(environment ${CMAKE_CURRENT_LIST_DIR}/blas_environment.cpp)
if(ACTIVESET_BLAS STREQUAL "embedded")
    set(compile_environment COMMAND ${CMAKE_CXX_COMPILER} -std=c++20 -O2 -fPIC -c ${environment} -o
                            ${blas_dir}/environment.o)
    set(use_environment --wrap=getenv ${blas_dir}/environment.o)
    foreach(service blas_memory_alloc blas_memory_free)
        list(APPEND use_environment --wrap=${service})
        list(APPEND renamed --redefine-sym __wrap_${service}=activeset_${service})
    endforeach()
    list(APPEND renamed --remove-section=.fini_array)
endif()

add_custom_command(
    OUTPUT ${blas_archive}
    ${compile_environment}
    COMMAND ${ACTIVESET_LD} -r -o ${blas_dir}/blas.o ${wanted} ${use_environment} ${archives}
    COMMAND ${ACTIVESET_OBJCOPY} --strip-debug ${renamed} ${blas_dir}/blas.o
    COMMAND ${CMAKE_COMMAND} -E rm -f ${blas_archive}
    COMMAND ${CMAKE_AR} qcs ${blas_archive} ${blas_dir}/blas.o
    DEPENDS ${archives} ${environment}
    COMMENT "Making BLAS and LAPACK private (${ACTIVESET_BLAS})"
    VERBATIM)
add_custom_target(activeset_blas_archive DEPENDS ${blas_archive})

add_library(activeset_blas STATIC IMPORTED GLOBAL)
add_dependencies(activeset_blas activeset_blas_archive)
set_target_properties(
    activeset_blas
    PROPERTIES IMPORTED_LOCATION ${blas_archive}
               INTERFACE_LINK_LIBRARIES "${runtime}"
               INTERFACE_COMPILE_DEFINITIONS "${definitions}")
