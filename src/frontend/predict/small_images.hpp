// Cholesky of H and the images of all constraints in one sweep: [H; A; cᵀ; I]·L⁻ᵀ. A block of four
// columns is brought up to date by the columns before it, for eight rows at a time, and finished by
// its own 4 × 4 triangle.
// Included by small_kernels.cpp.
#if defined(ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_IMAGES_HPP) == defined(HWY_TARGET_TOGGLE)
#ifdef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_IMAGES_HPP
#undef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_IMAGES_HPP
#else
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_IMAGES_HPP
#endif

#include "frontend/algebra/octet_triangle.hpp"
#include "frontend/predict/small_products.hpp"

HWY_BEFORE_NAMESPACE();
namespace activeset::frontend::HWY_NAMESPACE {
namespace {

constexpr std::size_t Width = 4;  // columns of a block

/// Eight rows of a block of columns.
struct Panel {
    Octet columns[Width];
};

struct Sweep {
    const SmallStack& stack;
    std::size_t leading;  ///< of the images
    std::size_t first;    ///< column of the block

    HWY_INLINE const SmallTriangle& kept() const { return stack.triangles[first / Width]; }
    HWY_INLINE void keep(const SmallTriangle& triangle) const {
        stack.triangles[first / Width] = triangle;
    }

    HWY_INLINE double* at(std::size_t row, std::size_t col) const {
        return stack.images + col * leading + row;
    }

    HWY_INLINE Panel dataAt(std::size_t row) const {
        Panel panel;
        for (std::size_t c = 0; c < Width; ++c) {
            panel.columns[c] = load(stack.data + (first + c) * (stack.head + stack.rows) + row);
        }
        return panel;
    }

    /// Rows of I, of which `row` is the first one.
    HWY_INLINE Panel identityAt(std::size_t row) const {
        static constexpr double Unit[2 * OctetLanes] = {0, 0, 0, 0, 0, 0, 0, 1};
        Panel panel;
        for (std::size_t c = 0; c < Width; ++c) {
            const std::size_t lane = first + c - row;
            panel.columns[c] =
                load(Unit + (lane < OctetLanes ? OctetLanes - 1 - lane : OctetLanes));
        }
        return panel;
    }

    /// Takes off what the columns `from` to `first` contribute.
    HWY_INLINE void update(Panel& panel, std::size_t row, std::size_t from) const {
        for (std::size_t k = from; k < first; ++k) {
            const Octet column = load(at(row, k));
            const double* const factors = at(first, k);
            for (std::size_t c = 0; c < Width; ++c) {
                takeFrom(panel.columns[c], column, spread(factors[c]));
            }
        }
    }

    /// Forms the images of data, eight rows after eight.
    HWY_INLINE void form(std::size_t begin,
                         std::size_t end,
                         const Triangle<Width>& triangle) const {
        for (std::size_t row = begin; row < end; row += OctetLanes) {
            Panel panel = dataAt(row);
            update(panel, row, 0);
            finish(panel, triangle, row);
        }
    }

    HWY_INLINE void finish(Panel& panel, const Triangle<Width>& triangle, std::size_t row) const {
        finishRows(panel.columns, triangle);
        for (std::size_t c = 0; c < Width; ++c) {
            store(panel.columns[c], at(row, first + c));
        }
    }

    HWY_INLINE bool factorise(const Panel& panel,
                              Triangle<Width>& triangle,
                              double tolerance) const {
        double least[Width];
        for (std::size_t c = 0; c < Width; ++c) {
            least[c] = tolerance * stack.data[(first + c) * (stack.head + stack.rows) + first + c];
        }
        return factoriseTriangle(panel.columns, first % OctetLanes, least, triangle);
    }
};

bool factorise(const SmallStack& stack, double tolerance) {
    const std::size_t height = stack.head + stack.rows;
    Sweep sweep{stack, height + stack.head, 0};
    for (; sweep.first < stack.cols; sweep.first += Width) {
        const std::size_t diagonal = sweep.first / OctetLanes * OctetLanes;
        SmallTriangle triangle;  // NOLINT(cppcoreguidelines-pro-type-member-init): written next
        Panel panel = sweep.dataAt(diagonal);
        sweep.update(panel, diagonal, 0);
        if (!sweep.factorise(panel, triangle, tolerance)) {
            return false;
        }
        sweep.finish(panel, triangle, diagonal);
        if (stack.waiting > 0) {
            sweep.keep(triangle);
        }
        sweep.form(diagonal + OctetLanes, stack.head, triangle);
        sweep.form(stack.head + stack.waiting, height, triangle);
        for (std::size_t row = 0; row <= diagonal; row += OctetLanes) {
            panel = sweep.identityAt(row);
            sweep.update(panel, height + row, row);
            sweep.finish(panel, triangle, height + row);
        }
    }
    return true;
}

void formWaiting(const SmallStack& stack) {
    Sweep sweep{stack, 2 * stack.head + stack.rows, 0};
    for (; sweep.first < stack.cols; sweep.first += Width) {
        const SmallTriangle triangle = sweep.kept();
        sweep.form(stack.head, stack.head + stack.waiting, triangle);
    }
}

/// y_i := 1/‖row i‖, 0 where that is not above `smallest`.
void inverseNorms(const SmallMatrix& a, double smallest, double* y) {
    for (std::size_t row = 0; row < a.rows; row += OctetLanes) {
        Octet sum = octetOf(0.0);
        for (std::size_t j = firstColumn(a, row); j < a.cols; ++j) {
            const Octet values = load(a.data + j * a.leading + row);
            addTo(sum, values, values);
        }
        for (auto& part : sum.parts) {
            const Part norm = hn::Sqrt(part);
            const Part inverse = hn::Div(spread(1.0), norm);
            part = hn::IfThenElseZero(hn::Gt(norm, spread(smallest)), inverse);
        }
        store(sum, y + row);
    }
}

}  // namespace
}  // namespace activeset::frontend::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
