// The scratch memory that a call of BLAS or LAPACK works in, taken before the call.
//
// The embedded BLAS packs blocks of its operands into a buffer of 128 MiB of address space, of
// which it touches what it needs. Left to itself it asks the system for one in the middle of a
// call, asks again for ever where it is refused, and gives all of them back when the process ends,
// under whoever solves just then. So the buffers are ours: a call begins when it has one.
#ifndef ACTIVESET_SRC_HOST_BLAS_BUFFER_HPP
#define ACTIVESET_SRC_HOST_BLAS_BUFFER_HPP

namespace activeset {

#ifdef ACTIVESET_EMBEDDED_BLAS

/// A buffer for the calls of this thread while it lives; one at a time on a thread.
class BlasBuffer {
public:
    /// @raises "optim:host:outOfMemory" when the system has no address space left
    BlasBuffer();
    ~BlasBuffer();
    BlasBuffer(const BlasBuffer&) = delete;
    BlasBuffer(BlasBuffer&&) = delete;
    BlasBuffer& operator=(const BlasBuffer&) = delete;
    BlasBuffer& operator=(BlasBuffer&&) = delete;

    /// Puts buffers by for threads of BLAS's own, which have nobody to raise an error to.
    /// @return for how many there are some now, at most `threads`
    [[nodiscard]] static int reserve(int threads) noexcept;
};

#else

/// The reference BLAS needs none.
struct BlasBuffer {};

#endif

}  // namespace activeset

#endif
