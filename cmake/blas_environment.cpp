// The environment variables that the private BLAS sees when the library is loaded.
//
// The number of threads is 1. OPENBLAS_NUM_THREADS is ignored: it is meant for another BLAS of the
// process. BLAS starts its threads in a load-time initialiser, by default one per processor.
// Reducing the number afterwards leaves those threads behind, and calling BLAS before its
// initialiser has run writes outside its tables. Replacing the variable works at any time, and
// activeset_openblas_set_num_threads can still raise the number later.
//
// On processors newer than this BLAS it would use the kernels of the first 64-bit processors, which
// are ten times slower in matrix products. There OPENBLAS_CORETYPE is replaced by the name of the
// best kernels whose instructions the processor has.
//
// Users choose kernels with ACTIVESET_BLAS_KERNEL, because OPENBLAS_CORETYPE, too, is meant for
// another BLAS of the process.
#include <string_view>

#if defined(__x86_64__)
#include <cpuid.h>
#endif

extern "C" {

// Names that the linker defines (--wrap=getenv): calls of the merged object go to the first one,
// and the second one is the function of the C library.
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
    // These also check that the system saves the registers.
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
