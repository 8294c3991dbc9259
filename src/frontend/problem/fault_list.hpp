// Faults as they are collected, and the words and numbers that their texts are made of.
#ifndef ACTIVESET_SRC_FRONTEND_PROBLEM_FAULT_LIST_HPP
#define ACTIVESET_SRC_FRONTEND_PROBLEM_FAULT_LIST_HPP

#include <string>
#include <utility>
#include <vector>

#include "frontend/problem/problem_data.hpp"

namespace activeset::frontend {

/// The fewest digits that are read as the same number again.
[[nodiscard]] std::string printed(double value);
/// "1 row", "2 rows".
[[nodiscard]] std::string counted(std::size_t count, const char* one, const char* many);
/// "name(i)"
[[nodiscard]] std::string entry(const char* name, std::size_t i);
/// The members of Problem that a part consists of.
[[nodiscard]] const char* namesIn(Part part);

/// The faults of one part: of many the first ones, and one more that stands for the others.
class FaultList {
public:
    /// Asks for the text only where somebody is going to read it.
    template <class Text>
    void add(const char* name, std::size_t row, std::size_t col, double value, Text text) {
        if (faults_.size() < MostTold) {
            faults_.push_back({name, row, col, value, text()});
        } else if (faults_.size() == MostTold) {
            faults_.push_back({name, row, col, value});
        } else {
            ++faults_.back().count;
        }
    }

    /// All of them; the list is empty then.
    [[nodiscard]] std::vector<Fault> taken(Part part) {
        if (faults_.size() > MostTold) {
            Fault& rest = faults_.back();
            rest.text = counted(rest.count, "more fault in ", "more faults in ") + namesIn(part);
        }
        return std::move(faults_);
    }

private:
    static constexpr std::size_t MostTold = 100;

    std::vector<Fault> faults_;
};

}  // namespace activeset::frontend

#endif
