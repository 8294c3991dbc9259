// What the private BLAS sees of the environment when the library is loaded: a request for one
// thread, whatever OPENBLAS_NUM_THREADS, meant for some other BLAS of the process, says.
//
// BLAS starts its threads in a load-time initialiser, one a processor unless the environment says
// otherwise. Reducing the number afterwards leaves those threads behind, and asking before its
// initialiser has run writes outside its tables. Answering its question is right at any time, and
// activeset_openblas_set_num_threads can still raise the number later.
#include <string_view>

extern "C" {

// The linker's names (--wrap=getenv): what the calls of the merged object are bound to, and the
// function of the C library.
char* __wrap_getenv(const char* name);
char* __real_getenv(const char* name);

char* __wrap_getenv(const char* name) {
    static char one[] = "1";
    return std::string_view(name) == "OPENBLAS_NUM_THREADS" ? one : __real_getenv(name);
}

}  // extern "C"
