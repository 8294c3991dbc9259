#include "entry_call.hpp"

#include <algorithm>
#include <cmath>
#include <span>

namespace activeset::fuzz {

namespace {

using test::Inf;
using test::Numbers;
using test::Rows;

constexpr std::size_t Immense = 1000;

Numbers smallNumbers(Bytes& bytes, std::size_t count, double factor = 1.0) {
    Numbers numbers(count);
    std::generate(numbers.begin(), numbers.end(), [&] { return factor * bytes.small(); });
    return numbers;
}

void decodeObjective(Bytes& bytes, EntryCall& call, std::size_t n) {
    enum Kind { Definite, Semidefinite, Diagonal, Zero, Symmetric, Arbitrary };
    constexpr std::array<Kind, 8> Kinds{Definite, Definite, Definite,  Semidefinite,
                                        Diagonal, Zero,     Symmetric, Arbitrary};
    const Kind kind = Kinds.at(bytes.below(Kinds.size()));
    Rows H(n, Numbers(n));
    const bool isSquare = kind == Definite || kind == Semidefinite;
    const std::size_t rank = isSquare ? bytes.below(n + 1) : 0;
    for (std::size_t k = 0; k < rank; ++k) {
        const Numbers column = smallNumbers(bytes, n);
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t j = 0; j < n; ++j) {
                H[i][j] += column[i] * column[j];
            }
        }
    }
    for (std::size_t j = 0; j < n && kind != Zero; ++j) {
        for (std::size_t i = 0; i <= j && !isSquare; ++i) {
            H[i][j] = i == j || kind != Diagonal ? bytes.small() : 0.0;
            H[j][i] = i != j && kind == Arbitrary ? bytes.small() : H[i][j];
        }
        H[j][j] += kind == Definite ? 1.0 : 0.0;
    }
    call.isStrictlyConvex = kind == Definite;
    call.problem.H = H;
    call.problem.c = smallNumbers(bytes, n);
}

/// Makes rows of small numbers, one in eight a copy of an earlier one, perhaps with opposite signs.
/// `point` satisfies the right-hand sides, about half of them exactly, unless the problem may be
/// infeasible.
void decodeRows(Bytes& bytes, EntryCall& call, std::size_t m, const Numbers& point, bool areEqual) {
    Rows& rows = areEqual ? call.problem.Aeq : call.problem.A;
    Numbers& sides = areEqual ? call.problem.beq : call.problem.b;
    for (std::size_t i = 0; i < m; ++i) {
        Numbers row = smallNumbers(bytes, point.size());
        if (i > 0 && bytes.oneIn(8)) {
            const double sign = bytes.oneIn(2) ? -1.0 : 1.0;
            row = rows[bytes.below(i)];
            std::for_each(row.begin(), row.end(), [&](double& value) { value *= sign; });
        }
        double side = 0.0;
        for (std::size_t j = 0; j < point.size(); ++j) {
            side += row[j] * point[j];
        }
        const double slack = areEqual && call.isFeasible ? 0.0 : bytes.small();
        sides.push_back(side + (call.isFeasible ? std::max(slack, 0.0) : slack - 2.0));
        rows.push_back(row);
    }
}

void decodeBounds(Bytes& bytes, EntryCall& call, const Numbers& point) {
    for (const double at : point) {
        const std::size_t kind = bytes.below(8);
        const double room = std::max(bytes.small(), call.isFeasible ? 0.0 : -1.0);
        double lower = kind == 1 || kind >= 4 ? at - room : -Inf;
        double upper = kind == 2 || kind >= 5 ? at + (kind == 7 ? -room : room) : Inf;
        if (call.isFeasible) {
            upper = std::max(upper, at);
            lower = std::min(lower, at);
        }
        call.problem.lb.push_back(lower);
        call.problem.ub.push_back(upper);
    }
}

/// Up to six indices of existing constraints. More indices than constraints would be an error.
Numbers decodeList(Bytes& bytes, const Numbers& limits) {
    const auto finite = static_cast<std::size_t>(
        std::count_if(limits.begin(), limits.end(), [](double x) { return std::abs(x) != Inf; }));
    Numbers list;
    const std::size_t length = bytes.oneIn(3) ? bytes.below(7) : 0;
    for (std::size_t k = 0; k < length && list.size() < finite; ++k) {
        const std::size_t index = bytes.below(limits.size());
        if (std::abs(limits[index]) != Inf) {
            list.push_back(static_cast<double>(index + 1));
        }
    }
    return list;
}

/// Changes one element, or all of them, to at most `most`.
void damageElements(std::span<double> values, std::size_t action, double most, Bytes& bytes) {
    const std::size_t place = bytes.below(values.size());
    const double factor = bytes.wild();
    for (std::size_t k = 0; k < values.size(); ++k) {
        if (action == 0) {
            values[k] *= factor;
        } else if (action == 1) {
            values[k] = static_cast<double>(bytes.below(14));  // a list of any length
        } else if (k == place) {
            values[k] = action == 2   ? values[0]  // a repeated entry, which matters in a list
                        : action == 3 ? values[k] + static_cast<double>(bytes.byte()) * 0x1p-40
                                      : factor;
        }
        values[k] = std::min(values[k], most);
    }
}

