// The host layer: arrays, memory, errors, console and interrupts.
//
// The solver takes everything that is not linear algebra from here. A program that embeds the
// library builds its inputs as vxArray, opens a CallScope, calls the entry function and reads the
// results back with the accessors below. Nothing here is shared between threads except the
// interrupt flag: arrays belong to the thread that made them.
#ifndef ACTIVESET_HOST_HPP
#define ACTIVESET_HOST_HPP

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <string>
#include <string_view>

#include "activeset/export.hpp"

/// A host array: class, storage, shape and column-major data behind an opaque handle.
struct vxArray;

/// What one element of an array is. Sizes: Double 8, Single 4, Logical 1, Int32 4, Char 1 byte.
enum class vxClass { Double, Single, Logical, Int32, Char };

/// Whether an array has an imaginary part beside its real one.
enum class vxComplexity { Real, Complex };

// ---------------------------------------------------------------------------------------------
// Errors. The only two ways in which an error leaves the library; neither returns.

namespace activeset {

/// The one exception that the library raises: a colon-separated identifier and a one-line text.
///
/// Identifiers and texts are part of the interface and never reworded; `docs/errors.md` lists them.
class ACTIVESET_API HostError : public std::exception {
public:
    HostError(std::string identifier, std::string text);
    HostError(const HostError&) = default;
    HostError(HostError&&) = default;
    HostError& operator=(const HostError&) = default;
    HostError& operator=(HostError&&) = default;
    ~HostError() override;

    /// The identifier, for example "optim:src:DataTypeError".
    [[nodiscard]] const std::string& identifier() const noexcept;
    /// The text, formatted.
    [[nodiscard]] const char* what() const noexcept override;

private:
    std::string identifier_;
    std::string text_;
};

/// The identifier under which optimAssert() raises.
inline constexpr const char* AssertionIdentifier = "optim:optimAssert:assertionFailed";
/// The identifier and text of a request for memory that could not be met.
inline constexpr const char* OutOfMemoryIdentifier = "optim:host:outOfMemory";
inline constexpr const char* OutOfMemoryText = "Out of memory.";
/// The identifier of misuse of an array: shape, class or storage do not allow the operation.
inline constexpr const char* ArrayErrorIdentifier = "optim:host:arrayError";

}  // namespace activeset

