// Makes a problem of the front end from a fuzzer's bytes: of a known style, perhaps damaged, with
// views of every form. Each array has a block of its own, so that the sanitizer finds a read beyond
// it.
#ifndef ACTIVESET_FUZZ_FRONTEND_PROBLEM_HPP
#define ACTIVESET_FUZZ_FRONTEND_PROBLEM_HPP

#include <cstddef>
#include <list>
#include <vector>

#include "bytes.hpp"
#include "support/styles.hpp"

namespace activeset::fuzz {

/// A generator's choices, taken from bytes. Zeros after the end give the first choices.
class ByteChoices : public test::Choices {
public:
    explicit ByteChoices(Bytes& bytes) : bytes_(bytes) {}
    std::size_t upTo(std::size_t last) override {
        return last == 0 ? 0 : (last < 256 ? bytes_.byte() : bytes_.word()) % (last + 1);
    }

private:
    Bytes& bytes_;
};

/// The arrays of one problem and their views.
class ViewedProblem {
public:
    /// The undamaged problem, in views by columns or by rows, with gaps or without.
    ViewedProblem(const test::StyledCase& styled, Bytes& bytes);

    /// Makes one part unusual: numbers, sizes, sides or views.
    void damage(Bytes& bytes);

    [[nodiscard]] const Problem& view() const { return problem_; }

private:
    VectorView keep(std::vector<double> values);
    MatrixView keep(const std::vector<double>& columns,
                    std::size_t rows,
                    std::size_t cols,
                    Bytes& bytes);
    MatrixView damaged(std::vector<double> columns,
                       std::size_t rows,
                       std::size_t cols,
                       Bytes& bytes);

    test::Sample sample_;
    std::list<std::vector<double>> arrays_;
    WarmStart warmStart_;
    Problem problem_;
};

/// Any settings, sometimes with faults.
Settings settingsOf(Bytes& bytes);
bool areSound(const Settings& settings);

WarmStart anyWarmStart(Bytes& bytes, std::size_t n, std::size_t m);

}  // namespace activeset::fuzz

#endif
