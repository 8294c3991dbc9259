// The prices of soft sides in archives: members soft_h_linear, soft_h_quadratic and the like.
#ifndef ACTIVESET_IO_NPZ_PENALTIES_HPP
#define ACTIVESET_IO_NPZ_PENALTIES_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "io/model.hpp"
#include "io/npz_members.hpp"

namespace activeset::io {

/// Whether a member of that name has penalties.
[[nodiscard]] bool isPenaltyMember(std::string_view name);

/// Sets the penalties of the model, whose rows are inequalities, then equalities. A single number
/// is the penalty of all sides of its kind.
/// @raises ReadError that names the member: other sizes, what is no penalty, no such sides
void readPenalties(const NpzMembers& members,
                   std::size_t inequalities,
                   std::size_t equalities,
                   Model& model);

/// Numbers with the name of their member, without suffix.
struct NamedNumbers {
    std::string name;
    std::vector<double> values;
};

/// The members that readPenalties makes the same prices of; none where all sides are hard.
/// @param inequalities, equalities  the rows, in the order of the archive. An equality costs the
///                                  same on both sides.
[[nodiscard]] std::vector<NamedNumbers> penaltyMembers(const Model& model,
                                                       const std::vector<std::size_t>& inequalities,
                                                       const std::vector<std::size_t>& equalities);

}  // namespace activeset::io

#endif
