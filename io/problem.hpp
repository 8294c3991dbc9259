// A quadratic program as the solver takes it: dense matrices, one vector each.
#ifndef ACTIVESET_IO_PROBLEM_HPP
#define ACTIVESET_IO_PROBLEM_HPP

#include <cstddef>
#include <string>
#include <vector>

namespace activeset::io {

/// Something in a file that was read, but perhaps not in the sense its author had in mind.
struct Note {
    std::size_t line = 0;  ///< 1-based
    std::string text;      ///< one line, no full stop
};

/// Where an inequality of the dense form comes from.
struct InequalityOrigin {
    std::string row;     ///< the row's name in the file
    bool upper = false;  ///< its upper side, row·x ≤ value; else its lower side, negated
};

/// min ½xᵀHx + cᵀx + constant subject to A·x ≤ b, Aeq·x = beq, lb ≤ x ≤ ub.
///
/// Matrices are dense and column-major.
struct Problem {
    std::string name;
    std::size_t n = 0;      ///< variables, at least 1
    std::size_t mIneq = 0;  ///< rows of A
    std::size_t mEq = 0;    ///< rows of Aeq
    /// The file asked for a maximum: H, c and constant are those of the negated objective.
    bool maximise = false;

    std::vector<double> H;  ///< n × n, symmetric, both triangles
    std::vector<double> c;  ///< n
    double constant = 0.0;
    /// mIneq × n. One row for each finite side of an inequality row, in the order of the file;
    /// upper sides as they stand, lower sides negated, the upper side of a row first.
    std::vector<double> A;
    std::vector<double> b;    ///< mIneq
    std::vector<double> Aeq;  ///< mEq × n, in the order of the file
    std::vector<double> beq;  ///< mEq
    std::vector<double> lb;   ///< n, −infinity where there is no bound
    std::vector<double> ub;   ///< n, +infinity where there is no bound

    std::vector<std::string> variableNames;      ///< n
    std::vector<InequalityOrigin> inequalities;  ///< mIneq
    std::vector<std::string> equalityNames;      ///< mEq
    std::vector<Note> notes;                     ///< by line
};

}  // namespace activeset::io

#endif
