// The dense matrix: the one numeric container of the library.
#ifndef ACTIVESET_MATRIX_HPP
#define ACTIVESET_MATRIX_HPP

#include <cstddef>
#include <cstdint>
#include <span>

#include "activeset/export.hpp"
#include "activeset/host.hpp"

namespace activeset {
class PoolEntry;

/// Destroys every matrix of this thread's pool of temporaries; the next temporary starts a new
/// pool. Storage that is still borrowed lives until its last borrower goes.
ACTIVESET_API void releaseMatrixPool() noexcept;
/// Matrices in this thread's pool, lent or not.
[[nodiscard]] ACTIVESET_API size_t matrixPoolSize() noexcept;

/// The machine epsilon 2⁻⁵².
[[nodiscard]] ACTIVESET_API double machineEpsilon() noexcept;
}  // namespace activeset

template <class T>
class OPTMatrix;

/// Dense column-major matrix of doubles whose storage is a host array.
///
/// Vectors are n × 1, scalars 1 × 1. Indices are 0-based. A matrix owns its host array, wraps one
/// of the caller's, wraps a raw buffer, or borrows one from the thread's pool of temporaries; the
/// last is what arithmetic returns. Copying a pooled matrix shares its storage, copying any other
/// copies the elements. A matrix belongs to the thread that made it.
///
/// Every fault is raised as "optim:optimHstError:unhandledError" with the text named below.
template <>
class ACTIVESET_API OPTMatrix<double> {
public:
    /// Largest element and where it first stands in column-major order.
    struct Maximum {
        double value;
        size_t row;
        size_t col;
    };

    /// 0 × 0, no host array until it is given a shape.
    OPTMatrix();
    /// rows × cols. Own storage is zero; pooled storage keeps the values that it last held.
    OPTMatrix(size_t rows, size_t cols, bool pooled = false);
    /// Wraps the caller's buffer of rows·cols elements, which must outlive the matrix and is never
    /// freed by it.
    OPTMatrix(double* buffer, size_t rows, size_t cols);
    /// Wraps a host array of the caller without copying; the matrix never destroys it. A null
    /// array gives a 0 × 0 matrix. The real part of a complex array is used; an array that is not
    /// of class double raises "Matrix must be of class double".
    explicit OPTMatrix(const vxArray* array);
    /// Pooled source: shares its storage. Otherwise: a new host array, not persistent, with the
    /// elements. A copy of a matrix that wraps a host array never destroys its own array, which
    /// is the open CallScope's then. Takes the source's id plus 1000.
    OPTMatrix(const OPTMatrix& other);
    ~OPTMatrix();

    /// Equal shapes: copies the elements. A matrix without elements takes the shape of `other`
    /// with storage of its own. Otherwise prints both sizes on standard output and raises
    /// "Incompatible dimensions for matrix assignment".
    OPTMatrix& operator=(const OPTMatrix& other);

    /// rows × cols zeros in storage of its own, whatever the matrix was. Raises as clear().
    void reset(size_t rows, size_t cols);
    /// Gives the storage back and leaves a 0 × 0 matrix. Raises "Can not delete matrix that was
    /// created with vxArray" for one that wraps a host array of the caller.
    void clear();

    [[nodiscard]] size_t getRows() const noexcept { return rows; }
    [[nodiscard]] size_t getCols() const noexcept { return cols; }
    /// rows·cols.
    [[nodiscard]] size_t size() const noexcept { return rows * cols; }
    /// Serial number of the construction, counted per thread.
    [[nodiscard]] std::int64_t getId() const noexcept { return id; }
    [[nodiscard]] bool getIsCopy() const noexcept { return isCopy != 0; }
    [[nodiscard]] bool getIsSparse() const noexcept { return isSparse; }
    /// Whether the host array holds compressed columns; getIsSparse() only reports.
    [[nodiscard]] bool isStoredCompressed() const noexcept { return isCompressed; }
    [[nodiscard]] bool getIsPooled() const noexcept { return isPooled; }
    [[nodiscard]] bool getWrapsHostArray() const noexcept { return wrapsHostArray; }
    /// 0 own storage or pooled, 1 wraps a host array, 2 wraps a raw buffer.
    [[nodiscard]] std::int32_t getOrigin() const noexcept { return origin; }
    /// Borrowers of the pooled storage; 0 for any other matrix.
    [[nodiscard]] size_t getRefCount() const noexcept;
    /// The host array behind the matrix; still the matrix's.
    [[nodiscard]] vxArray* getHostArray() const noexcept { return hostArray; }
    /// The elements of a matrix that is stored full: (i, j) at j·rows + i. For a sparse one its
    /// stored entries.
    [[nodiscard]] double* getData() noexcept { return data; }
    [[nodiscard]] const double* getData() const noexcept { return data; }

