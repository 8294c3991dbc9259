// A sequence of problems: what did not change is not formed again.
#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <utility>

#include "frontend/solve.hpp"

namespace activeset {

using frontend::Data;
using frontend::Part;

class Solver::Sequence {
public:
    Sequence(const Problem& problem, Settings chosen) : settings(std::move(chosen)) {
        data_.n = frontend::variablesOf(problem);
        data_.m = problem.A.empty() ? 0 : problem.A.rows();
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
        faultsOf(part) = frontend::faultsIn(problem, data_.n, data_.m, part);
        if (!faultsOf(part).empty()) {
            return;
        }
        frontend::copyPart(problem, part, data_);
        haveMatricesChanged_ = haveMatricesChanged_ || part == Part::Hessian || part == Part::Rows;
        haveVectorsChanged_ = true;
    }

    Result solve() {
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
        if (!prepared_ || haveMatricesChanged_) {
            prepared_ = std::make_unique<frontend::Prepared>(data_);
        } else if (haveVectorsChanged_) {
            prepared_->updateVectors(data_);
        }
        haveMatricesChanged_ = false;
        haveVectorsChanged_ = false;
        Result result =
            frontend::solvePrepared(*prepared_, last_.x, last_.workingSet, settings, control);
        if (result.status == Status::Optimal) {
            last_ = result.warmStart();
        }
        return result;
    }

    void restart(WarmStart start) { last_ = std::move(start); }

    Settings settings;

private:
    [[nodiscard]] std::vector<Fault>& faultsOf(Part part) {
        return faults_.at(static_cast<std::size_t>(part));
    }

    Data data_;
    std::array<std::vector<Fault>, frontend::AllParts.size()> faults_;
    std::unique_ptr<frontend::Prepared> prepared_;
    bool haveMatricesChanged_ = false;
    bool haveVectorsChanged_ = false;
    WarmStart last_;
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
