// The option record of the entry function.
#ifndef ACTIVESET_AS_OPTION_HPP
#define ACTIVESET_AS_OPTION_HPP

#include <string>

#include "activeset/export.hpp"
#include "activeset/host.hpp"
#include "activeset/options_solution.hpp"

/// Stores every setting; starts with the defaults of IoptOption.
class ACTIVESET_API ASoption : public IoptOption {
public:
    ASoption();
    /// Takes the first element of each numeric array and the text of `display`; a numeric array
    /// that is null or empty, and a `display` that is no character array, leaves the default.
    /// maxIter is truncated to int, saturating at its limits; NaN gives 0.
    ASoption(const vxArray* maxIter,
             const vxArray* tolCon,
             const vxArray* tolFun,
             const vxArray* tolX,
             const vxArray* display,
             double objectiveLimit);
    ASoption(const ASoption&) = default;
    ASoption& operator=(const ASoption&) = default;
    ~ASoption() override;

    [[nodiscard]] int getMaxIter() const override { return MaxIter; }
    [[nodiscard]] double getTolCon() const override { return TolCon; }
    [[nodiscard]] double getTolFun() const override { return TolFun; }
    [[nodiscard]] double getTolX() const override { return TolX; }
    [[nodiscard]] double getObjectiveLimit() const override { return ObjectiveLimit; }
    [[nodiscard]] std::string getDisplay() override { return Display; }

    void setMaxIter(int limit) override { MaxIter = limit; }
    void setTolCon(double tolerance) override { TolCon = tolerance; }
    void setTolFun(double tolerance) override { TolFun = tolerance; }
    void setTolX(double tolerance) override { TolX = tolerance; }
    void setObjectiveLimit(double limit) override { ObjectiveLimit = limit; }
    void setDisplay(std::string display) override { Display = std::move(display); }

private:
    int MaxIter;
    double TolCon;
    double TolFun;
    double TolX;
    std::string Display;
    double ObjectiveLimit;
};

#endif