/// Raises activeset::HostError with `identifier` and the printf-style `format` filled in.
[[noreturn]] ACTIVESET_API void vxErrMsgIdAndTxt(const char* identifier, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// Raises activeset::HostError with activeset::AssertionIdentifier and `message` unless
/// `condition`.
ACTIVESET_API void optimAssert(bool condition, const char* message);

// ---------------------------------------------------------------------------------------------
// Arrays. Unless said otherwise a null handle or a wrong class raises ArrayErrorIdentifier, and a
// request for memory that cannot be met raises OutOfMemoryIdentifier. An array made while a
// CallScope is open belongs to the innermost one until it is made persistent, kept or destroyed.

/// New m × n array of doubles, zero-filled, full.
[[nodiscard]] ACTIVESET_API vxArray* vxCreateDoubleMatrix(size_t m,
                                                          size_t n,
                                                          vxComplexity complexity);
/// New m × n full array of any class, zero-filled.
[[nodiscard]] ACTIVESET_API vxArray* vxCreateNumericMatrix(size_t m,
                                                           size_t n,
                                                           vxClass elementClass,
                                                           vxComplexity complexity);
/// New m × n sparse array (compressed columns) of doubles with room for `capacity` entries, all
/// column starts 0. Fill it through vxGetRowIndices, vxGetColumnStarts and vxGetDoubles; row
/// indices are 0-based and ascend within a column, column starts ascend from 0.
[[nodiscard]] ACTIVESET_API vxArray* vxCreateSparse(size_t m,
                                                    size_t n,
                                                    size_t capacity,
                                                    vxComplexity complexity);
/// New m × n real array of doubles with a copy of the m·n column-major values at `values`.
[[nodiscard]] ACTIVESET_API vxArray* vxCreateDoubleMatrixFrom(const double* values,
                                                              size_t m,
                                                              size_t n);
/// New m × n real array of doubles over the caller's m·n column-major values: nothing is copied,
/// and the buffer, which must outlive the array, is never freed by it.
[[nodiscard]] ACTIVESET_API vxArray* vxWrapDoubleMatrix(double* values, size_t m, size_t n);
/// New 1 × 1 real array of doubles.
[[nodiscard]] ACTIVESET_API vxArray* vxCreateDoubleScalar(double value);
/// New 1 × length character array.
[[nodiscard]] ACTIVESET_API vxArray* vxCreateCharArray(std::string_view text);

/// Independent copy with the data; owns its data whatever the source does.
[[nodiscard]] ACTIVESET_API vxArray* vxCreateDeepCopy(const vxArray* array);
/// New transposed array of the same class, storage and complexity (not conjugated).
[[nodiscard]] ACTIVESET_API vxArray* vxTranspose(const vxArray* array);
/// Frees the array and, if it owns them, its data. Null is allowed.
ACTIVESET_API void vxDestroyArray(vxArray* array) noexcept;

/// Pointer to the two dimensions; element 0 is the row count, element 1 the column count.
[[nodiscard]] ACTIVESET_API const size_t* vxGetDimensions(const vxArray* array);
[[nodiscard]] ACTIVESET_API size_t vxGetM(const vxArray* array);
[[nodiscard]] ACTIVESET_API size_t vxGetN(const vxArray* array);
/// m·n, whatever the storage.
[[nodiscard]] ACTIVESET_API size_t vxGetNumberOfElements(const vxArray* array);
[[nodiscard]] ACTIVESET_API vxClass vxGetClass(const vxArray* array);
[[nodiscard]] ACTIVESET_API bool vxIsEmpty(const vxArray* array);
[[nodiscard]] ACTIVESET_API bool vxIsSparse(const vxArray* array);
[[nodiscard]] ACTIVESET_API bool vxIsComplex(const vxArray* array);
[[nodiscard]] ACTIVESET_API bool vxIsDouble(const vxArray* array);
[[nodiscard]] ACTIVESET_API bool vxIsPersistent(const vxArray* array);

/// The real data: m·n elements of the array's class column after column, or, for a sparse array,
/// its stored entries. May be null when there are none.
[[nodiscard]] ACTIVESET_API void* vxGetData(const vxArray* array);
/// The same for an array of doubles; raises for any other class.
[[nodiscard]] ACTIVESET_API double* vxGetDoubles(const vxArray* array);
/// The imaginary data, null for a real array.
[[nodiscard]] ACTIVESET_API void* vxGetImaginaryData(const vxArray* array);
/// Row index (0-based) of each stored entry of a sparse array; raises for a full one.
[[nodiscard]] ACTIVESET_API size_t* vxGetRowIndices(const vxArray* array);
/// The n + 1 column starts of a sparse array; raises for a full one.
[[nodiscard]] ACTIVESET_API size_t* vxGetColumnStarts(const vxArray* array);
/// Room for stored entries of a sparse array; raises for a full one.
[[nodiscard]] ACTIVESET_API size_t vxGetEntryCapacity(const vxArray* array);
/// Element (row, column), 0-based, as a double, whatever class and storage; the real part of a
/// complex element. Raises when the indices are outside the array.
[[nodiscard]] ACTIVESET_API double vxGetElement(const vxArray* array, size_t row, size_t column);

/// Changes the row (column) count and leaves the data where they are: an array shortened this way
/// can be lengthened again. Raises when the new shape needs more elements than the buffer holds,
/// and for sparse arrays.
ACTIVESET_API void vxSetM(vxArray* array, size_t m);
ACTIVESET_API void vxSetN(vxArray* array, size_t n);
/// Attaches the caller's buffer of `capacity` elements to a full real array; data that the array
/// owned are freed, the buffer never is. Without `capacity` the caller vouches for every shape
/// set afterwards.
ACTIVESET_API void vxSetData(vxArray* array,
                             void* buffer,
                             size_t capacity = std::numeric_limits<size_t>::max());
/// Scope 0 makes the array persistent: no CallScope reclaims it. Any other value hands it to the
/// innermost open scope of this thread.
ACTIVESET_API void vxSetArrayScope(vxArray* array, int scope);

/// The characters of a character array in column order; empty for a null handle or another class.
[[nodiscard]] ACTIVESET_API std::string vxArrayToStdString(const vxArray* array);
/// The array as text for messages and debugging: a line "m-by-n class storage", then a line a row.
[[nodiscard]] ACTIVESET_API std::string vxDescribe(const vxArray* array);

namespace activeset {

/// Reclaims what a call leaves behind, as the host does when a call returns.
///
/// Arrays made on this thread while the scope is the innermost open one are destroyed when it
/// closes, also when an error unwinds, unless they were made persistent, kept or destroyed before.
/// An array that a matrix still wraps is left alone and goes with that matrix. Scopes nest and
/// must close in reverse order, on the thread that opened them.
class ACTIVESET_API CallScope {
public:
    CallScope() noexcept;
    ~CallScope();
    CallScope(const CallScope&) = delete;
    CallScope(CallScope&&) = delete;
    CallScope& operator=(const CallScope&) = delete;
    CallScope& operator=(CallScope&&) = delete;

    /// Hands an array of this scope to the enclosing one or, if there is none, to the caller.
    /// Returns its argument; does nothing to arrays that are not this scope's.
    vxArray* keep(vxArray* array) noexcept;

private:
    friend struct ScopeAccess;
    CallScope* enclosing_;
    vxArray* newest_ = nullptr;
};

/// Arrays made minus arrays destroyed on this thread; what a test wants to see unchanged.
[[nodiscard]] ACTIVESET_API std::int64_t liveArrayCount() noexcept;

}  // namespace activeset

// ---------------------------------------------------------------------------------------------
// Memory. Every request for array data, lists and workspaces goes through these.

/// `bytes` bytes, or raises out of memory. Null only for 0 bytes.
[[nodiscard]] ACTIVESET_API void* vxMalloc(size_t bytes);
/// count·size bytes, zeroed, or raises out of memory; also when the product overflows.
[[nodiscard]] ACTIVESET_API void* vxCalloc(size_t count, size_t size);
/// `bytes` bytes, or null when there are none to be had; never raises.
[[nodiscard]] ACTIVESET_API void* vxMallocEx(size_t bytes) noexcept;
/// count·size bytes, zeroed, or null; never raises.
[[nodiscard]] ACTIVESET_API void* vxCallocEx(size_t count, size_t size) noexcept;
/// `bytes` bytes (at least one), or raises out of memory.
[[nodiscard]] ACTIVESET_API void* vxMallocExCheck(size_t bytes);
/// Frees what vxMalloc or vxCalloc gave; null is allowed.
ACTIVESET_API void vxFree(void* memory) noexcept;
/// Frees what vxMallocEx, vxCallocEx or vxMallocExCheck gave; null is allowed.
ACTIVESET_API void vxFreeEx(void* memory) noexcept;

namespace activeset {

/// Makes allocations fail on purpose, on this thread, while it lives.
///
/// For tests of one's own error handling: request number `failAt` (from 1, counted over all the
/// allocators above, array headers included) gets nothing, and so do the following
/// `failures − 1` requests. Plans do not nest: the newest one counts.
class ACTIVESET_API AllocationFaults {
public:
    explicit AllocationFaults(std::uint64_t failAt, std::uint64_t failures = 1) noexcept;
    ~AllocationFaults();
    AllocationFaults(const AllocationFaults&) = delete;
    AllocationFaults(AllocationFaults&&) = delete;
    AllocationFaults& operator=(const AllocationFaults&) = delete;
    AllocationFaults& operator=(AllocationFaults&&) = delete;

    /// Requests seen since the plan began.
    [[nodiscard]] std::uint64_t requests() const noexcept;
    /// Whether a request has been refused yet.
    [[nodiscard]] bool hasFailed() const noexcept;
};

/// Blocks handed out by the allocators above minus blocks freed, on this thread.
[[nodiscard]] ACTIVESET_API std::int64_t liveBlockCount() noexcept;
/// Requests to the allocators above since this thread began.
[[nodiscard]] ACTIVESET_API std::uint64_t allocationCount() noexcept;

}  // namespace activeset

// ---------------------------------------------------------------------------------------------
// Console, numbers, interrupts.

/// printf to the console, which is standard output through the same stream as the display.
ACTIVESET_API void utPrintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// The largest finite double.
[[nodiscard]] ACTIVESET_API double utGetRealMax() noexcept;

/// Pending interrupts, for the whole process.
struct ACTIVESET_API utInterruptState {
    /// The lowest bit is set when the user wants running solves to stop. Lock-free: may be set
    /// from a signal handler and from any thread. The library polls it once a pass and never
    /// clears it; whoever set it does.
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): the interface's own
    static std::atomic<std::uint8_t> flags_pending;
};