/// Makes an array null or empty, or gives it another shape, class or storage.
void damageForm(AnyArray& array, std::size_t action, Bytes& bytes) {
    // Numbers of rows of an array without elements. No host could provide a buffer for the last
    // ones.
    constexpr std::array<std::size_t, 6> Heights{
        0, 1, 5, std::size_t{1} << 44U, std::size_t{1} << 63U, ~std::size_t{0}};
    const vxArray* old = array.handle.get();
    Form form{vxGetM(old), vxGetN(old), vxGetClass(old)};
    if (action == 6) {
        array.handle.reset();
        return;
    }
    if (action == 7) {
        const bool isFlat = bytes.oneIn(2);
        const std::size_t height = Heights.at(bytes.below(Heights.size()));
        array.handle.reset(
            vxCreateDoubleMatrix(isFlat ? 0 : height, isFlat ? height : 0, vxComplexity::Real));
        return;
    }
    if (action == 8) {
        std::swap(form.rows, form.cols);
    } else if (action == 9) {
        form.rows = std::max<std::size_t>(form.rows + bytes.below(6), 2) - 2;
        form.cols = std::max<std::size_t>(form.cols + bytes.below(4), 2) - 2;
    } else if (action == 10) {
        form.elementClass = static_cast<vxClass>(bytes.below(5));
    } else {
        form.elementClass = vxClass::Double;
        form.storage = static_cast<Storage>(bytes.below(6));
    }
    array = inForm(old, form, bytes);
}

}  // namespace

EntryCall decodeCall(Bytes& bytes) {
    constexpr std::array<const char*, 8> Displays{"off",     "off",   "off", "iter",
                                                  "testing", "final", "",    "Iter"};
    constexpr std::array<int, 8> MaxIters{200, 200, 200, 100, 255, 20, 3, 0};
    EntryCall call;
    test::Problem& problem = call.problem;
    const std::size_t n = bytes.below(13);
    const std::size_t mIneq = bytes.below(13);
    const std::size_t mEq = bytes.oneIn(2) ? bytes.below(std::min<std::size_t>(n, 11) + 2) : 0;
    const std::uint8_t flags = bytes.byte();
    call.isFeasible = (flags & 3U) != 3;
    call.repeat = (flags & 24U) == 24;
    call.interrupt = (flags & 224U) == 224;
    const Numbers point = smallNumbers(bytes, n);
    decodeObjective(bytes, call, n);
    decodeRows(bytes, call, mIneq, point, false);
    decodeRows(bytes, call, mEq, point, true);
    decodeBounds(bytes, call, point);
    problem.x0 = bytes.oneIn(4) ? point : smallNumbers(bytes, n, 4.0);
    problem.Wineq = decodeList(bytes, problem.b);
    problem.Wlower = decodeList(bytes, problem.lb);
    problem.Wupper = decodeList(bytes, problem.ub);
    call.limits.maxIter = MaxIters.at(bytes.below(MaxIters.size()));
    call.limits.tolX = bytes.oneIn(4) ? 1e-6 : 1e-8;
    call.display = Displays.at(bytes.below(Displays.size()));
    if (bytes.oneIn(4)) {
        call.failAt = bytes.word() % 1024 + 1;
        call.failures = bytes.oneIn(2) ? bytes.below(256) + 1 : 1;
    }
    call.outMask = bytes.oneIn(8) ? bytes.byte() : std::uint8_t{0};
    // Without variables the tolerance for consistent equalities, a multiple of n, is zero, so that
    // even 0 = 0 is refused.
    call.isFeasible = call.isFeasible && n > 0;
    return call;
}

EntryArrays::EntryArrays(const EntryCall& call) : in(test::inputsOf(call.problem, call.limits)) {
    for (std::size_t k = 0; k < in.size(); ++k) {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): this object owns it
        owned_.at(k).handle.reset(const_cast<vxArray*>(in.at(k)));
    }
    owned_[test::Input::Display].handle.reset(vxCreateCharArray(call.display));
    in[test::Input::Display] = owned_[test::Input::Display].handle.get();
}

void EntryArrays::damage(Bytes& bytes) {
    const std::size_t which = bytes.below(in.size());
    AnyArray& array = owned_.at(which);
    vxArray* old = array.handle.get();
    if (old == nullptr || vxGetM(old) > Immense || vxGetN(old) > Immense) {
        return;
    }
    const std::size_t action = bytes.below(12);
    const std::size_t count = vxIsSparse(old) ? vxGetEntryCapacity(old) : vxGetM(old) * vxGetN(old);
    if (action < 6 && count > 0 && vxGetClass(old) == vxClass::Double) {
        // A solve must end soon, and nothing else limits a path that cycles.
        const double most = which == test::Input::MaxIter ? 255.0 : test::Inf;
        damageElements({vxGetDoubles(old), count}, action, most, bytes);
        return;
    }
    damageForm(array, action, bytes);
    in.at(which) = array.handle.get();
}

std::vector<std::string> EntryArrays::contents() const {
    std::vector<std::string> all;
    std::transform(in.begin(), in.end(), std::back_inserter(all), contentOf);
    return all;
}

bool EntryArrays::hasImmense() const {
    return std::any_of(in.begin(), in.end(), [](const vxArray* array) {
        return array != nullptr && (vxGetM(array) > Immense || vxGetN(array) > Immense);
    });
}

}  // namespace activeset::fuzz
