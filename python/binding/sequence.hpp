// A Solver of the front end, with the data that are needed to replace one part at a time.
#ifndef ACTIVESET_PYTHON_SEQUENCE_HPP
#define ACTIVESET_PYTHON_SEQUENCE_HPP

#include <atomic>
#include <memory>
#include <vector>

#include "activeset/qp.hpp"
#include "problem_data.hpp"
#include "python.hpp"

namespace activeset::python {

class Sequence {
public:
    Sequence(const ProblemData& data, Settings settings);

    /// Replaces the given parts. Replaces none if one of them does not fit.
    /// @raises ProblemError
    void update(const GivenParts& given);
    void restartFrom(WarmStart start) { solver_.restartFrom(std::move(start)); }
    [[nodiscard]] Result solve(const Settings& settings);

    [[nodiscard]] std::size_t variables() const noexcept { return n_; }
    [[nodiscard]] std::size_t inequalities() const noexcept { return rowsOfG_; }
    [[nodiscard]] std::size_t equalities() const noexcept { return rowsOfA_; }
    [[nodiscard]] std::size_t entries() const noexcept { return n_ * (n_ + rowsOfG_ + rowsOfA_); }

    /// Set while a call uses this, perhaps on another thread.
    std::atomic<bool> isBusy{false};
    /// Set if a signal has ended the call that waited for a solve, while the solve still runs.
    std::atomic<bool> isLeft{false};

private:
    struct Views;
    [[nodiscard]] Views read(const GivenParts& given) const;
    [[nodiscard]] bool fits(const GivenParts& given, const Views& views) const;
    [[nodiscard]] MatrixView newRows(const GivenParts& given, const Views& views);

    std::size_t n_;
    std::size_t rowsOfG_;
    std::size_t rowsOfA_;
    double constant_;
    std::vector<double> linear_;
    std::vector<double> rows_;  ///< column by column; used if there are rows of G and of A
    std::vector<double> rowLower_;
    std::vector<double> rowUpper_;
    std::vector<double> lower_;
    std::vector<double> upper_;
    Solver solver_;
};

}  // namespace activeset::python

#endif
