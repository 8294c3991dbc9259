// Reads problems from files, and writes them for other programs.
#ifndef ACTIVESET_BENCHMARKS_PROBLEM_FILE_HPP
#define ACTIVESET_BENCHMARKS_PROBLEM_FILE_HPP

#include <filesystem>
#include <string>
#include <vector>

#include "benchmarks/families.hpp"

namespace activeset::bench {

/// Reads a problem file. The start is the point of its box that is nearest to zero. The constant of
/// the objective is dropped.
/// @raises io::ReadError
[[nodiscard]] Problem problemIn(const std::string& path);

/// Writes each problem as FOLDER/0.bin, 1.bin, …: n, mIneq, mEq, H, c, A, b, Aeq, beq, lb, ub, all
/// as native doubles, matrices by columns. Creates the folder if necessary.
/// @raises std::runtime_error if a file cannot be written
void writeProblems(const std::vector<Problem>& problems, const std::filesystem::path& folder);

}  // namespace activeset::bench

#endif
