#include "array_bench.hpp"

#include <array>
#include <cmath>
#include <cstdint>
#include <optional>

#include "array_plan.hpp"
#include "judge.hpp"

namespace activeset::fuzz {

namespace {

using Handle = std::unique_ptr<vxArray, decltype(&vxDestroyArray)>;

Handle owned(vxArray* array) {
    return {array, &vxDestroyArray};
}

ArrayPlan decodeArray(Bytes& bytes) {
    ArrayPlan plan{.rows = bytes.below(6), .cols = bytes.below(6)};
    plan.storage = static_cast<Storage>(bytes.below(6));
    plan.elementClass = bytes.oneIn(4) ? static_cast<vxClass>(bytes.below(5)) : vxClass::Double;
    plan.structureSeed = static_cast<std::uint32_t>(bytes.word());
    plan.values.resize(plan.rows * plan.cols);
    for (double& value : plan.values) {
        value = bytes.oneIn(16) ? bytes.wild() : bytes.small();
    }
    return plan;
}

bool isSame(double p, double q) {
    return p == q || (std::isnan(p) && std::isnan(q));
}

// Whatever the structure says, there is one answer for each element, and the transposed array gives
// the same one.
void judgeReading(const vxArray* array) {
    require(!vxDescribe(array).empty(), "no description");
    const Handle copy = owned(vxCreateDeepCopy(array));
    require(contentOf(copy.get()) == contentOf(array), "a copy differs");
    const Handle transposed = owned(vxTranspose(array));
    require(vxGetM(transposed.get()) == vxGetN(array) && vxGetN(transposed.get()) == vxGetM(array),
            "a transposed array of another shape");
    for (std::size_t j = 0; j < vxGetN(array); ++j) {
        for (std::size_t i = 0; i < vxGetM(array); ++i) {
            require(isSame(vxGetElement(array, i, j), vxGetElement(transposed.get(), j, i)),
                    "a transposed element differs");
        }
    }
}

// Numbers of a sound product, to rounding; a broken structure only has to be survived.
void judgeProduct(const vxArray* a, const vxArray* b, bool isSound) {
    const Handle product = owned(vxCreateDoubleMatrix(vxGetM(a), vxGetN(b), vxComplexity::Real));
    vxMatrixMultiply(product.get(), a, b);
    for (std::size_t j = 0; isSound && j < vxGetN(b); ++j) {
        for (std::size_t i = 0; i < vxGetM(a); ++i) {
            double sum = 0.0;
            double size = 0.0;
            for (std::size_t k = 0; k < vxGetN(a); ++k) {
                const double term = vxGetElement(a, i, k) * vxGetElement(b, k, j);
                sum += term;
                size += std::abs(term);
            }
            const double error = std::abs(vxGetElement(product.get(), i, j) - sum);
            require(!(size < 1e300) || error <= 1e-14 * size + 1e-300, "another product");
        }
    }
}

void reshape(Bytes& bytes, vxArray* array) {
    const std::size_t extent = bytes.oneIn(4) ? ~std::size_t{0} - bytes.below(4) : bytes.below(8);
    if (bytes.oneIn(2)) {
        vxSetM(array, extent);
    } else {
        vxSetN(array, extent);
    }
}

void tryOne(Bytes& bytes, const LiveArray& a, const LiveArray& b, bool isSound) {
    switch (bytes.below(4)) {
        case 0:
            judgeReading(a.get());
            break;
        case 1:
            judgeProduct(a.get(), b.get(), isSound);
            break;
        case 2: {
            const Handle copy = owned(vxCreateDeepCopy(a.get()));
            for (int changes = 0; changes < 4; ++changes) {
                reshape(bytes, copy.get());
                if (vxGetNumberOfElements(copy.get()) != 0) {
                    judgeReading(copy.get());
                }
            }
            break;
        }
        default: {
            const Handle copy = owned(vxCreateDeepCopy(a.get()));
            std::array<double, 16> buffer{};
            vxSetData(copy.get(), buffer.data(), bytes.below(3) * sizeof(buffer) / 16);
            judgeReading(copy.get());
            break;
        }
    }
}

}  // namespace

void tryArrays(Bytes& bytes) {
    const ArrayPlan first = decodeArray(bytes);
    const ArrayPlan second = decodeArray(bytes);
    const bool isSound =
        first.storage != Storage::BrokenSparse && second.storage != Storage::BrokenSparse;
    const LiveArray a(first);
    const LiveArray b(second);
    for (int operations = 0; !bytes.isEmpty() && operations < 50; ++operations) {
        const LeakCheck leaks;
        std::optional<AllocationFaults> faults;
        if (bytes.oneIn(8)) {
            faults.emplace(bytes.below(8) + 1);
        }
        try {
            tryOne(bytes, a, b, isSound);
        } catch (const HostError& error) {
            const bool isOutOfMemory = error.identifier() == OutOfMemoryIdentifier;
            if (error.identifier() != ArrayErrorIdentifier && !(isOutOfMemory && faults)) {
                condemnError(error);
            }
        }
        leaks.judge();
    }
}

}  // namespace activeset::fuzz
