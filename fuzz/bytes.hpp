// Reads the bytes of a fuzzer's input as small numbers.
#ifndef ACTIVESET_FUZZ_BYTES_HPP
#define ACTIVESET_FUZZ_BYTES_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace activeset::fuzz {

/// Reads from the front. Zeros follow the end, so every input can be decoded, and a prefix of an
/// input means nearly the same.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    [[nodiscard]] bool isEmpty() const { return size_ == 0; }

    std::uint8_t byte() {
        if (size_ == 0) {
            return 0;
        }
        --size_;
        return *data_++;
    }
    /// A number of two bytes.
    std::size_t word() {
        const std::size_t low = byte();
        return low | std::size_t{byte()} << 8U;
    }
    /// A number from 0 to bound − 1; bound is at least 1 and at most 256.
    std::size_t below(std::size_t bound) { return byte() % bound; }
    /// True for one byte in `k`, never for a zero byte.
    bool oneIn(std::size_t k) { return byte() % k == k - 1; }

    /// An integer or half-integer of magnitude up to 4; zero is frequent.
    double small() {
        const int value = static_cast<int>(byte() % 32U) - 16;
        return value < -8 || value > 8 ? 0.0 : value * 0.5;
    }
    /// An awkward number, such as NaN or a subnormal one, or any eight bytes.
    double wild() {
        constexpr double Inf = std::numeric_limits<double>::infinity();
        constexpr double Max = std::numeric_limits<double>::max();
        constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
        constexpr std::array<double, 24> Table{NaN,     Inf,    -Inf,  5e-324, -5e-324, 1e-310,
                                               1e308,   -1e308, Max,   -Max,   -0.0,    1e20,
                                               -1e20,   1e-12,  -1e-9, 1e9,    0x1p63,  0x1p64,
                                               -0x1p63, 0.5,    2.75,  -1.0,   1e-160,  1e160};
        const std::size_t choice = below(Table.size() + 3);
        if (choice < Table.size()) {
            return Table.at(choice);
        }
        std::array<std::uint8_t, sizeof(double)> raw{};
        for (std::uint8_t& part : raw) {
            part = byte();
        }
        double value = 0.0;
        std::memcpy(&value, raw.data(), sizeof value);
        return value;
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
};

}  // namespace activeset::fuzz

#endif
