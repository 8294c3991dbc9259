// What the private BLAS sees of the environment when the library is loaded.
//
// One thread, whatever OPENBLAS_NUM_THREADS, meant for some other BLAS of the process, says. BLAS
// starts its threads in a load-time initialiser, one a processor unless the environment says
// otherwise. Reducing the number afterwards leaves those threads behind, and asking before its
// initialiser has run writes outside its tables. Answering its question is right at any time, and
// activeset_openblas_set_num_threads can still raise the number later.
//
// On processors that came after this BLAS was released it would fall back to the kernels of the
// very first 64-bit ones, an order of magnitude slower in matrix products. There the answer to
// OPENBLAS_CORETYPE names the best kernels whose instructions the processor has.
//
// The name of kernels that a user wants is in ACTIVESET_BLAS_KERNEL: OPENBLAS_CORETYPE is meant for
// some other BLAS of the process, too.
#include <string_view>

#if defined(__x86_64__)
#include <cpuid.h>
#endif

extern "C" {

// The linker's names (--wrap=getenv): what the calls of the merged object are bound to, and the
// function of the C library.
char* __wrap_getenv(const char* name);
char* __real_getenv(const char* name);

}  // extern "C"

namespace {

#if defined(__x86_64__)

constexpr unsigned IntelInEbx = 0x756e6547;  // "Genu"
constexpr unsigned AmdInEbx = 0x68747541;    // "Auth"

// Intel family 6 from extended model 11 on, AMD from family 1Ah on: unknown to this BLAS.
bool isNewerThanThisBlas() {
    unsigned eax = 0;
    unsigned vendor = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    if (__get_cpuid(0, &eax, &vendor, &ecx, &edx) == 0) {
        return false;
    }
    unsigned ebx = 0;
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0) {
        return false;
    }
    const unsigned family = (eax >> 8U) & 0xfU;
    const unsigned extendedModel = (eax >> 16U) & 0xfU;
    const unsigned extendedFamily = (eax >> 20U) & 0xffU;
    if (vendor == IntelInEbx) {
        return (family == 6 && extendedModel >= 11) || (family == 15 && extendedFamily > 0);
    }
    return vendor == AmdInEbx && family == 15 && extendedFamily >= 11;
}

char* kernelsForNewProcessor() {
    static char avx512[] = "SKYLAKEX";
    static char avx2[] = "HASWELL";
    if (!isNewerThanThisBlas()) {
        return nullptr;
    }
    // These ask whether the system saves the registers, too.
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
        __builtin_cpu_supports("avx512dq") != 0 && __builtin_cpu_supports("avx512vl") != 0) {
        return avx512;
    }
    return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0 ? avx2
                                                                                     : nullptr;
}

#else

char* kernelsForNewProcessor() {
    return nullptr;
}

#endif

}  // namespace

extern "C" char* __wrap_getenv(const char* name) {
    static char one[] = "1";
    const std::string_view asked(name);
    if (asked == "OPENBLAS_NUM_THREADS") {
        return one;
    }
    if (asked == "OPENBLAS_CORETYPE") {
        char* const given = __real_getenv("ACTIVESET_BLAS_KERNEL");
        return given != nullptr ? given : kernelsForNewProcessor();
    }
    return __real_getenv(name);
}
