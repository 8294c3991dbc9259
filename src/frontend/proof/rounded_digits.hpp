// Whether a number shows the digits that rounding leaves.
#ifndef ACTIVESET_SRC_FRONTEND_PROOF_ROUNDED_DIGITS_HPP
#define ACTIVESET_SRC_FRONTEND_PROOF_ROUNDED_DIGITS_HPP

#include <cmath>

namespace activeset::frontend {

/// Whether a number has the digits of doubles, nearly to the last: mostly it then is rounded.
[[nodiscard]] inline bool looksRounded(double number) {
    constexpr double FewDigits = 0x1p48;  // 48 binary ones
    int exponent = 0;
    const double digits = FewDigits * std::frexp(number, &exponent);
    return digits != std::trunc(digits);
}

}  // namespace activeset::frontend

#endif
