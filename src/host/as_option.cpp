// The option record of the entry function.
#include "activeset/as_option.hpp"

#include <cmath>
#include <limits>

namespace {

double firstElement(const vxArray* array, double fallback) {
    return array == nullptr || vxIsEmpty(array) ? fallback : vxGetElement(array, 0, 0);
}

int toInt(double value) {
    constexpr double Smallest = std::numeric_limits<int>::min();
    constexpr double Largest = std::numeric_limits<int>::max();
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<int>(std::fmin(std::fmax(value, Smallest), Largest));
}

}  // namespace

ASoption::ASoption()
    : MaxIter(IoptOption::getMaxIter()),
      TolCon(IoptOption::getTolCon()),
      TolFun(IoptOption::getTolFun()),
      TolX(IoptOption::getTolX()),
      Display(IoptOption::getDisplay()),
      ObjectiveLimit(IoptOption::getObjectiveLimit()) {}

ASoption::ASoption(const vxArray* maxIter,
                   const vxArray* tolCon,
                   const vxArray* tolFun,
                   const vxArray* tolX,
                   const vxArray* display,
                   double objectiveLimit)
    : ASoption() {
    MaxIter = toInt(firstElement(maxIter, MaxIter));
    TolCon = firstElement(tolCon, TolCon);
    TolFun = firstElement(tolFun, TolFun);
    TolX = firstElement(tolX, TolX);
    if (display != nullptr && vxGetClass(display) == vxClass::Char) {
        Display = vxArrayToStdString(display);
    }
    ObjectiveLimit = objectiveLimit;
}

ASoption::~ASoption() = default;
