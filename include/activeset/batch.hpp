// Many problems of one shape, from arrays to arrays: for batches for which a vector of results
// would be too large or too slow. solveMany() of qp.hpp takes problems of any shapes and returns a
// complete result for each.
//
//     std::vector<double> x(count * n), objective(count);
//     std::vector<activeset::Status> status(count);
//     activeset::solveBatch({.count = count,
//                            .H = {{H, n, n}},            // shared by all
//                            .c = {{c.data(), n}, n},     // n numbers each
//                            .A = {{A, m, n}},
//                            .rowUpper = {{b.data(), m}, m}},
//                           {.x = {x.data()}, .objective = objective.data(),
//                            .status = status.data()});
#ifndef ACTIVESET_BATCH_HPP
#define ACTIVESET_BATCH_HPP

#include "activeset/qp.hpp"

namespace activeset {

/// One vector of each problem. That of problem k begins k·stride numbers behind that of problem 0;
/// with a stride of 0 all problems share one.
struct VectorBatch {
    VectorView first{};      ///< of problem 0
    std::size_t stride = 0;  ///< in numbers

    /// The vector of problem k.
    [[nodiscard]] constexpr VectorView operator[](std::size_t k) const noexcept {
        return first.data() == nullptr ? first
                                       : VectorView(first.data() + k * stride, first.size());
    }
};

/// One matrix of each problem, likewise. All of them are stored as the first one is.
struct MatrixBatch {
    MatrixView first{};      ///< of problem 0
    std::size_t stride = 0;  ///< in numbers

    /// Whether all problems have the same matrix.
    [[nodiscard]] constexpr bool isShared() const noexcept {
        return stride == 0 || first.data() == nullptr;
    }
    /// A view that knows how many numbers it holds takes them for those of each problem.
    [[nodiscard]] constexpr MatrixView operator[](std::size_t k) const noexcept {
        return isShared() ? first : first.movedBy(k * stride);
    }
};

/// `count` problems of the same sizes; parts as in Problem. What is empty is absent in all. None
/// has soft sides; solveMany takes problems that have.
struct ProblemBatch {
    std::size_t count = 0;   ///< problems
    MatrixBatch H{};         ///< n × n
    VectorBatch c{};         ///< n
    MatrixBatch A{};         ///< m × n
    VectorBatch rowLower{};  ///< m
    VectorBatch rowUpper{};  ///< m
    VectorBatch lower{};     ///< n
    VectorBatch upper{};     ///< n
    VectorBatch constant{};  ///< 1
    VectorBatch start{};     ///< n

    /// Problem k as one that can be looked at, or solved alone. @pre k < count
    [[nodiscard]] Problem operator[](std::size_t k) const noexcept {
        const VectorView constants = constant[k];
        return {.H = H[k],
                .c = c[k],
                .A = A[k],
                .rowLower = rowLower[k],
                .rowUpper = rowUpper[k],
                .lower = lower[k],
                .upper = upper[k],
                .constant = constants.empty() || constants.data() == nullptr ? 0.0 : constants[0],
                .start = start[k]};
    }
};

/// Where vectors of each problem are written to: those of problem k from data + k·stride on.
struct VectorsOut {
    double* data = nullptr;  ///< null for none
    std::size_t stride = 0;  ///< 0 stands for the length of the vectors: no gaps
};

/// The caller's arrays, of which each is written if it is there. A problem without a point has NaN
/// for its numbers, infinite residuals and no iterations.
struct BatchOut {
    VectorsOut x{};                      ///< n each
    VectorsOut y{};                      ///< m each
    VectorsOut z{};                      ///< n each
    double* objective = nullptr;         ///< count; constant included
    Status* status = nullptr;            ///< count; may point to an array of int
    Certificate* certificate = nullptr;  ///< count; six doubles each, in the order of the members
    Iterations* iterations = nullptr;    ///< count
};

/// Solves all problems of a batch, on several threads if the settings say so, and writes what is
/// asked for. Settings mean what they mean for solveMany; `onDone` is called after every few
/// problems. The inputs must stay as they are meanwhile, and overlap no output.
///
/// Each problem has the bits that it has alone, for any number of threads and any division of a
/// batch into smaller ones. Without chains these are the bits of solve(), unless H and A are
/// shared: then what depends on them alone is formed once a thread, and the last digits may differ
/// from those of solve(). With chains (ManySettings::chain) a division has to respect them.
///
/// A small problem, as docs/method.md has it, that ends optimal asks for no memory once a thread
/// has solved one of its size, but at degenerate vertices. A problem that fails spoils no other.
///
/// @returns how many are proved optimal
/// @raises std::logic_error inside a callback of another solve; std::bad_alloc where not even one
///         thread can begin; what `onDone` raises. What was not begun by then is not written.
ACTIVESET_API std::size_t solveBatch(const ProblemBatch& problems,
                                     const BatchOut& out,
                                     const ManySettings& settings = {});

}  // namespace activeset

#endif
