// Random changes of a solver's working set, and its factors checked against it after each.
#ifndef ACTIVESET_FUZZ_WORKING_SET_BENCH_HPP
#define ACTIVESET_FUZZ_WORKING_SET_BENCH_HPP

#include <cstddef>
#include <memory>
#include <vector>

#include "activeset/as_option.hpp"
#include "activeset/constraint.hpp"
#include "activeset/null_space.hpp"
#include "activeset/objective.hpp"
#include "array_plan.hpp"
#include "bytes.hpp"

namespace activeset::fuzz {

/// A problem with small numbers and the objects made of it.
class Example {
public:
    /// @param anyStorage  one array in eight may be sparse, complex or broken
    Example(Bytes& bytes, bool anyStorage);

    [[nodiscard]] IoptObjective* objective() { return objectives_.back().get(); }
    [[nodiscard]] LinearConstraint& constraint() { return *constraints_.back(); }
    [[nodiscard]] ASoption& options() { return options_; }
    [[nodiscard]] const vxArray* start() const { return start_->get(); }
    [[nodiscard]] bool isQuadratic() const { return isQuadratic_; }
    /// Makes the objects anew, so that the thread's sizes are those of this problem.
    void rebuild();

    std::size_t n = 0;
    std::size_t mIneq = 0;
    std::size_t mEq = 0;

private:
    bool isQuadratic_ = false;
    std::vector<std::unique_ptr<LiveArray>> arrays_;  // H, c, A, b, Aeq, beq, lb, ub
    std::unique_ptr<LiveArray> start_;
    // The last ones count; the others stay, since a solver may still be bound to them.
    std::vector<std::unique_ptr<IoptObjective>> objectives_;
    std::vector<std::unique_ptr<LinearConstraint>> constraints_;
    ASoption options_;
};

class WorkingSetBench {
public:
    explicit WorkingSetBench(Bytes& bytes) : bytes_(bytes) {}

    /// Sets up a problem with a solver and changes the working set while the bytes last, bringing
    /// the factors up to date after each change.
    void followChanges();
    /// Calls public members in any order, before init() and after errors too.
    void callInAnyOrder();

private:
    void takeExample(bool anyStorage);
    void init(bool anyStorage);
    void change();
    void add();
    void remove();
    void direct();
    void multiply();
    void callAny();
    void copyConstraints(OPTMatrix<double>& x);
    void relaxConstraints(OPTMatrix<double>& y);
    [[nodiscard]] std::vector<double> gradient() const;
    void judgeFactors();
    void judgeDirection(OPTMatrix<double>& g, OPTMatrix<double>& p, bool isPositiveDefinite);

    Bytes& bytes_;
    std::vector<std::unique_ptr<Example>> examples_;
    Example* example_ = nullptr;  // the last one
    NullSpaceAS solver_;
};

}  // namespace activeset::fuzz

#endif
