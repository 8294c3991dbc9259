// The arrays of a batch, by name, as views of the front end.
#ifndef ACTIVESET_PYTHON_BATCH_ARRAYS_HPP
#define ACTIVESET_PYTHON_BATCH_ARRAYS_HPP

#include <cstddef>
#include <utility>

#include "activeset/batch.hpp"
#include "python.hpp"

namespace activeset::python {

/// @raises ValueError (Python's)
[[noreturn]] void refuseLayout(const char* name);

/// Named arrays, kept alive. Functions return an empty view if there is no array of the name.
class BatchArrays {
public:
    BatchArrays(std::size_t count, py::dict arrays) : count_(count), arrays_(std::move(arrays)) {}

    [[nodiscard]] std::size_t count() const { return count_; }
    [[nodiscard]] MatrixBatch matrix(const char* name) const;
    [[nodiscard]] VectorBatch vector(const char* name) const;
    /// An output with `size` numbers per problem.
    [[nodiscard]] VectorsOut vectorsOut(const char* name, std::size_t size) const;
    /// An output with `each` entries of one type per problem.
    template <class Number>
    [[nodiscard]] Number* numbers(const char* name, std::size_t each) const {
        const py::object given = named(name);
        if (!given) {
            return nullptr;
        }
        if (!py::isinstance<py::array_t<Number, py::array::c_style>>(given)) {
            refuseLayout(name);
        }
        auto array = py::reinterpret_borrow<py::array>(given);
        if (static_cast<std::size_t>(array.size()) != count_ * each || !array.writeable()) {
            refuseLayout(name);
        }
        return static_cast<Number*>(array.mutable_data());
    }

private:
    [[nodiscard]] py::object named(const char* name) const;

    std::size_t count_;
    py::dict arrays_;
};

/// The problems in these arrays, which have the names of the front end.
[[nodiscard]] ProblemBatch problemsIn(const BatchArrays& arrays);
[[nodiscard]] std::size_t variablesOf(const ProblemBatch& batch);

}  // namespace activeset::python

#endif
