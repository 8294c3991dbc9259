// Problems of the same sizes, one after the other. Each begins where the last one has ended.
#ifndef ACTIVESET_SRC_FRONTEND_SEQUENCE_HPP
#define ACTIVESET_SRC_FRONTEND_SEQUENCE_HPP

#include <memory>

#include "frontend/change_budget.hpp"
#include "frontend/predict/small_problem.hpp"
#include "frontend/solve.hpp"

namespace activeset::frontend {

/// What is kept from one to the next: the last optimum and its working set; factors, scaling and
/// the test of convexity while the matrices are the same.
class Sequence {
public:
    /// @param isContinued  whether problems begin where the one before them has ended; if not, the
    ///                     working sets of small ones are not listed
    explicit Sequence(bool isContinued = true) : isContinued_(isContinued) {
        small_->listSets(isContinued);
    }
    /// Borrows what solves small problems, and lists their working sets.
    explicit Sequence(SmallProblem& small) : small_(&small), isContinued_(true) {}
    Sequence(const Sequence&) = delete;
    Sequence& operator=(const Sequence&) = delete;
    ~Sequence() = default;

    /// Says that the next problem has other matrices, or other vectors, than the last.
    void changeMatrices();
    void changeVectors() { haveVectorsChanged_ = true; }
    /// Where the next solve begins.
    void restartFrom(WarmStart start);
    /// Forgets what depends on more than the matrices. The next solve begins at the point x, which
    /// may be empty.
    void beginAt(const VectorView& x);
    /// All problems to come have the matrices of this one. What is formed of them depends on no
    /// vectors, so that a solve after beginAt() has always the same bits.
    void shareMatrices(const Problem& problem);

    /// Solves the next problem.
    /// @param data    its data, which have no faults; without them faults are sought where the
    ///                small road has not ended
    /// @param result  as it is made, or as the last solve has left it
    void solve(const Problem& problem,
               const ProblemData* data,
               const Settings& settings,
               Control& control,
               Result& result);

private:
    [[nodiscard]] bool solveSmall(const Problem& problem,
                                  const Settings& settings,
                                  Control& control,
                                  Result& result);
    [[nodiscard]] Result solveGenerally(const Problem& problem,
                                        const ProblemData* data,
                                        const Settings& settings,
                                        Control& control);
    void solveHard(const Problem& problem,
                   const ProblemData* data,
                   const Settings& settings,
                   Control& control,
                   Result& result);
    void solveWithPenalties(const Problem& problem,
                            const ProblemData* data,
                            const Settings& settings,
                            Control& control,
                            Result& result);
    [[nodiscard]] SmallProblem::SoftEnd solveSmallSoft(const Problem& problem,
                                                       const Settings& settings,
                                                       Control& control,
                                                       Result& result,
                                                       WorkingSet& predicted);
    void countChanges(std::size_t n, const WorkingSet& after);
    void prepare(const Problem& problem, const ProblemData* data);
    void keep(const Result& result);

    std::unique_ptr<ProblemCache> cache_;
    SmallProblem ownSmall_;
    SmallProblem* small_ = &ownSmall_;
    bool isContinued_;
    bool areMatricesShared_ = false;
    bool haveMatricesChanged_ = false;
    bool haveSmallMatricesChanged_ = true;  ///< since the small road has seen them
    bool haveVectorsChanged_ = false;
    bool isLastSmall_ = false;  ///< found by the small road, which has its factors
    ChangeBudget budget_;
    WarmStart last_;
};

}  // namespace activeset::frontend

#endif
