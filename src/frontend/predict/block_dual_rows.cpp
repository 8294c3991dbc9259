// Contradictions that the block dual method sees before it ends with one.
#include <algorithm>
#include <cmath>

#include "frontend/predict/block_dual.hpp"
#include "frontend/proof/farkas.hpp"
#include "host/blas.hpp"

namespace activeset::frontend {

// Long before members contradict a newcomer, the multipliers of rows grow. The largest one may
// contradict the bounds alone; all together are asked where it has doubled.
bool BlockDual::doRowsContradict() {
    const auto rows = lambda_.begin() + static_cast<std::ptrdiff_t>(data_.m);
    const auto most = std::max_element(
        lambda_.begin(), rows, [](double a, double b) { return std::abs(a) < std::abs(b); });
    if (most == rows || *most == 0.0) {
        return false;
    }
    const auto i = static_cast<std::size_t>(most - lambda_.begin());
    Vector y(data_.m, 0.0);
    Vector pulled(data_.n);
    y[i] = *most;
    for (std::size_t j = 0; j < data_.n; ++j) {
        pulled[j] = *most * data_.columnOfA(j)[i];
    }
    if (doContradict(y, pulled)) {
        return true;
    }
    if (!(std::abs(*most) > 2.0 * asked_)) {
        return false;
    }
    asked_ = std::abs(*most);
    std::copy(lambda_.begin(), rows, y.begin());
    blas::gemv(Op::Transpose, 1.0, ConstBlock(data_.A.data(), data_.m, data_.n), y.data(), 0.0,
               pulled.data());
    return doContradict(y, pulled);
}

bool BlockDual::doContradict(const Vector& y, const Vector& pulled) {
    if (!seemToContradict(constraintsOf(data_), y.data(), pulled.data()) ||
        !holdsFar(judgeFarkas(data_, y))) {
        return false;
    }
    contradiction_ = {{}, y, Vector(data_.n, 0.0)};
    return true;
}

}  // namespace activeset::frontend
