// What can be wrong with the data of a problem, all of it at once.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <utility>

#include "frontend/problem/fault_list.hpp"
#include "frontend/problem/matrix_checks.hpp"
#include "frontend/problem/problem_data.hpp"
#include "host/floating_point.hpp"

namespace activeset {

namespace {

using frontend::counted;
using frontend::entry;
using frontend::FaultList;
using frontend::Part;
using frontend::printed;

/// Of all faults so many have a line in the message.
constexpr std::size_t MostLines = 10;

class Inspection {
public:
    Inspection(const Problem& problem, std::size_t n, std::size_t m)
        : problem_(problem), n_(n), m_(m) {}

    std::vector<Fault> faults(Part part) {
        switch (part) {
            case Part::Hessian:
                scan_ = frontend::inspectHessian(problem_.H, n_, faults_);
                break;
            case Part::Linear:
                inspectLinear();
                break;
            case Part::Rows:
                frontend::inspectMatrix(problem_.A, {"A", m_, n_, n_, m_ == 0}, faults_);
                break;
            case Part::RowSides:
                inspectSides("rowLower", problem_.rowLower, "rowUpper", problem_.rowUpper, m_,
                             "row of A");
                break;
            case Part::Bounds:
                inspectSides("lower", problem_.lower, "upper", problem_.upper, n_, "variable");
                break;
            case Part::Start:
                inspectVector("start", problem_.start, n_);
                break;
            case Part::Penalties:
                inspectPenalties();
                break;
        }
        return faults_.taken(part);
    }

    /// What has been seen of H.
    [[nodiscard]] frontend::HessianScan& scan() { return scan_; }

private:
    template <class Text>
    void add(const char* name, std::size_t row, std::size_t col, double value, Text text) {
        faults_.add(name, row, col, value, text);
    }

    void inspectLinear() {
        inspectVector("c", problem_.c, n_);
        if (!std::isfinite(problem_.constant)) {
            add("constant", 0, 0, problem_.constant, [&] {
                return "constant = " + printed(problem_.constant) + ", expected a finite number";
            });
        }
    }

    /// `unit` is what each entry stands for.
    bool hasLength(const char* name,
                   const VectorView& vector,
                   std::size_t size,
                   const char* unit = "variable") {
        if (vector.empty()) {
            return true;
        }
        const bool isLong = vector.size() == size;
        if (isLong && vector.data() != nullptr) {
            return true;
        }
        add(name, vector.size(), 0, 0.0, [&] {
            const std::string has = name + (" has " + counted(vector.size(), "entry", "entries"));
            return has + (isLong ? " but points to no data"
                                 : ", expected " + std::to_string(size) + ", one per " + unit +
                                       (size == 0 ? ", of which there are none" : ""));
        });
        return false;
    }

    void addEntry(const char* name, std::size_t i, double value, const char* why) {
        add(name, i, 0, value, [&] { return entry(name, i) + " = " + printed(value) + why; });
    }

    void inspectVector(const char* name, const VectorView& vector, std::size_t size) {
        if (!hasLength(name, vector, size)) {
            return;
        }
        for (std::size_t i = 0; i < vector.size(); ++i) {
            if (!std::isfinite(vector[i])) {
                addEntry(name, i, vector[i], ", expected a finite number");
            }
        }
    }

    void inspectSides(const char* lowerName,
                      const VectorView& lower,
                      const char* upperName,
                      const VectorView& upper,
                      std::size_t size,
                      const char* unit) {
        const bool hasLower = hasLength(lowerName, lower, size, unit) && !lower.empty();
        const bool hasUpper = hasLength(upperName, upper, size, unit) && !upper.empty();
        for (std::size_t i = 0; i < size && (hasLower || hasUpper); ++i) {
            const double low = hasLower ? lower[i] : -Infinity;
            const double high = hasUpper ? upper[i] : Infinity;
            const bool isLowerSide = low < AbsentSide;
            const bool isUpperSide = high > -AbsentSide;
            if (!isLowerSide) {
                addEntry(lowerName, i, low,
                         ", expected a number below 1e20, or -inf for no lower side");
            }
            if (!isUpperSide) {
                addEntry(upperName, i, high,
                         ", expected a number above -1e20, or inf for no upper side");
            }
            if (low > high && isLowerSide && isUpperSide) {
                add(lowerName, i, 0, low, [&] {
                    return entry(lowerName, i) + " = " + printed(low) + " is above " +
                           entry(upperName, i) + " = " + printed(high);
                });
            }
        }
    }

    /// The sides that penalties are the price of, and what each of them stands for.
    struct Priced {
        const char* name;
        const VectorView& sides;
        std::size_t size;
        const char* unit;
    };

