// Preloaded before the C library. After the first file has been opened it refuses REFUSE_COUNT
// requests for memory, from request number REFUSE_AT on.
#include <dlfcn.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

extern "C" {

void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* memory, std::size_t bytes);

}  // extern "C"

namespace {

std::atomic<long> requests = -1;  // negative until a file is opened
long first = 0;
long count = 0;

bool isRefused() {
    if (requests.load() < 0) {
        return false;
    }
    const long request = ++requests;
    errno = ENOMEM;
    return request >= first && request - first < count;
}

}  // namespace

extern "C" {

void* malloc(std::size_t bytes) {
    return isRefused() ? nullptr : __libc_malloc(bytes);
}

void* calloc(std::size_t number, std::size_t bytes) {
    return isRefused() ? nullptr : __libc_calloc(number, bytes);
}

void* realloc(void* memory, std::size_t bytes) {
    return isRefused() ? nullptr : __libc_realloc(memory, bytes);
}

void* gzopen(const char* path, const char* mode) {
    const auto open =
        reinterpret_cast<void* (*)(const char*, const char*)>(dlsym(RTLD_NEXT, "gzopen"));
    void* const file = open(path, mode);
    first = std::atol(std::getenv("REFUSE_AT"));
    count = std::atol(std::getenv("REFUSE_COUNT"));
    requests = 0;
    return file;
}

}  // extern "C"