    /// Element (i, j). Raises "Index exceed number of row.", then "Index exceed number of
    /// columns.". An entry that a sparse matrix does not store is a zero cell, shared by all.
    [[nodiscard]] double& operator()(size_t i, size_t j) { return *_element(i, j); }
    [[nodiscard]] const double& operator()(size_t i, size_t j) const { return *_element(i, j); }

    /// New pooled 1 × cols matrix with row i.
    [[nodiscard]] OPTMatrix row(size_t i) const;
    /// New pooled rows × 1 matrix with column j.
    [[nodiscard]] OPTMatrix column(size_t j) const;
    /// New pooled min(rows, cols) × 1 matrix.
    [[nodiscard]] OPTMatrix diagonal() const;
    /// Column dst := column src.
    void copyColumn(size_t dst, size_t src);
    /// Column j := the first `rows` entries of buffer; a shorter buffer raises "Index exceed
    /// number of row.".
    void setColumn(size_t j, std::span<const double> buffer);
    /// buffer := rows r0..r1 of columns c0..c1, both inclusive, column after column; nothing when
    /// c0 > c1 or r0 > r1. A buffer that is too short raises "Index exceed number of row.".
    void copyBlock(size_t r0, size_t r1, size_t c0, size_t c1, std::span<double> buffer) const;
    /// Every element := s; the stored entries of a sparse matrix.
    void fill(double s);
    /// The first largest element; NaN never replaces and is only returned from (0, 0). A 0 × 0
    /// matrix raises "Index exceed number of row.".
    [[nodiscard]] Maximum maximum() const;
    /// Frobenius norm: 0 for an empty matrix, −1 when the sum of squares is NaN.
    [[nodiscard]] double norm() const;
    /// New matrix that wraps the array made by vxTranspose, which is the open CallScope's.
    [[nodiscard]] OPTMatrix transpose() const;
    /// Deep copy of the host array; the caller (its CallScope) owns it.
    [[nodiscard]] vxArray* toVxArray() const;

    /// Pooled product; raises "Incompatible dimensions for matrix multiplication".
    [[nodiscard]] OPTMatrix operator*(const OPTMatrix& b) const;
    /// Pooled difference; raises "Incompatible dimensions for matrix subtraction".
    [[nodiscard]] OPTMatrix operator-(const OPTMatrix& b) const;
    /// Pooled sum in the shape of the left side. Shapes are not compared, but a right side with
    /// fewer elements raises "Incompatible dimensions for matrix addition".
    [[nodiscard]] OPTMatrix operator+(const OPTMatrix& b) const;
    /// In place; raises "Incompatible dimensions for matrix assignment".
    OPTMatrix& operator+=(const OPTMatrix& b);
    /// Pooled s·A.
    [[nodiscard]] OPTMatrix operator*(double s) const;
    /// Pooled A − s, element by element.
    [[nodiscard]] OPTMatrix operator-(double s) const;

private:
    [[nodiscard]] double* _element(size_t i, size_t j) const {
        if (i >= rows || j >= cols) {
            _raiseIndexError(i);
        }
        return isCompressed ? _sparseElement(i, j) : data + (j * rows + i);
    }
    [[nodiscard]] double* _sparseElement(size_t i, size_t j) const;
    [[noreturn]] void _raiseIndexError(size_t i) const;
    void _createStorage();
    void _releaseStorage() noexcept;
    void _copyElements(const OPTMatrix& source);

    size_t rows = 0;
    size_t cols = 0;
    std::int64_t id = 0;
    vxArray* hostArray = nullptr;
    double* data = nullptr;
    std::uint64_t isCopy = 0;
    activeset::PoolEntry* poolEntry = nullptr;  // counts its borrowers; null unless pooled
    bool isSparse = false;      // as reported; an assignment takes it over from its source
    bool isCompressed = false;  // hostArray holds compressed columns
    bool holdsArray = false;    // uses an array that the scope reclaims
    bool isPooled = false;
    bool wrapsHostArray = false;
    std::int32_t origin = 0;
};

#endif
