// A host array described in plain data, so that it can be damaged before it is made.
#ifndef ACTIVESET_FUZZ_ARRAY_PLAN_HPP
#define ACTIVESET_FUZZ_ARRAY_PLAN_HPP

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "activeset/host.hpp"

namespace activeset::fuzz {

enum class Storage {
    Full,
    Wrapped,       ///< over a buffer of ours; doubles only
    Shortened,     ///< the buffer has room for two rows more
    Complex,       ///< imaginary parts 77
    Sparse,        ///< doubles only
    BrokenSparse,  ///< column starts and row indices that make no sense
};

struct ArrayPlan {
    bool isNull = false;
    std::size_t rows = 0;
    std::size_t cols = 0;
    std::vector<double> values{};  ///< column-major; missing ones are zero
    vxClass elementClass = vxClass::Double;
    Storage storage = Storage::Full;
    std::uint32_t structureSeed = 0;  ///< of a broken sparse array

    [[nodiscard]] double at(std::size_t i, std::size_t j) const {
        const std::size_t place = j * rows + i;
        return place < values.size() ? values[place] : 0.0;
    }
    /// Keeps the values that stay inside, each where it was.
    void reshape(std::size_t newRows, std::size_t newCols) {
        std::vector<double> moved;
        if (newRows != 0) {
            for (std::size_t j = 0; j < newCols; ++j) {
                for (std::size_t i = 0; i < newRows; ++i) {
                    moved.push_back(i < rows && j < cols ? at(i, j) : 0.0);
                }
            }
        }
        values = std::move(moved);
        rows = newRows;
        cols = newCols;
    }
};

/// An array without elements whose other dimension nothing can count to.
inline bool isImmense(const ArrayPlan& array) {
    return array.rows > 1000 || array.cols > 1000;
}

inline ArrayPlan columnPlan(std::vector<double> values) {
    const std::size_t rows = values.size();
    return {.rows = rows, .cols = 1, .values = std::move(values)};
}

inline ArrayPlan textPlan(const std::string& text) {
    return {.rows = 1,
            .cols = text.size(),
            .values = {text.begin(), text.end()},
            .elementClass = vxClass::Char};
}

/// The host array of a plan; destroyed with this object.
class LiveArray {
public:
    explicit LiveArray(const ArrayPlan& plan) : buffer_(plan.values) {
        if (plan.isNull) {
            return;
        }
        const bool isSparse =
            plan.storage == Storage::Sparse || plan.storage == Storage::BrokenSparse;
        buffer_.resize(plan.rows * plan.cols);
        if (isSparse && plan.rows * plan.cols != 0) {
            makeSparse(plan);
        } else if (plan.storage == Storage::Wrapped && plan.elementClass == vxClass::Double) {
            handle_.reset(vxWrapDoubleMatrix(buffer_.data(), plan.rows, plan.cols));
        } else {
            makeFull(plan);
        }
    }

    [[nodiscard]] const vxArray* get() const { return handle_.get(); }

private:
    struct Destroy {
        void operator()(vxArray* array) const { vxDestroyArray(array); }
    };

    void makeFull(const ArrayPlan& plan) {
        const bool isComplex = plan.storage == Storage::Complex;
        // An empty array may be of any height: it must not be made higher.
        const std::size_t spare =
            plan.storage == Storage::Shortened && !buffer_.empty() ? std::size_t{2} : 0;
        handle_.reset(
            vxCreateNumericMatrix(plan.rows + spare, plan.cols, plan.elementClass,
                                  isComplex ? vxComplexity::Complex : vxComplexity::Real));
        if (spare != 0) {
            vxSetM(handle_.get(), plan.rows);
        }
        fill(vxGetData(handle_.get()), plan.elementClass);
        if (isComplex && plan.elementClass == vxClass::Double) {
            std::fill_n(static_cast<double*>(vxGetImaginaryData(handle_.get())), buffer_.size(),
                        77.0);
        }
    }

