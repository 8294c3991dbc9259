// The memory that a result of the C interface is written to, and what may be there afterwards.
#ifndef ACTIVESET_FUZZ_C_INTERFACE_ROOM_HPP
#define ACTIVESET_FUZZ_C_INTERFACE_ROOM_HPP

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <list>
#include <vector>

#include "activeset/activeset.h"
#include "activeset/qp.hpp"
#include "bytes.hpp"
#include "judge.hpp"

namespace activeset::fuzz {

/// A result with room for some of the arrays, perhaps from a program with a longer struct.
class Room {
public:
    Room(std::size_t n, std::size_t m, Bytes& bytes)
        : n_(n), m_(m), bytes_(sizeof(activeset_result) + 64, Canary) {
        activeset_result fresh;
        activeset_result_init(&fresh);
        if (bytes.oneIn(4)) {
            fresh.struct_size += 1 + bytes.below(64);
        }
        fresh.x = array(n, bytes);
        fresh.y = array(m, bytes);
        fresh.z = array(n, bytes);
        fresh.farkas_y = array(m, bytes);
        fresh.farkas_z = array(n, bytes);
        fresh.direction = array(n, bytes);
        fresh.row_sides = sides(m, bytes);
        fresh.bound_sides = sides(n, bytes);
        message_.assign(bytes.below(40), 'x');
        fresh.message = message_.empty() ? nullptr : message_.data();
        fresh.message_size = static_cast<std::int64_t>(message_.size());
        std::memcpy(bytes_.data(), &fresh, sizeof fresh);
    }

    activeset_result* get() { return reinterpret_cast<activeset_result*>(bytes_.data()); }

    void judge(const Result& expected) {
        const activeset_result& r = *get();
        require(std::all_of(bytes_.begin() + sizeof r, bytes_.end(),
                            [](std::uint8_t byte) { return byte == Canary; }),
                "members that this version does not have were written");
        require(r.status == static_cast<std::int32_t>(expected.status), "another status");
        isAs(r.x, expected.x, n_);
        isAs(r.y, expected.y, m_);
        isAs(r.z, expected.z, n_);
        isAs(r.farkas_y, expected.farkas ? expected.farkas->y : std::vector<double>(), m_);
        isAs(r.farkas_z, expected.farkas ? expected.farkas->z : std::vector<double>(), n_);
        isAs(r.direction, expected.direction, n_);
        require(expected.x.empty() || isSame(r.objective, expected.objective), "another objective");
        require(r.message == nullptr ||
                    std::memchr(r.message, 0, static_cast<std::size_t>(r.message_size)) != nullptr,
                "a text without an end");
        std::size_t held = 0;
        std::size_t missed = 0;
        for (std::size_t i = 0; r.row_sides != nullptr && i < m_; ++i) {
            const std::int8_t side = r.row_sides[i];
            held += side != ACTIVESET_FREE ? 1U : 0U;
            missed += side == ACTIVESET_BELOW_LOWER || side == ACTIVESET_ABOVE_UPPER ? 1U : 0U;
        }
        const WorkingSet& set = expected.workingSet;
        const ViolatedSides& soft = set.softViolated;
        if (soft.size() != 0 && expected.status != Status::Optimal) {
            return;  // a point without a proof may be listed at both sides of a row
        }
        require(r.row_sides == nullptr ||
                    (held - missed ==
                         set.equalities.size() + set.rowsAtLower.size() + set.rowsAtUpper.size() &&
                     missed == soft.rowsAtLower.size() + soft.rowsAtUpper.size()),
                "another working set");
    }

private:
    double* array(std::size_t size, Bytes& bytes) {
        return bytes.oneIn(5) ? nullptr : arrays_.emplace_back(size).data();
    }
    std::int8_t* sides(std::size_t size, Bytes& bytes) {
        return bytes.oneIn(5) ? nullptr : sides_.emplace_back(size).data();
    }
    static void isAs(const double* written, const std::vector<double>& expected, std::size_t size) {
        for (std::size_t i = 0; written != nullptr && i < size; ++i) {
            require(
                expected.size() == size ? isSame(written[i], expected[i]) : std::isnan(written[i]),
                "other bits than the front end's");
        }
    }

    static constexpr std::uint8_t Canary = 0xA5;

    std::size_t n_;
    std::size_t m_;
    std::vector<std::uint8_t> bytes_;
    std::list<std::vector<double>> arrays_{};
    std::list<std::vector<std::int8_t>> sides_{};
    std::vector<char> message_{};
};

}  // namespace activeset::fuzz

#endif
