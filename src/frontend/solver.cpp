// A sequence of problems: what did not change is not formed again.
#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <utility>

#include "frontend/predict/small_problem.hpp"
#include "frontend/solve.hpp"
#include "host/floating_point.hpp"

namespace activeset {

using frontend::Data;
using frontend::Part;

namespace {

Problem viewOf(const Data& data) {
    Problem problem;
    problem.c = data.c;
    problem.rowLower = data.rowLower;
    problem.rowUpper = data.rowUpper;
    problem.lower = data.lower;
    problem.upper = data.upper;
    problem.constant = data.constant;
    if (data.quadratic) {
        problem.H = MatrixView(data.H, data.n, data.n);
    }
    if (data.m > 0) {
        problem.A = MatrixView(data.A, data.m, data.n);
    }
    return problem;
}

}  // namespace

class Solver::Sequence {
public:
    Sequence(const Problem& problem, Settings chosen) : settings(std::move(chosen)) {
        const FloatingPointGuard environment;
        data_.n = frontend::variablesOf(problem);
        data_.m = problem.A.rows();
        for (const Part part : frontend::AllParts) {
            change(problem, part);
        }
        if (problem.warmStart != nullptr) {
            last_ = *problem.warmStart;
        } else if (!problem.start.empty() && faultsOf(Part::Start).empty()) {
            last_.x.assign(problem.start.data(), problem.start.data() + problem.start.size());
        }
    }

    // A part with faults is not copied, whatever sizes it speaks of; they stay until it is replaced
    // by one without.
    void change(const Problem& problem, Part part) {
        const FloatingPointGuard environment;
        faultsOf(part) = frontend::faultsIn(problem, data_.n, data_.m, part);
        if (!faultsOf(part).empty()) {
            return;
        }
        frontend::copyPart(problem, part, data_);
        const bool isOfMatrices = part == Part::Hessian || part == Part::Rows;
        haveMatricesChanged_ = haveMatricesChanged_ || isOfMatrices;
        haveSmallMatricesChanged_ = haveSmallMatricesChanged_ || isOfMatrices;
        haveVectorsChanged_ = true;
    }

    Result solve() {
        const FloatingPointGuard environment;
        frontend::requireNoSolve();
        frontend::Control control(settings, frontend::automaticLimit(data_.n, data_.m));
        std::vector<Fault> faults;
        for (const auto& found : faults_) {
            faults.insert(faults.end(), found.begin(), found.end());
        }
        std::ranges::move(frontend::faultsIn(settings), std::back_inserter(faults));
        if (!faults.empty()) {
            return frontend::invalid(std::move(faults));
        }
        frontend::complete(data_);
        std::optional<Result> small = solveSmall(control);
        if (small) {
            return std::move(*small);
        }
        if (!prepared_ || haveMatricesChanged_) {
            prepared_ = std::make_unique<frontend::Prepared>(data_);
        } else if (haveVectorsChanged_) {
            prepared_->updateVectors(data_);
        }
        haveMatricesChanged_ = false;
        haveVectorsChanged_ = false;
        Result result =
            frontend::solveConvexified(*prepared_, last_.x, last_.workingSet, settings, control);
        if (result.status == Status::Optimal) {
            keep(result);
        }
        return result;
    }

    void restart(WarmStart start) {
        isLastSmall_ = isLastSmall_ && start.workingSet == last_.workingSet;
        last_ = std::move(start);
    }

    Settings settings;

private:
    // From where the last solve on the same road has ended, if nothing has come in between.
    std::optional<Result> solveSmall(frontend::Control& control) {
        if (!data_.quadratic || !frontend::SmallProblem::suits(settings)) {
            return std::nullopt;
        }
        if (!small_) {
            small_ = std::make_unique<frontend::SmallProblem>();
        }
        Problem problem = viewOf(data_);
        problem.warmStart = &last_;
        const bool mayContinue = std::exchange(isLastSmall_, false);
        std::optional<Result> result =
            small_->solveNext(problem, haveSmallMatricesChanged_,
                              mayContinue ? nullptr : &last_.workingSet, settings, control);
        haveSmallMatricesChanged_ = false;
        if (result && result->status == Status::Optimal) {
            keep(*result);
            isLastSmall_ = true;
        }
        return result;
    }

    void keep(const Result& result) {
        last_.x = result.x;
        last_.workingSet = result.workingSet;
    }

    [[nodiscard]] std::vector<Fault>& faultsOf(Part part) {
        return faults_.at(static_cast<std::size_t>(part));
    }

    Data data_;
    std::array<std::vector<Fault>, frontend::AllParts.size()> faults_;
    std::unique_ptr<frontend::Prepared> prepared_;
    std::unique_ptr<frontend::SmallProblem> small_;
    bool haveMatricesChanged_ = false;
    bool haveSmallMatricesChanged_ = false;  // since the small road has seen them
    bool haveVectorsChanged_ = false;
    WarmStart last_;
    bool isLastSmall_ = false;  // found by the small road, which has its factors
};

Solver::Solver(const Problem& problem, Settings settings)
    : sequence_(std::make_unique<Sequence>(problem, std::move(settings))) {}

Solver::Solver(Solver&&) noexcept = default;
Solver& Solver::operator=(Solver&&) noexcept = default;
Solver::~Solver() = default;

void Solver::setHessian(const MatrixView& H) {
    Problem part;
    part.H = H;
    sequence_->change(part, Part::Hessian);
}

void Solver::setLinear(const VectorView& c, double constant) {
    Problem part;
    part.c = c;
    part.constant = constant;
    sequence_->change(part, Part::Linear);
}

void Solver::setRows(const MatrixView& A) {
    Problem part;
    part.A = A;
    sequence_->change(part, Part::Rows);
}

void Solver::setRowSides(const VectorView& lower, const VectorView& upper) {
    Problem part;
    part.rowLower = lower;
    part.rowUpper = upper;
    sequence_->change(part, Part::RowSides);
}

void Solver::setBounds(const VectorView& lower, const VectorView& upper) {
    Problem part;
    part.lower = lower;
    part.upper = upper;
    sequence_->change(part, Part::Bounds);
}

void Solver::restartFrom(WarmStart start) {
    sequence_->restart(std::move(start));
}

Settings& Solver::settings() noexcept {
    return sequence_->settings;
}

Result Solver::solve() {
    return sequence_->solve();
}

}  // namespace activeset
