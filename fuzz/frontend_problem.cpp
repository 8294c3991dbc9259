#include "frontend_problem.hpp"

#include <array>
#include <chrono>
#include <limits>

namespace activeset::fuzz {

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

std::vector<double> valuesOf(const VectorView& view) {
    return view.empty() ? std::vector<double>()
                        : std::vector<double>(view.data(), view.data() + view.size());
}

}  // namespace

VectorView ViewedProblem::keep(std::vector<double> values) {
    values.shrink_to_fit();
    return arrays_.emplace_back(std::move(values));
}

// The gaps between columns or rows hold NaN, so that reading them shows in the result.
MatrixView ViewedProblem::keep(const std::vector<double>& columns,
                               std::size_t rows,
                               std::size_t cols,
                               Bytes& bytes) {
    if (columns.empty()) {
        return {};
    }
    const Order order = bytes.oneIn(2) ? Order::RowMajor : Order::ColumnMajor;
    const bool isByColumns = order == Order::ColumnMajor;
    const std::size_t gap = bytes.oneIn(3) ? 1 + bytes.below(3) : 0;
    const std::size_t inner = (isByColumns ? rows : cols);
    const std::size_t outer = (isByColumns ? cols : rows);
    std::vector<double> values((outer - 1) * (inner + gap) + inner, NaN);
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::size_t j = 0; j < cols; ++j) {
            values[isByColumns ? j * (inner + gap) + i : i * (inner + gap) + j] =
                columns[j * rows + i];
        }
    }
    const VectorView kept = keep(std::move(values));
    return gap == 0 && bytes.oneIn(2) ? MatrixView(kept, rows, cols, order)
                                      : MatrixView(kept.data(), rows, cols, inner + gap, order);
}

ViewedProblem::ViewedProblem(const test::StyledCase& styled, Bytes& bytes)
    : sample_(styled.sample) {
    const test::Sample& s = sample_;
    problem_.H = keep(s.H, s.n, s.n, bytes);
    problem_.A = keep(s.A, s.m, s.n, bytes);
    problem_.c = keep(s.c);
    problem_.rowLower = keep(s.rowLower);
    problem_.rowUpper = keep(s.rowUpper);
    problem_.lower = keep(s.lower);
    problem_.upper = keep(s.upper);
    problem_.start = keep(s.start);
    if (styled.warmStart) {
        warmStart_ = *styled.warmStart;
        problem_.warmStart = &warmStart_;
    }
}

MatrixView ViewedProblem::damaged(std::vector<double> values,
                                  std::size_t rows,
                                  std::size_t cols,
                                  Bytes& bytes) {
    switch (bytes.below(6)) {
        case 0:
            return {};
        case 1:  // fewer elements than the view claims
            if (!values.empty()) {
                values.resize(bytes.byte() % values.size());
            }
            return {keep(values), rows, cols};
        case 2: {  // huge sizes
            constexpr std::size_t Most = std::numeric_limits<std::size_t>::max();
            const std::array sizes{Most, Most / 2, std::size_t{1} << 62U, std::size_t{1} << 32U};
            return {keep(values), bytes.oneIn(2) ? rows : sizes.at(bytes.below(4)),
                    sizes.at(bytes.below(4))};
        }
        case 3:
            return MatrixView(nullptr, bytes.below(3), bytes.below(3), bytes.below(6));
        case 4:  // another shape
            values.resize((rows + 1) * (cols + 1), 1.0);
            return {keep(values), rows + bytes.below(2), cols + bytes.below(2)};
        default:
            if (!values.empty()) {
                values[bytes.byte() % values.size()] = bytes.wild();
            }
            return keep(values, rows, cols, bytes);
    }
}

void ViewedProblem::damage(Bytes& bytes) {
    const std::array vectors{&problem_.c,     &problem_.rowLower, &problem_.rowUpper,
                             &problem_.lower, &problem_.upper,    &problem_.start};
    switch (bytes.below(10)) {
        case 0:
            problem_.H = damaged(sample_.H, sample_.n, sample_.n, bytes);
            break;
        case 1:
            problem_.A = damaged(sample_.A, sample_.m, sample_.n, bytes);
            break;
        case 2:
            problem_.constant = bytes.wild();
            break;
        case 3:
            warmStart_ = anyWarmStart(bytes, problem_.c.size(), problem_.A.rows());
            problem_.warmStart = &warmStart_;
            break;
        case 4: {
            VectorView& vector = *vectors.at(bytes.below(vectors.size()));
            std::vector<double> values = valuesOf(vector);
            values.resize(values.size() + bytes.below(3), bytes.wild());
            values.resize(values.size() - bytes.below(3) % (values.size() + 1));
            vector = keep(values);
            break;
        }
        case 5:
            *vectors.at(bytes.below(vectors.size())) = {};
            break;
        default: {
            VectorView& vector = *vectors.at(bytes.below(vectors.size()));
            std::vector<double> values = valuesOf(vector);
            if (!values.empty()) {
                values[bytes.byte() % values.size()] = bytes.wild();
            }
            vector = keep(values);
        }
    }
}

Settings settingsOf(Bytes& bytes) {
    Settings settings;
    constexpr std::array Tolerances{1e-9,   1e-6, 1e-12, 1e-15, 1e-3, 1.0,
                                    1e-300, 0.0,  -1.0,  2.0,   NaN};
    settings.tolerance = Tolerances.at(bytes.oneIn(4) ? bytes.below(Tolerances.size()) : 0);
    constexpr std::array Starts{Start::Automatic, Start::Predict, Start::Cold};
    settings.startMode = Starts.at(bytes.below(3));
    settings.maxIterations = bytes.oneIn(4) ? bytes.below(20) : 0;
    constexpr std::array Limits{0.0, 1e-5, 1e-3, 1e300, -1.0, NaN};
    if (bytes.oneIn(8)) {
        settings.timeLimit = std::chrono::duration<double>(Limits.at(bytes.below(Limits.size())));
    }
    if (bytes.oneIn(16)) {
        std::stop_source source;
        source.request_stop();
        settings.stop = source.get_token();
    }
    return settings;
}

bool areSound(const Settings& settings) {
    return settings.tolerance > 0.0 && settings.tolerance <= 1.0 &&
           settings.timeLimit.count() >= 0.0;
}

WarmStart anyWarmStart(Bytes& bytes, std::size_t n, std::size_t m) {
    WarmStart start;
    for (std::size_t k = bytes.oneIn(4) ? bytes.below(10) : n; k > 0; --k) {
        start.x.push_back(bytes.oneIn(3) ? bytes.wild() : bytes.small());
    }
    for (auto* list : {&start.workingSet.equalities, &start.workingSet.rowsAtLower,
                       &start.workingSet.rowsAtUpper, &start.workingSet.atLower,
                       &start.workingSet.atUpper, &start.workingSet.fixed}) {
        for (std::size_t k = bytes.below(4); k > 0; --k) {
            list->push_back(bytes.oneIn(8) ? ~std::size_t{0} - bytes.below(3)
                                           : bytes.byte() % (n + m + 2));
        }
    }
    return start;
}

}  // namespace activeset::fuzz