    void inspectPenalties() {
        const Penalty& rows = problem_.rowPenalty;
        const Penalty& bounds = problem_.boundPenalty;
        inspectPenalty("rowPenalty.lowerLinear", rows.lowerLinear, "rowPenalty.lowerQuadratic",
                       rows.lowerQuadratic, {"rowLower", problem_.rowLower, m_, "row of A"});
        inspectPenalty("rowPenalty.upperLinear", rows.upperLinear, "rowPenalty.upperQuadratic",
                       rows.upperQuadratic, {"rowUpper", problem_.rowUpper, m_, "row of A"});
        inspectPenalty("boundPenalty.lowerLinear", bounds.lowerLinear,
                       "boundPenalty.lowerQuadratic", bounds.lowerQuadratic,
                       {"lower", problem_.lower, n_, "variable"});
        inspectPenalty("boundPenalty.upperLinear", bounds.upperLinear,
                       "boundPenalty.upperQuadratic", bounds.upperQuadratic,
                       {"upper", problem_.upper, n_, "variable"});
    }

    void inspectPenalty(const char* linearName,
                        const VectorView& linear,
                        const char* quadraticName,
                        const VectorView& quadratic,
                        const Priced& priced) {
        const std::size_t size = priced.size;
        const char* const unit = priced.unit;
        const bool hasLinear = hasLength(linearName, linear, size, unit) && !linear.empty();
        const bool hasQuadratic =
            hasLength(quadraticName, quadratic, size, unit) && !quadratic.empty();
        for (std::size_t i = 0; i < size && (hasLinear || hasQuadratic); ++i) {
            const double l = hasLinear ? linear[i] : 1.0;
            const double q = hasQuadratic ? quadratic[i] : 0.0;
            if (!(l >= 0.0)) {
                addEntry(linearName, i, l,
                         ", expected a number from 0 up, or inf for a side that is hard");
            }
            if (!(q >= 0.0 && std::isfinite(q))) {
                addEntry(quadraticName, i, q, ", expected a finite number from 0 up");
            }
            if (l == 0.0 && q == 0.0) {
                addEntry(linearName, i, l,
                         ", expected more than 0, as there is no quadratic penalty, or inf for a "
                         "side that is hard");
            }
        }
        if (hasLinear) {
            inspectAbsence(linearName, linear, Infinity, priced);
        } else if (hasQuadratic) {
            inspectAbsence(quadraticName, quadratic, 0.0, priced);
        }
    }

    /// Adds the first price of sides that the problem does not have. `none` is no price.
    void inspectAbsence(const char* name,
                        const VectorView& prices,
                        double none,
                        const Priced& priced) {
        for (std::size_t i = 0; i < prices.size() && priced.sides.empty(); ++i) {
            if (prices[i] != none) {
                const std::string why = std::string(" is the price of a side that is absent: ") +
                                        priced.name + " is empty";
                return addEntry(name, i, prices[i], why.c_str());
            }
        }
    }

    const Problem& problem_;
    std::size_t n_;
    std::size_t m_;
    FaultList faults_;
    frontend::HessianScan scan_;
};

}  // namespace

namespace frontend {

std::vector<Fault> faultsIn(const Problem& problem, std::size_t n, std::size_t m, Part part) {
    return Inspection(problem, n, m).faults(part);
}

std::vector<Fault> faultsIn(const Problem& problem, HessianScan& scan) {
    std::vector<Fault> faults;
    for (const Part part : AllParts) {
        Inspection inspection(problem, variablesOf(problem), problem.A.rows());
        std::ranges::move(inspection.faults(part), std::back_inserter(faults));
        if (part == Part::Hessian) {
            scan = std::move(inspection.scan());
        }
    }
    return faults;
}

std::vector<Fault> faultsIn(const Settings& settings) {
    std::vector<Fault> faults;
    const auto check = [&](const char* name, double value, bool isGood, const char* expected) {
        if (!isGood) {
            faults.push_back(
                {name, 0, 0, value,
                 std::string(name) + " = " + printed(value) + ", expected " + expected});
        }
    };
    check("settings.tolerance", settings.tolerance,
          settings.tolerance > 0.0 && settings.tolerance <= 1.0, "more than 0 and at most 1");
    check("settings.convexityTolerance", settings.convexityTolerance,
          settings.convexityTolerance >= 0.0 && settings.convexityTolerance <= 1.0,
          "a number from 0 to 1");
    const double seconds = settings.timeLimit.count();
    check("settings.timeLimit", seconds, seconds >= 0.0, "a number of seconds from 0 up");
    const Start mode = settings.startMode;
    check("settings.startMode", static_cast<double>(mode),
          mode == Start::Automatic || mode == Start::Predict || mode == Start::Cold,
          "one of Start's values");
    return faults;
}

std::string messageOf(const std::vector<Fault>& faults) {
    std::string message;
    std::size_t left = 0;
    for (std::size_t k = 0; k < faults.size(); ++k) {
        if (k < MostLines) {
            message += (k == 0 ? "" : "\n") + faults[k].text;
        } else {
            left += faults[k].count;
        }
    }
    return left == 0 ? message : message + "\nand " + std::to_string(left) + " more";
}

}  // namespace frontend

std::vector<Fault> faultsOf(const Problem& problem) {
    const FloatingPointGuard environment;
    frontend::HessianScan scan;
    return frontend::faultsIn(problem, scan);
}

}  // namespace activeset
