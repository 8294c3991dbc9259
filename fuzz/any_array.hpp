// Host arrays of any class, storage and structure.
#ifndef ACTIVESET_FUZZ_ANY_ARRAY_HPP
#define ACTIVESET_FUZZ_ANY_ARRAY_HPP

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "activeset/host.hpp"
#include "bytes.hpp"
#include "solve/call.hpp"

namespace activeset::fuzz {

enum class Storage {
    Full,
    Wrapped,    ///< over a buffer that the array does not own
    Shortened,  ///< the buffer has room for two more rows
    Complex,    ///< imaginary parts 77
    Sparse,
    BrokenSparse,  ///< invalid column starts and row indices
};

struct Form {
    std::size_t rows;
    std::size_t cols;
    vxClass elementClass = vxClass::Double;
    Storage storage = Storage::Full;  ///< forms other than Full exist only for doubles
};

struct Destroy {
    void operator()(vxArray* array) const { vxDestroyArray(array); }
};

/// An array and the buffer that it may wrap.
struct AnyArray {
    std::unique_ptr<vxArray, Destroy> handle;
    std::vector<double> buffer{};
};

/// Replaces about every third index: by a huge one, one too large, zero, or another index.
inline void breakStructure(std::size_t* indices, std::size_t count, Bytes& bytes) {
    const std::array<std::size_t, 5> bad{std::numeric_limits<std::size_t>::max(),
                                         std::size_t{1} << 62U, count, 0, bytes.below(count + 3)};
    for (std::size_t k = 0; k < count; ++k) {
        if (const std::size_t choice = bytes.below(16); choice < bad.size()) {
            indices[k] = bad.at(choice);
        }
    }
}

template <class T>
void fillAs(void* data, const std::vector<double>& values) {
    const double low = static_cast<double>(std::numeric_limits<T>::lowest());
    const double high = static_cast<double>(std::numeric_limits<T>::max());
    std::transform(values.begin(), values.end(), static_cast<T*>(data), [&](double value) {
        return static_cast<T>(std::isnan(value) ? 0.0 : std::fmin(std::fmax(value, low), high));
    });
}

/// The elements of `source` in another form. Elements that it lacks are zero.
inline AnyArray inForm(const vxArray* source, const Form& form, Bytes& bytes) {
    AnyArray made;
    std::vector<double>& values = made.buffer;
    test::Rows rows(form.rows, std::vector<double>(form.cols));
    for (std::size_t j = 0; j < form.cols; ++j) {
        for (std::size_t i = 0; i < form.rows; ++i) {
            rows[i][j] = i < vxGetM(source) && j < vxGetN(source) ? vxGetElement(source, i, j) : 0;
            values.push_back(rows[i][j]);
        }
    }
    const bool isPlain = values.empty() || form.elementClass != vxClass::Double;
    if (!isPlain && (form.storage == Storage::Sparse || form.storage == Storage::BrokenSparse)) {
        made.handle.reset(test::sparse(rows));
        if (form.storage == Storage::BrokenSparse) {
            breakStructure(vxGetRowIndices(made.handle.get()), values.size(), bytes);
            breakStructure(vxGetColumnStarts(made.handle.get()), form.cols + 1, bytes);
        }
        return made;
    }
    if (!isPlain && form.storage == Storage::Wrapped) {
        made.handle.reset(vxWrapDoubleMatrix(values.data(), form.rows, form.cols));
        return made;
    }
    const std::size_t spare = !isPlain && form.storage == Storage::Shortened ? 2 : 0;
    const bool isComplex = !isPlain && form.storage == Storage::Complex;
    made.handle.reset(
        vxCreateNumericMatrix(form.rows + spare, form.cols, form.elementClass,
                              isComplex ? vxComplexity::Complex : vxComplexity::Real));
    if (spare != 0) {
        vxSetM(made.handle.get(), form.rows);
    }
    void* data = vxGetData(made.handle.get());
    if (form.elementClass == vxClass::Double) {
        std::copy(values.begin(), values.end(), static_cast<double*>(data));
    } else if (form.elementClass == vxClass::Single) {
        fillAs<float>(data, values);
    } else if (form.elementClass == vxClass::Int32) {
        fillAs<std::int32_t>(data, values);
    } else {
        fillAs<std::uint8_t>(data, values);
    }
    if (isComplex) {
        void* imaginary = vxGetImaginaryData(made.handle.get());
        std::fill_n(static_cast<double*>(imaginary), values.size(), 77.0);
    }
    return made;
}

/// Everything that an array consists of, as text.
inline std::string contentOf(const vxArray* array) {
    std::string content = array == nullptr ? "null" : test::Snapshot(array).text;
    if (array != nullptr && vxIsSparse(array)) {
        const auto append = [&](const std::size_t* from, std::size_t count) {
            std::for_each_n(from, count,
                            [&](std::size_t k) { content += std::to_string(k) + ' '; });
        };
        append(vxGetRowIndices(array), vxGetEntryCapacity(array));
        append(vxGetColumnStarts(array), vxGetN(array) + 1);
    }
    return content;
}

}  // namespace activeset::fuzz

#endif