    template <class T>
    void fillAs(void* data) {
        for (std::size_t i = 0; i < buffer_.size(); ++i) {
            const double low = static_cast<double>(std::numeric_limits<T>::lowest());
            const double high = static_cast<double>(std::numeric_limits<T>::max());
            const double value = std::isnan(buffer_[i]) ? 0.0 : buffer_[i];
            static_cast<T*>(data)[i] = static_cast<T>(std::fmin(std::fmax(value, low), high));
        }
    }

    void fill(void* data, vxClass elementClass) {
        switch (elementClass) {
            case vxClass::Double:
                std::copy(buffer_.begin(), buffer_.end(), static_cast<double*>(data));
                break;
            case vxClass::Single:
                fillAs<float>(data);
                break;
            case vxClass::Int32:
                fillAs<std::int32_t>(data);
                break;
            case vxClass::Logical:
            case vxClass::Char:
                fillAs<std::uint8_t>(data);
                break;
        }
    }

    void makeSparse(const ArrayPlan& plan) {
        const std::size_t capacity = buffer_.size();
        handle_.reset(vxCreateSparse(plan.rows, plan.cols, capacity, vxComplexity::Real));
        std::size_t* rows = vxGetRowIndices(handle_.get());
        std::size_t* starts = vxGetColumnStarts(handle_.get());
        double* entries = vxGetDoubles(handle_.get());
        std::size_t next = 0;
        for (std::size_t j = 0; j < plan.cols; ++j) {
            for (std::size_t i = 0; i < plan.rows; ++i) {
                if (const double value = plan.at(i, j); value != 0.0) {
                    rows[next] = i;
                    entries[next++] = value;
                }
            }
            starts[j + 1] = next;
        }
        if (plan.storage == Storage::BrokenSparse) {
            breakStructure(rows, capacity, plan.structureSeed);
            breakStructure(starts, plan.cols + 1, plan.structureSeed / 7U);
        }
    }

    // Every third index or so becomes huge, too large by one, or another one's.
    static void breakStructure(std::size_t* indices, std::size_t count, std::uint32_t seed) {
        for (std::size_t k = 0; k < count; ++k) {
            seed = seed * 1664525U + 1013904223U;
            switch (seed >> 24U & 15U) {
                case 0:
                    indices[k] = std::numeric_limits<std::size_t>::max();
                    break;
                case 1:
                    indices[k] = std::size_t{1} << 62U;
                    break;
                case 2:
                    indices[k] = count;
                    break;
                case 3:
                    indices[k] = 0;
                    break;
                case 4:
                    indices[k] = seed % (count + 3);
                    break;
                default:
                    break;
            }
        }
    }

    std::vector<double> buffer_;
    std::unique_ptr<vxArray, Destroy> handle_;
};

/// All that an array is made of.
inline std::string contentOf(const vxArray* array) {
    if (array == nullptr) {
        return "null";
    }
    constexpr std::size_t ElementSizes[] = {8, 4, 1, 4, 1};  // in the order of vxClass
    const auto elementClass = static_cast<std::size_t>(vxGetClass(array));
    const std::size_t stored =
        vxIsSparse(array) ? vxGetEntryCapacity(array) : vxGetNumberOfElements(array);
    std::string content;
    const auto append = [&content](const void* data, std::size_t bytes) {
        if (data != nullptr) {
            content.append(static_cast<const char*>(data), bytes);
        }
    };
    append(vxGetDimensions(array), 2 * sizeof(std::size_t));
    content += static_cast<char>(elementClass);
    content += static_cast<char>(vxIsPersistent(array));
    append(vxGetData(array), stored * ElementSizes[elementClass]);
    append(vxGetImaginaryData(array), stored * ElementSizes[elementClass]);
    if (vxIsSparse(array)) {
        append(vxGetRowIndices(array), stored * sizeof(std::size_t));
        append(vxGetColumnStarts(array), (vxGetN(array) + 1) * sizeof(std::size_t));
    }
    return content;
}

}  // namespace activeset::fuzz

#endif
