// The words of the iteration table. Their blanks are part of the printed text.
#include "activeset/internal/pass_message.hpp"

namespace activeset {

std::string PassMessage::text() const {
    const std::string number = std::to_string(index_ + 1);
    switch (event_) {
        case Event::None:
            break;
        case Event::Start:
            return "       Start ";
        case Event::Unbounded:
            return " Unbounded";
        case Event::Optimal:
            return " Optimal solution found";
        case Event::OptimalWithoutConstraints:
            return " Optimal solution found; No active constraints";
        case Event::InequalityIn:
            return " In  ineq: " + number;
        case Event::LowerBoundIn:
            return " In  lb: " + number;
        case Event::UpperBoundIn:
            return " In  ub: " + number;
        case Event::InequalityOut:
            return " Out ineq: " + number;
        case Event::LowerBoundOut:
            return " Out lb: " + number;
        case Event::UpperBoundOut:
            return " Out ub: " + number;
    }
    return {};
}

}  // namespace activeset
