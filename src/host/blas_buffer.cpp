// Where the buffers of the embedded BLAS come from and where they go.
#include "host/blas_buffer.hpp"

#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>

#include "activeset/host.hpp"
#include "thread_state.hpp"

extern "C" {
// What BLAS calls for a buffer and when it is through with it.
void* activeset_blas_memory_alloc(int position);
void activeset_blas_memory_free(void* buffer);
int activeset_blas_thread_shutdown_();
}

namespace activeset {

namespace {

/// What BLAS takes a buffer to hold; the build has asked it.
constexpr std::size_t BufferBytes = ACTIVESET_BLAS_BUFFER_BYTES;

void* map() noexcept {
    void* const memory = mmap(nullptr, BufferBytes, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}

void unmap(void* buffer) noexcept {
    if (buffer != nullptr) {
        munmap(buffer, BufferBytes);
    }
}

/// Buffers that nobody uses. A slot changes hands by one exchange, so that a process may end, or a
/// thread, at any moment.
template <std::size_t Size>
class Shelf {
public:
    /// Null when it is empty.
    void* take() noexcept {
        for (std::atomic<void*>& slot : slots_) {
            if (slot.load(std::memory_order_relaxed) != nullptr) {
                if (void* const buffer = slot.exchange(nullptr)) {
                    return buffer;
                }
            }
        }
        return nullptr;
    }

    /// False when it is full.
    bool put(void* buffer) noexcept {
        return std::any_of(slots_.begin(), slots_.end(), [buffer](std::atomic<void*>& slot) {
            void* expected = nullptr;
            return slot.compare_exchange_strong(expected, buffer);
        });
    }

private:
    std::array<std::atomic<void*>, Size> slots_{};
};

constexpr std::size_t MostKept = 16;     // more at a time are mapped and unmapped
constexpr std::size_t MostServers = 64;  // threads of BLAS's own

/// The buffers of the process. At its end, and when the library is unloaded, those that nobody uses
/// go back; a call that is still running keeps its own.
class Buffers {
public:
    constexpr Buffers() noexcept = default;
    ~Buffers() {
        if (hasServers_.load()) {
            isEnding_ = true;
            if (calls_.load() != 0) {
                return;  // the process ends while another thread solves
            }
            activeset_blas_thread_shutdown_();
        }
        while (void* const buffer = kept_.take()) {
            unmap(buffer);
        }
        while (void* const buffer = forServers_.take()) {
            unmap(buffer);
        }
    }
    Buffers(const Buffers&) = delete;
    Buffers(Buffers&&) = delete;
    Buffers& operator=(const Buffers&) = delete;
    Buffers& operator=(Buffers&&) = delete;

    /// Null when there is no memory.
    void* take() noexcept {
        void* const buffer = kept_.take();
        return buffer != nullptr ? buffer : map();
    }
    void give(void* buffer) noexcept {
        if (!kept_.put(buffer)) {
            unmap(buffer);
        }
    }

    /// Calls are counted where BLAS has threads, which must not end while one of them runs.
    bool begin() noexcept {
        if (!hasServers_.load(std::memory_order_relaxed)) {
            return false;
        }
        ++calls_;
        while (isEnding_.load()) {
            pause();  // until the process has ended
        }
        return true;
    }
    void end() noexcept { --calls_; }

    int reserve(int threads) noexcept {
        hasServers_ = hasServers_ || threads > 0;
        while (reserved_ < std::min(threads, static_cast<int>(MostServers))) {
            void* const buffer = map();
            if (buffer == nullptr) {
                break;
            }
            forServers_.put(buffer);
            ++reserved_;
        }
        return std::min(threads, reserved_.load());
    }
    void* takeForServer() noexcept { return forServers_.take(); }
    void giveFromServer(void* buffer) noexcept {
        if (!forServers_.put(buffer)) {
            unmap(buffer);
        }
    }

private:
    Shelf<MostKept> kept_;
    Shelf<MostServers> forServers_;
    std::atomic<int> reserved_ = 0;
    std::atomic<int> calls_ = 0;
    std::atomic<bool> hasServers_ = false;
    std::atomic<bool> isEnding_ = false;
};

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): BLAS is the process's
constinit Buffers buffers;

}  // namespace

BlasBuffer::BlasBuffer() {
    BlasCall& call = threadState().blasCall;
    call.isCounted = buffers.begin();
    call.buffer = buffers.take();
    if (call.buffer == nullptr) {
        if (call.isCounted) {
            buffers.end();
        }
        vxErrMsgIdAndTxt(OutOfMemoryIdentifier, "%s", OutOfMemoryText);
    }
}

BlasBuffer::~BlasBuffer() {
    BlasCall& call = threadState().blasCall;
    buffers.give(call.buffer);
    call.buffer = nullptr;
    if (call.isCounted) {
        buffers.end();
    }
}

int BlasBuffer::reserve(int threads) noexcept {
    return buffers.reserve(threads);
}

}  // namespace activeset

// A thread inside a BlasBuffer gets that one; a thread of BLAS's own, which never solves, one that
// was put by for it.
void* activeset_blas_memory_alloc(int /*position*/) {
    activeset::ThreadState* const state = activeset::currentThreadState;
    if (state != nullptr && state->blasCall.buffer != nullptr && !state->blasCall.isLent) {
        state->blasCall.isLent = true;
        return state->blasCall.buffer;
    }
    void* buffer = activeset::buffers.takeForServer();
    while (buffer == nullptr) {
        buffer = activeset::buffers.take();
        sched_yield();
    }
    return buffer;
}

void activeset_blas_memory_free(void* buffer) {
    activeset::ThreadState* const state = activeset::currentThreadState;
    if (state != nullptr && state->blasCall.buffer == buffer) {
        state->blasCall.isLent = false;
    } else {
        activeset::buffers.giveFromServer(buffer);
    }
}
