// The LAPACK calls with their workspaces.
#include "host/lapack.hpp"

#include <algorithm>

#include "activeset/host.hpp"
#include "host/fortran.hpp"
#include "host/small_kernels.hpp"

namespace activeset::lapack {

namespace {

/// The optimum if the host can give it, else the minimum (or out of memory).
class Workspace {
public:
    Workspace(Int optimum, Int minimum)
        : size_(std::max(optimum, minimum)), data_(static_cast<double*>(vxMallocEx(bytes()))) {
        if (data_ == nullptr) {
            size_ = minimum;
            data_ = static_cast<double*>(vxMalloc(bytes()));
        }
    }
    ~Workspace() { vxFreeEx(data_); }
    Workspace(const Workspace&) = delete;
    Workspace(Workspace&&) = delete;
    Workspace& operator=(const Workspace&) = delete;
    Workspace& operator=(Workspace&&) = delete;

    [[nodiscard]] double* data() const noexcept { return data_; }
    [[nodiscard]] const Int* size() const noexcept { return &size_; }

private:
    [[nodiscard]] size_t bytes() const noexcept {
        return static_cast<size_t>(size_) * sizeof(double);
    }

    Int size_;
    double* data_;
};

// Up to this order no routine works by blocks, and the minimal workspace is as good as any.
constexpr Int LargestUnblocked = 32;

// Asks the routine for its optimal workspace (not for an empty matrix, where the answer of some
// routines is too small), then runs it. routine(work, lwork) returns info.
template <class Routine>
Int withWorkspace(Int minimum, ConstBlock a, Routine routine) {
    Int optimum = minimum;
    if (!a.isEmpty() && std::max(a.rows, a.cols) > LargestUnblocked) {
        double answer = 0.0;
        const Int query = -1;
        routine(&answer, &query);
        optimum = static_cast<Int>(answer);
    }
    const Workspace work(optimum, minimum);
    return routine(work.data(), work.size());
}

Int solveTriangle(const char* half,
                  const char* op,
                  void (*solveOne)(ConstBlock r, double* x),
                  ConstBlock r,
                  Block b) {
    Int info = 0;
    if (r.cols > small::LargestSolve) {
        ACTIVESET_CALL(dtrtrs)
        (half, op, "N", &r.cols, &b.cols, r.data, &r.ld, b.data, &b.ld, &info, 1, 1, 1);
        return info;
    }
    for (Int k = 0; k < r.cols; ++k) {
        if (r.data[k * (r.ld + 1)] == 0.0) {
            return k + 1;
        }
    }
    for (Int j = 0; j < b.cols; ++j) {
        solveOne(r, b.data + j * b.ld);
    }
    return info;
}

}  // namespace

Int geqrf(Block a, double* tau) {
    const Int minimum = std::max(a.rows, a.cols) + 1;
    return withWorkspace(minimum, a, [&](double* work, const Int* lwork) {
        Int info = 0;
        ACTIVESET_CALL(dgeqrf)(&a.rows, &a.cols, a.data, &a.ld, tau, work, lwork, &info);
        return info;
    });
}

Int orgqr(Block a, Int k, const double* tau) {
    return withWorkspace(a.rows + 1, a, [&](double* work, const Int* lwork) {
        Int info = 0;
        ACTIVESET_CALL(dorgqr)(&a.rows, &a.cols, &k, a.data, &a.ld, tau, work, lwork, &info);
        return info;
    });
}

Int geqp3(Block a, Int* jpvt, double* tau) {
    const Int minimum = 3 * std::max(a.rows, a.cols) + 1;
    return withWorkspace(minimum, a, [&](double* work, const Int* lwork) {
        Int info = 0;
        ACTIVESET_CALL(dgeqp3)(&a.rows, &a.cols, a.data, &a.ld, jpvt, tau, work, lwork, &info);
        return info;
    });
}

Int potrf(Block a) {
    if (a.cols <= small::LargestSolve) {
        return small::factoriseUpper(a);
    }
    Int info = 0;
    ACTIVESET_CALL(dpotrf)("U", &a.cols, a.data, &a.ld, &info, 1);
    return info;
}

Int potrfLower(Block a) {
    Int info = 0;
    ACTIVESET_CALL(dpotrf)("L", &a.cols, a.data, &a.ld, &info, 1);
    return info;
}

Int potrs(ConstBlock a, Block b) {
    Int info = 0;
    ACTIVESET_CALL(dpotrs)("U", &a.cols, &b.cols, a.data, &a.ld, b.data, &b.ld, &info, 1);
    return info;
}

Int trtrs(ConstBlock r, Block b) {
    return solveTriangle("U", "N", small::solveUpper, r, b);
}

Int trtrsTransposed(ConstBlock r, Block b) {
    return solveTriangle("U", "T", small::solveUpperTransposed, r, b);
}

Int trtrsLower(ConstBlock l, Block b) {
    return solveTriangle("L", "N", small::solveLower, l, b);
}

Int trtrsLowerTransposed(ConstBlock l, Block b) {
    return solveTriangle("L", "T", small::solveLowerTransposed, l, b);
}

Int ormqr(Op op, ConstBlock a, const double* tau, Block b) {
    const char trans = static_cast<char>(op);
    return withWorkspace(b.cols + 1, a, [&](double* work, const Int* lwork) {
        Int info = 0;
        ACTIVESET_CALL(dormqr)
        ("L", &trans, &b.rows, &b.cols, &a.cols, a.data, &a.ld, tau, b.data, &b.ld, work, lwork,
         &info, 1, 1);
        return info;
    });
}

Int pstrf(Block a, Int* jpvt, Int* rank, double tolerance) {
    const Workspace work(2 * a.cols + 1, 2 * a.cols + 1);
    Int info = 0;
    ACTIVESET_CALL(dpstrf)
    ("L", &a.cols, a.data, &a.ld, jpvt, rank, &tolerance, work.data(), &info, 1);
    return info;
}

Int gelsTransposed(Block a, Block b) {
    // max(rows, cols) + 1 alone is less than the routine accepts when the matrix is nearly square.
    const Int smaller = std::min(a.rows, a.cols);
    const Int minimum = std::max(std::max(a.rows, a.cols) + 1, smaller + std::max(smaller, b.cols));
    return withWorkspace(minimum, a, [&](double* work, const Int* lwork) {
        Int info = 0;
        ACTIVESET_CALL(dgels)
        ("T", &a.rows, &a.cols, &b.cols, a.data, &a.ld, b.data, &b.ld, work, lwork, &info, 1);
        return info;
    });
}

}  // namespace activeset::lapack
