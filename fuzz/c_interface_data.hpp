// Makes a problem for the C interface from a fuzzer's bytes: of a known style, perhaps with an
// awkward number in it. Each array has a block of its own, so that the sanitizer finds a read
// beyond it.
#ifndef ACTIVESET_FUZZ_C_INTERFACE_DATA_HPP
#define ACTIVESET_FUZZ_C_INTERFACE_DATA_HPP

#include <array>
#include <cmath>
#include <cstdint>
#include <list>
#include <utility>
#include <vector>

#include "activeset/activeset.h"
#include "activeset/qp.hpp"
#include "bytes.hpp"
#include "support/sample.hpp"

namespace activeset::fuzz {

/// A matrix as the C interface takes it.
struct Matrix {
    const double* data = nullptr;
    std::int64_t leading = 0;
    std::int32_t order = ACTIVESET_COLUMN_MAJOR;
};

/// The arrays of a problem, each in a block of its own, as C arguments and as views.
class Data {
public:
    Data(test::Sample given, Bytes& bytes) : n(given.n), m(given.m), sample(std::move(given)) {
        test::Sample& s = sample;
        for (std::size_t k = bytes.oneIn(4) ? 1 + bytes.below(3) : 0; k > 0; --k) {
            plant(s, bytes);
        }
        view.H = matrix(s.H, n, n, bytes, H);
        view.A = matrix(s.A, m, n, bytes, A);
        view.c = c = keep(s.c);
        view.rowLower = rowLower = keep(s.rowLower);
        view.rowUpper = rowUpper = keep(s.rowUpper);
        view.lower = lower = keep(s.lower);
        view.upper = upper = keep(s.upper);
        view.start = start = keep(s.start);
    }

    std::size_t n;
    std::size_t m;
    test::Sample sample;
    Matrix H{};
    Matrix A{};
    VectorView c{}, rowLower{}, rowUpper{}, lower{}, upper{}, start{};
    Problem view{};

private:
    static void plant(test::Sample& s, Bytes& bytes) {
        const std::array parts{&s.H, &s.A, &s.c, &s.rowLower, &s.rowUpper, &s.lower, &s.upper};
        std::vector<double>& part = *parts.at(bytes.below(parts.size()));
        if (!part.empty()) {
            part[bytes.byte() % part.size()] = bytes.wild();
        }
    }
    VectorView keep(std::vector<double> values) {
        values.shrink_to_fit();
        return arrays_.emplace_back(std::move(values));
    }
    MatrixView matrix(const std::vector<double>& columns,
                      std::size_t rows,
                      std::size_t cols,
                      Bytes& bytes,
                      Matrix& told) {
        if (columns.empty()) {
            return rows == cols ? MatrixView() : MatrixView(VectorView(), rows, cols);
        }
        const bool isByColumns = !bytes.oneIn(2);
        const std::size_t inner = isByColumns ? rows : cols;
        const std::size_t outer = isByColumns ? cols : rows;
        const std::size_t leading = inner + (bytes.oneIn(3) ? 1 + bytes.below(3) : 0);
        std::vector<double> values((outer - 1) * leading + inner, std::nan(""));
        for (std::size_t i = 0; i < rows; ++i) {
            for (std::size_t j = 0; j < cols; ++j) {
                values[isByColumns ? j * leading + i : i * leading + j] = columns[j * rows + i];
            }
        }
        told.data = keep(std::move(values)).data();
        told.leading = leading == inner && bytes.oneIn(2) ? 0 : static_cast<std::int64_t>(leading);
        told.order = isByColumns ? ACTIVESET_COLUMN_MAJOR : ACTIVESET_ROW_MAJOR;
        return {told.data, rows, cols, leading, isByColumns ? Order::ColumnMajor : Order::RowMajor};
    }

    std::list<std::vector<double>> arrays_{};
};

/// What it costs to miss the sides of rows, or bounds: mostly sound, each part perhaps absent.
class Prices {
public:
    Prices(std::size_t count, Bytes& bytes) {
        activeset_penalty_init(&told);
        told.lower_linear = part(count, true, bytes, view.lowerLinear);
        told.upper_linear = part(count, true, bytes, view.upperLinear);
        told.lower_quadratic = part(count, false, bytes, view.lowerQuadratic);
        told.upper_quadratic = part(count, false, bytes, view.upperQuadratic);
    }

    activeset_penalty told{};
    Penalty view{};

private:
    const double* part(std::size_t count, bool isLinear, Bytes& bytes, VectorView& seen) {
        if (bytes.oneIn(2)) {
            return nullptr;
        }
        std::vector<double> values(count);
        for (double& value : values) {
            const bool isHard = isLinear && bytes.oneIn(3);
            value = bytes.oneIn(32) ? bytes.wild() : isHard ? Infinity : std::abs(bytes.small());
        }
        seen = arrays_.emplace_back(std::move(values));
        return seen.data();
    }

    std::list<std::vector<double>> arrays_{};
};

}  // namespace activeset::fuzz

#endif
