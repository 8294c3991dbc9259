// What a solve keeps of an optimum for those who ask how it changes.
#ifndef ACTIVESET_SRC_FRONTEND_PARAMETRIC_KEPT_FACTORS_HPP
#define ACTIVESET_SRC_FRONTEND_PARAMETRIC_KEPT_FACTORS_HPP

#include <memory>

#include "frontend/parametric/working_system.hpp"

namespace activeset {

namespace frontend {

/// The rows of A at a point.
struct RowTerms {
    Vector values;  ///< A·x
    Vector sizes;   ///< the largest magnitude in each row of A
};

[[nodiscard]] RowTerms rowTermsOf(const ProblemData& data, const Vector& x);

}  // namespace frontend

/// The problem and its optimum, to see what belongs together, and the factors of its working set.
class KeptFactors {
public:
    /// @param data    of the problem, complete, without a shift of H
    /// @param system  null where the road to the optimum has left none
    KeptFactors(std::shared_ptr<const frontend::ProblemData> data,
                std::unique_ptr<const frontend::WorkingSystem> system,
                const Result& result);

    /// Whether these are of that very problem and its optimum, bit for bit. Reads any views safely.
    [[nodiscard]] bool belongTo(const Result& result, const Problem& problem) const;

    [[nodiscard]] const std::shared_ptr<const frontend::ProblemData>& data() const { return data_; }
    [[nodiscard]] const frontend::RowTerms& rows() const { return rows_; }
    /// Null if there is none; lives as long as this.
    [[nodiscard]] const frontend::WorkingSystem* system() const { return system_.get(); }

private:
    std::shared_ptr<const frontend::ProblemData> data_;  // before the system, which refers to it
    frontend::RowTerms rows_;
    std::unique_ptr<const frontend::WorkingSystem> system_;
    frontend::Point point_;
    WorkingSet set_;
};

namespace frontend {

/// Those of an optimum that the small road has just proved; null for another ending.
[[nodiscard]] std::shared_ptr<const KeptFactors> keptFactors(const SmallProblem& small,
                                                             const Problem& problem,
                                                             const Result& result);
/// Those of an optimum of a problem that is solved no more; null for another ending.
[[nodiscard]] std::shared_ptr<const KeptFactors> keptFactors(std::shared_ptr<ProblemCache> cache,
                                                             const Result& result);

}  // namespace frontend

}  // namespace activeset

#endif
