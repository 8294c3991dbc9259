// Problems from files, and to files for other programs.
#ifndef ACTIVESET_BENCHMARKS_PROBLEM_FILE_HPP
#define ACTIVESET_BENCHMARKS_PROBLEM_FILE_HPP

#include <filesystem>
#include <string>
#include <vector>

#include "benchmarks/families.hpp"

namespace activeset::bench {

/// A problem file, to be solved from zero or the point of its box that is nearest to zero. The
/// constant of its objective is left out.
/// @raises io::ReadError
[[nodiscard]] Problem problemIn(const std::string& path);

/// Each problem as FOLDER/0.bin, 1.bin, …: n, mIneq, mEq and H, c, A, b, Aeq, beq, lb, ub, all as
/// native doubles, matrices by columns. Makes the folder where there is none.
/// @raises std::runtime_error if a file cannot be written
void writeProblems(const std::vector<Problem>& problems, const std::filesystem::path& folder);

}  // namespace activeset::bench

#endif
