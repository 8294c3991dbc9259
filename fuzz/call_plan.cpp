#include "call_plan.hpp"

#include <algorithm>
#include <limits>

namespace activeset::fuzz {

namespace {

constexpr double Inf = std::numeric_limits<double>::infinity();

/// The problem that is decoded, with the point that is to satisfy its constraints.
struct Draft {
    Bytes& bytes;
    CallPlan& plan;
    std::size_t n;
    std::vector<double> point;

    [[nodiscard]] double timesPoint(const ArrayPlan& rows, std::size_t i) const {
        double sum = 0.0;
        for (std::size_t j = 0; j < n; ++j) {
            sum += rows.at(i, j) * point[j];
        }
        return sum;
    }
};

ArrayPlan matrixPlan(std::size_t rows, std::size_t cols) {
    return {.rows = rows, .cols = cols, .values = std::vector<double>(rows * cols)};
}

void decodeObjective(Draft& draft) {
    enum Kind { Definite, Semidefinite, Diagonal, Zero, Symmetric, Arbitrary, Count };
    Bytes& bytes = draft.bytes;
    const std::size_t n = draft.n;
    constexpr std::array<Kind, 8> Kinds{Definite, Definite, Definite,  Semidefinite,
                                        Diagonal, Zero,     Symmetric, Arbitrary};
    const Kind kind = Kinds.at(bytes.below(Kinds.size()));
    ArrayPlan H = matrixPlan(n, n);
    const auto entry = [&](std::size_t i, std::size_t j) -> double& { return H.values[j * n + i]; };
    if (kind == Definite || kind == Semidefinite) {
        const std::size_t rank = n == 0 ? 0 : bytes.below(n + 1);
        std::vector<double> column(n);
        for (std::size_t k = 0; k < rank; ++k) {
            std::generate(column.begin(), column.end(), [&] { return bytes.small(); });
            for (std::size_t j = 0; j < n; ++j) {
                for (std::size_t i = 0; i < n; ++i) {
                    entry(i, j) += column[i] * column[j];
                }
            }
        }
        for (std::size_t i = 0; i < n; ++i) {
            entry(i, i) += kind == Definite ? 1.0 : 0.0;
        }
    } else if (kind != Zero) {
        for (std::size_t j = 0; j < n; ++j) {
            for (std::size_t i = 0; i <= j; ++i) {
                entry(i, j) = i == j || kind != Diagonal ? bytes.small() : 0.0;
                entry(j, i) = i != j && kind == Arbitrary ? bytes.small() : entry(i, j);
            }
        }
    }
    draft.plan.isStrictlyConvex = kind == Definite;
    draft.plan.in[Input::H] = H;
    draft.plan.in[Input::c] = columnPlan(std::vector<double>(n));
    for (double& value : draft.plan.in[Input::c].values) {
        value = bytes.small();
    }
}

/// Rows of small numbers; one in eight repeats an earlier one, perhaps with the sign turned.
ArrayPlan decodeRows(Draft& draft, std::size_t m) {
    Bytes& bytes = draft.bytes;
    ArrayPlan rows = matrixPlan(m, draft.n);
    for (std::size_t i = 0; i < m; ++i) {
        const bool repeats = i > 0 && bytes.oneIn(8);
        const std::size_t source = repeats ? bytes.below(i) : 0;
        const double sign = repeats && bytes.oneIn(2) ? -1.0 : 1.0;
        for (std::size_t j = 0; j < draft.n; ++j) {
            rows.values[j * m + i] = repeats ? sign * rows.at(source, j) : bytes.small();
        }
    }
    return rows;
}

/// Right-hand sides that the point satisfies, about half of them exactly.
ArrayPlan decodeSides(Draft& draft, const ArrayPlan& rows, bool isEquality, bool feasible) {
    ArrayPlan sides = columnPlan(std::vector<double>(rows.rows));
    for (std::size_t i = 0; i < rows.rows; ++i) {
        const double slack = feasible && isEquality ? 0.0 : draft.bytes.small();
        sides.values[i] =
            draft.timesPoint(rows, i) + (feasible ? std::max(slack, 0.0) : slack - 2.0);
    }
    return sides;
}

void decodeBounds(Draft& draft, bool feasible) {
    std::vector<double> lower(draft.n, -Inf);
    std::vector<double> upper(draft.n, Inf);
    for (std::size_t j = 0; j < draft.n; ++j) {
        const double at = draft.point[j];
        const std::size_t kind = draft.bytes.below(8);
        const double room = std::max(draft.bytes.small(), feasible ? 0.0 : -1.0);
        if (kind == 1 || kind >= 4) {
            lower[j] = at - room;
        }
        if (kind == 2 || kind >= 5) {
            upper[j] = at + (kind == 7 ? -room : room);
        }
        if (feasible) {
            upper[j] = std::max(upper[j], at);
            lower[j] = std::min(lower[j], at);
        }
    }
    draft.plan.in[Input::lb] = columnPlan(lower);
    draft.plan.in[Input::ub] = columnPlan(upper);
}

/// Up to six indices of existing constraints.
ArrayPlan decodeList(Draft& draft, std::size_t count, const std::vector<double>& limits) {
    std::vector<double> list;
    if (draft.bytes.oneIn(3)) {
        const std::size_t length = draft.bytes.below(7);
        for (std::size_t k = 0; k < length && list.size() < count; ++k) {
            const std::size_t index = draft.bytes.below(count);
            if (limits.empty() || std::abs(limits[index]) != Inf) {
                list.push_back(static_cast<double>(index + 1));
            }
        }
    }
    // Longer than its kind is an error: repeated entries may make it so.
    const auto finite = static_cast<std::size_t>(std::count_if(
        limits.begin(), limits.end(), [](double limit) { return std::abs(limit) != Inf; }));
    list.resize(std::min(list.size(), limits.empty() ? count : finite));
    return columnPlan(list);
}

void decodeOptions(Bytes& bytes, CallPlan& plan) {
    constexpr std::array<const char*, 8> Displays{"off",     "off",   "off", "iter",
                                                  "testing", "final", "",    "Iter"};
    constexpr std::array<double, 8> Limits{200, 200, 200, 100, 255, 20, 3, 0};
    constexpr std::array<double, 4> Tolerances{1e-8, 1e-8, 1e-8, 1e-6};
    const std::size_t limit = bytes.below(Limits.size());
    const std::size_t tolerance = bytes.below(Tolerances.size());
    plan.in[Input::MaxIter] = columnPlan({Limits.at(limit)});
    plan.in[Input::TolCon] = columnPlan({1e-6});
    plan.in[Input::TolFun] = columnPlan({1e-6});
    plan.in[Input::TolX] = columnPlan({Tolerances.at(tolerance)});
    plan.in[Input::Display] = textPlan(Displays.at(bytes.below(Displays.size())));
}

/// Makes one array unusual in one way.
void damage(Bytes& bytes, ArrayPlan& array) {
    // What may stand in an array without elements; no host could give a buffer for the last ones.
    constexpr std::array<std::size_t, 6> Heights{0,
                                                 1,
                                                 5,
                                                 std::size_t{1} << 44U,
                                                 std::size_t{1} << 63U,
                                                 std::numeric_limits<std::size_t>::max()};
    const std::size_t place = array.values.empty() ? 0 : bytes.below(array.values.size());
    switch (bytes.below(16)) {
        case 0:
        case 1:
        case 2:
            if (!array.values.empty()) {
                array.values[place] = bytes.wild();
            }
            break;
        case 3:
            for (double& value : array.values) {
                value = bytes.wild();
            }
            break;
        case 4:
            array.elementClass = static_cast<vxClass>(bytes.below(5));
            break;
        case 5:
            array.storage = static_cast<Storage>(bytes.below(6));
            array.structureSeed = static_cast<std::uint32_t>(bytes.word());
            break;
        case 6:
            array.isNull = true;
            break;
        case 7:
            if (!isImmense(array)) {
                array.reshape(array.rows + bytes.below(4), array.cols + bytes.below(2));
            }
            break;
        case 8:
            if (!isImmense(array)) {
                array.reshape(array.rows - std::min(array.rows, bytes.below(3)),
                              array.cols - std::min(array.cols, bytes.below(3)));
            }
            break;
        case 9:
            std::swap(array.rows, array.cols);
            break;
        case 10:
            array.values.clear();
            array.rows = Heights.at(bytes.below(Heights.size()));
            array.cols = 0;
            if (bytes.oneIn(2)) {
                std::swap(array.rows, array.cols);
            }
            break;
        case 11: {
            const double factor = bytes.wild();
            for (double& value : array.values) {
                value *= factor;
            }
            break;
        }
        case 12:  // a repeated element, which is a repeated index in a list
            if (!array.values.empty()) {
                array.values[bytes.below(array.values.size())] = array.values[place];
            }
            break;
        case 13:  // a list as long as can be
            array = columnPlan(std::vector<double>(bytes.below(14), array.at(0, 0)));
            for (double& value : array.values) {
                value = static_cast<double>(bytes.below(14));
            }
            break;
        case 14:
            if (!array.values.empty()) {
                array.values[place] += static_cast<double>(bytes.below(256)) * 0x1p-40;
            }
            break;
        case 15:  // as another array
            array = columnPlan({bytes.small(), bytes.wild(), bytes.small()});
            break;
        default:
            break;
    }
}

/// One solve must not last: there is no other limit for a path that turns in circles.
void capIterations(ArrayPlan& maxIter) {
    for (double& value : maxIter.values) {
        value = std::min(value, 255.0);
    }
}

}  // namespace

CallPlan decodeCall(Bytes& bytes) {
    CallPlan plan;
    const std::size_t n = bytes.below(13);
    const std::size_t mIneq = bytes.below(13);
    const std::size_t mEq = bytes.oneIn(2) ? bytes.below(std::min<std::size_t>(n, 11) + 2) : 0;
    const std::uint8_t flags = bytes.byte();
    plan.isSound = true;
    plan.isFeasible = (flags & 3U) != 3;
    plan.hasScope = (flags & 4U) != 0;
    plan.repeat = (flags & 24U) == 24;
    plan.interrupt = (flags & 224U) == 224;
    Draft draft{bytes, plan, n, std::vector<double>(n)};
    for (double& value : draft.point) {
        value = bytes.small();
    }
    decodeObjective(draft);
    plan.in[Input::A] = decodeRows(draft, mIneq);
    plan.in[Input::b] = decodeSides(draft, plan.in[Input::A], false, plan.isFeasible);
    plan.in[Input::Aeq] = decodeRows(draft, mEq);
    plan.in[Input::beq] = decodeSides(draft, plan.in[Input::Aeq], true, plan.isFeasible);
    decodeBounds(draft, plan.isFeasible);
    plan.in[Input::x0] = columnPlan(draft.point);
    if (!bytes.oneIn(4)) {
        for (double& value : plan.in[Input::x0].values) {
            value = 4.0 * bytes.small();
        }
    }
    plan.in[Input::Wineq] = decodeList(draft, mIneq, {});
    plan.in[Input::Wlower] = decodeList(draft, n, plan.in[Input::lb].values);
    plan.in[Input::Wupper] = decodeList(draft, n, plan.in[Input::ub].values);
    decodeOptions(bytes, plan);
    if (bytes.oneIn(4)) {
        plan.failAt = bytes.word() % 1024 + 1;
        plan.failures = bytes.oneIn(2) ? bytes.below(256) + 1 : 1;
    }
    plan.outMask = bytes.oneIn(8) ? bytes.byte() : std::uint8_t{0};
    const std::size_t damages = bytes.below(6);
    for (std::size_t k = 0; k < damages && k < 4; ++k) {
        damage(bytes, plan.in.at(bytes.below(Input::Count)));
        plan.isSound = plan.isFeasible = plan.isStrictlyConvex = false;
    }
    // Without variables the tolerance for consistent equalities, a multiple of n, is zero: then
    // even 0 = 0 is refused.
    plan.isFeasible = plan.isFeasible && n > 0;
    capIterations(plan.in[Input::MaxIter]);
    return plan;
}

}  // namespace activeset::fuzz