/// Guard: the thread is in interrupt mode `mode` while the guard lives.
class ACTIVESET_API utInterruptMode {
public:
    explicit utInterruptMode(int mode) noexcept;
    ~utInterruptMode();
    utInterruptMode(const utInterruptMode&) = delete;
    utInterruptMode(utInterruptMode&&) = delete;
    utInterruptMode& operator=(const utInterruptMode&) = delete;
    utInterruptMode& operator=(utInterruptMode&&) = delete;

    /// How many guards this thread is inside of.
    [[nodiscard]] static int depth() noexcept;
    /// The mode of the innermost guard, −1 outside of all.
    [[nodiscard]] static int current() noexcept;

private:
    int previousMode_;
};

// ---------------------------------------------------------------------------------------------
// Arithmetic on buffers. Strides count elements; stride 0 repeats one value. Buffers of `n`
// results, first and second operand; the result may be the first or second operand's buffer.

ACTIVESET_API void vxPlus(double* result,
                          size_t n,
                          const double* a,
                          size_t strideA,
                          const double* b,
                          size_t strideB) noexcept;
ACTIVESET_API void vxMinus(double* result,
                           size_t n,
                           const double* a,
                           size_t strideA,
                           const double* b,
                           size_t strideB) noexcept;
ACTIVESET_API void vxTimes(double* result,
                           size_t n,
                           const double* a,
                           size_t strideA,
                           const double* b,
                           size_t strideB) noexcept;
/// The remainder of a / b with the sign of a, as std::fmod.
[[nodiscard]] ACTIVESET_API double vxRemainder(double a, double b) noexcept;
/// product := a·b for real arrays of doubles, full or sparse; product is full, rows(a) ×
/// columns(b), and distinct from both. Raises ArrayErrorIdentifier when a shape does not fit.
ACTIVESET_API void vxMatrixMultiply(vxArray* product, const vxArray* a, const vxArray* b);

namespace activeset {

/// Threads that BLAS may use inside one call, for the whole process; 1 unless set here (the
/// environment is not asked). More threads, like another processor, change the rounding and so
/// possibly the path on degenerate problems. Values below 1 count as 1.
ACTIVESET_API void setBlasThreads(int count) noexcept;
/// The number in force; 1 when the BLAS that was built in has no threads.
[[nodiscard]] ACTIVESET_API int blasThreads() noexcept;

}  // namespace activeset

#endif
