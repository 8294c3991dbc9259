// Calls of the entry function: 17 arrays in, 8 out, compared bit for bit.
#ifndef ACTIVESET_TESTS_SOLVE_CALL_HPP
#define ACTIVESET_TESTS_SOLVE_CALL_HPP

#include <array>
#include <bit>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "activeset/driver.hpp"
#include "activeset/sizes.hpp"
#include "support/build.hpp"

namespace activeset::test {

/// Positions of the inputs in the signature.
struct Input {
    enum : size_t {
        H,
        c,
        A,
        b,
        Aeq,
        beq,
        lb,
        ub,
        x0,
        Wineq,
        Wlower,
        Wupper,
        MaxIter,
        TolCon,
        TolFun,
        TolX,
        Display
    };
};

using Inputs = std::array<const vxArray*, 17>;
using Outputs = std::array<vxArray*, 8>;
using Numbers = std::vector<double>;

inline std::vector<std::uint64_t> bits(const Numbers& numbers) {
    std::vector<std::uint64_t> result;
    for (const double number : numbers) {
        result.push_back(std::bit_cast<std::uint64_t>(number));
    }
    return result;
}

/// The results of a call. Two are equal if all bits are.
struct Result {
    Numbers x;
    double f = NaN;
    Numbers lambda;
    std::array<Numbers, 4> lists;  // equalities, inequalities, lower bounds, upper bounds
    int state = ASQP::Undecided;

    [[nodiscard]] std::vector<std::vector<std::uint64_t>> allBits() const {
        return {bits(x),        bits({f}),      bits(lambda),   bits(lists[0]),
                bits(lists[1]), bits(lists[2]), bits(lists[3]), bits({static_cast<double>(state)})};
    }
    friend bool operator==(const Result& p, const Result& q) { return p.allBits() == q.allBits(); }
};

struct Limits {
    int maxIter = 1000;
    double tolCon = 1e-6;
    double tolX = 1e-8;
};

/// The arrays of a call; they belong to the open scope.
inline Inputs inputsOf(const Problem& problem, const Limits& limits = {}) {
    const size_t n = problem.n();
    return {array(problem.H, n),
            column(problem.c),
            array(problem.A, n),
            column(problem.b),
            array(problem.Aeq, n),
            column(problem.beq),
            column(problem.lower()),
            column(problem.upper()),
            column(problem.start()),
            column(problem.Wineq),
            column(problem.Wlower),
            column(problem.Wupper),
            vxCreateDoubleScalar(limits.maxIter),
            vxCreateDoubleScalar(limits.tolCon),
            vxCreateDoubleScalar(1e-6),
            vxCreateDoubleScalar(limits.tolX),
            vxCreateCharArray("off")};
}

inline int invoke(const Inputs& in, Outputs& out) {
    std::array<vxArray**, 8> targets{};
    for (size_t i = 0; i < out.size(); ++i) {
        targets[i] = &out[i];
    }
    return std::apply([](auto... all) { return NullSpaceASdriver(all...); },
                      std::tuple_cat(in, targets));
}

inline Result resultOf(const Outputs& out) {
    return {values(out[0]),
            values(out[1]).at(0),
            values(out[2]),
            {values(out[3]), values(out[4]), values(out[5]), values(out[6])},
            static_cast<int>(values(out[7]).at(0))};
}

inline Result solve(const Inputs& in) {
    Outputs out{};
    invoke(in, out);
    return resultOf(out);
}

inline Result solve(const Problem& problem, const Limits& limits = {}) {
    const CallScope scope;
    return solve(inputsOf(problem, limits));
}

/// Everything that an array consists of, to show whether it was written to.
struct Snapshot {
    explicit Snapshot(const vxArray* array) {
        if (array == nullptr) {
            return;
        }
        const size_t stored =
            vxIsSparse(array) ? vxGetEntryCapacity(array) : vxGetNumberOfElements(array);
        const std::array<size_t, 5> sizes{8, 4, 1, 4, 1};  // in the order of vxClass
        const size_t bytes = stored * sizes.at(static_cast<size_t>(vxGetClass(array)));
        text = std::to_string(vxGetM(array)) + "x" + std::to_string(vxGetN(array)) +
               (vxIsPersistent(array) ? " persistent" : "");
        for (const void* data : {vxGetData(array), vxGetImaginaryData(array)}) {
            if (data != nullptr) {
                text.append(static_cast<const char*>(data), bytes);
            }
        }
    }
    std::string text;
};

inline std::vector<std::string> snapshots(const Inputs& in) {
    std::vector<std::string> result;
    for (const vxArray* array : in) {
        result.push_back(Snapshot(array).text);
    }
    return result;
}

/// All the counts that the library keeps between calls.
inline std::vector<size_t> counts() {
    return {OPTsizes::getnVar(),     OPTsizes::getmConstr(), OPTsizes::getmIneq(),
            OPTsizes::getmEq(),      OPTsizes::getnEq(),     OPTsizes::getmFixed(),
            OPTsizes::getmLB(),      OPTsizes::getmUB(),     ActiveSet::getmaConstr(),
            ActiveSet::getmaFixed(), ActiveSet::getmaEq(),   ActiveSet::getmaIneq(),
            ActiveSet::getmaLB(),    ActiveSet::getmaUB()};
}

}  // namespace activeset::test

#endif
