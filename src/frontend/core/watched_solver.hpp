// The null-space solver as the front end runs it.
#ifndef ACTIVESET_SRC_FRONTEND_CORE_WATCHED_SOLVER_HPP
#define ACTIVESET_SRC_FRONTEND_CORE_WATCHED_SOLVER_HPP

#include <functional>

#include "activeset/null_space.hpp"
#include "frontend/core/control.hpp"
#include "frontend/core/core_form.hpp"
#include "frontend/core/cycle_detector.hpp"

namespace activeset::frontend {

/// Counts its passes, ends when the control says so, sets multipliers that are negative by rounding
/// to zero, and notices when it cycles.
class WatchedSolver : public NullSpaceAS {
public:
    using Report = CoreReport;

    /// Keeps references to `control` and `progress`.
    ///
    /// @param rounding  a multiplier that is less negative than this counts as zero
    WatchedSolver(Control& control, double rounding, const Report& progress)
        : control_(control), rounding_(rounding), progress_(progress) {}
    WatchedSolver(const WatchedSolver&) = delete;
    WatchedSolver& operator=(const WatchedSolver&) = delete;
    ~WatchedSolver() override = default;

    void getSearchDirection(OPTMatrix<double>& g, OPTMatrix<double>& p) override;
    /// Called at a minimum on the working set.
    void computeLambda(OPTMatrix<double>& g, OPTMatrix<double>& multipliers) override;

    /// The present working set. Phase one has a variable more, whose bound is left out.
    [[nodiscard]] CoreSet coreSet() const;
    [[nodiscard]] bool isCycling() const { return isCycling_; }
    /// The multipliers of phase one's minimum by constraint number, without those of the variable γ
    /// that phase one adds; empty if phase one has not reached a minimum.
    [[nodiscard]] const Vector& phaseOneMultipliers() const { return phaseOneMultipliers_; }

protected:
    [[nodiscard]] bool _mayGoOn() override;

private:
    [[nodiscard]] bool isPhaseOne() const;
    void keepPhaseOneMultipliers(const OPTMatrix<double>& multipliers);
    [[nodiscard]] Progress report();

    Control& control_;
    double rounding_;
    const Report& progress_;
    CycleDetector cycles_;
    bool isCycling_ = false;
    bool wasPhaseOne_ = false;
    bool hasDirection_ = false;  ///< since the last report
    Vector last_;                ///< the point of the last report
    Vector phaseOneMultipliers_;
};

}  // namespace activeset::frontend

#endif
