// Numbers, sums, products and sides in an LP file.
#include <cmath>

#include "io/location.hpp"
#include "io/lp_reader.hpp"
#include "io/lp_words.hpp"

namespace activeset::io {

using namespace lp;

double LpReader::signs() {
    double sign = 1.0;
    while (tokens_.isSign('+') || tokens_.isSign('-')) {
        sign *= tokens_.take().text == "-" ? -1.0 : 1.0;
    }
    return sign;
}

bool LpReader::isNumber() const {
    return tokens_.next().kind == LpKind::Number ||
           (tokens_.next().kind == LpKind::Name && isOneOf(tokens_.next().text, InfinityWords));
}

double LpReader::unsignedNumber() {
    const LpToken token = tokens_.take();
    const bool isInfinite = token.kind == LpKind::Name || token.value >= InfiniteBound;
    if (isInfinite) {
        return Infinite;
    }
    return token.value;
}

double LpReader::number(const char* what) {
    const double sign = signs();
    if (!isNumber()) {
        tokens_.failExpecting(what);
    }
    const double value = sign * unsignedNumber();
    if (tokens_.next().kind == LpKind::Name && !tokens_.next().beginsLine) {
        tokens_.failExpecting("the end of the line (variables stand on the left side)");
    }
    return value;
}

double LpReader::finite(double value, std::size_t offset) {
    if (!std::isfinite(value)) {
        tokens_.failAt(offset, "expected a finite number");
    }
    return value;
}

void LpReader::addTerm(Sum& sum) {
    const std::size_t offset = tokens_.next().offset;
    double coefficient = signs();
    const bool hasNumber = isNumber();
    if (hasNumber) {
        coefficient *= unsignedNumber();
        static_cast<void>(tokens_.accept('*'));
    }
    const LpToken& next = tokens_.next();
    const bool isTerm = next.kind == LpKind::Name && !(hasNumber && startsNew());
    if (isTerm) {
        sum.terms.emplace_back(variable(tokens_.take()), finite(coefficient, offset));
        sum.isConstant = false;
        if (tokens_.isSign('^') || tokens_.isSign('*')) {
            tokens_.failAt(tokens_.next().offset,
                           "quadratic terms stand in brackets in the objective, [ x^2 ] / 2");
        }
    } else if (hasNumber) {
        sum.constant += coefficient;
    } else {
        tokens_.failExpecting("a number or a variable");
    }
}

LpReader::Sum LpReader::sum(bool quadratic) {
    Sum result;
    result.offset = tokens_.next().offset;
    bool isFirst = true;
    while (isFirst || continuesSum()) {
        double sign = 1.0;
        if (acceptBracket(sign)) {
            if (!quadratic) {
                tokens_.failAt(tokens_.next().offset,
                               "quadratic rows cannot be solved for, only linear ones");
            }
            readBrackets(sign);
        } else {
            addTerm(result);
        }
        isFirst = false;
    }
    return result;
}

bool LpReader::continuesSum() const {
    const bool isSign = tokens_.isSign('+') || tokens_.isSign('-') || tokens_.isSign('[');
    return isSign && !(isInBounds_ && tokens_.next().beginsLine);
}

bool LpReader::acceptBracket(double& sign) {
    LpTokens ahead = tokens_;
    sign = 1.0;
    while (ahead.isSign('+') || ahead.isSign('-')) {
        sign *= ahead.take().text == "-" ? -1.0 : 1.0;
    }
    if (!ahead.isSign('[')) {
        return false;
    }
    tokens_ = ahead;
    return true;
}

void LpReader::readBrackets(double sign) {
    static_cast<void>(tokens_.take());
    std::vector<MatrixEntry> entries;
    while (!tokens_.isSign(']')) {
        double coefficient = sign * signs();
        if (isNumber()) {
            const std::size_t offset = tokens_.next().offset;
            coefficient *= finite(unsignedNumber(), offset);
            static_cast<void>(tokens_.accept('*'));
        }
        entries.push_back(product(coefficient));
        if (!tokens_.isSign(']') && !tokens_.isSign('+') && !tokens_.isSign('-')) {
            tokens_.failExpecting("+, - or ]");
        }
    }
    static_cast<void>(tokens_.take());
    double scale = 2.0;
    if (tokens_.accept('/')) {
        if (tokens_.next().kind != LpKind::Number || tokens_.next().value != 2.0) {
            tokens_.failExpecting("2");
        }
        static_cast<void>(tokens_.take());
        scale = 1.0;
    }
    for (const MatrixEntry& entry : entries) {
        if (entry.row == entry.column) {
            scanned_.hessian.push_back({entry.row, entry.row, scale * entry.value, 0});
        } else {
            const double half = 0.5 * scale * entry.value;
            scanned_.hessian.push_back({entry.row, entry.column, half, 0});
            scanned_.hessian.push_back({entry.column, entry.row, half, 0});
        }
    }
}

MatrixEntry LpReader::product(double coefficient) {
    const std::uint32_t first = factor();
    if (tokens_.accept('^')) {
        if (tokens_.next().kind != LpKind::Number || tokens_.next().value != 2.0) {
            tokens_.failExpecting("2");
        }
        static_cast<void>(tokens_.take());
        return {first, first, coefficient, 0};
    }
    if (!tokens_.accept('*')) {
        tokens_.failExpecting("^2 or * and a variable");
    }
    return {first, factor(), coefficient, 0};
}

std::uint32_t LpReader::factor() {
    if (tokens_.next().kind != LpKind::Name) {
        tokens_.failExpecting("a variable");
    }
    return variable(tokens_.take());
}

char LpReader::relation() {
    if (!tokens_.isRelation()) {
        tokens_.failExpecting("<=, >= or =");
    }
    return tokens_.take().text.front();
}

LpReader::Sides LpReader::sides(const char* what) {
    Sides result;
    result.sum = sum(false);
    if (result.sum.isConstant) {
        const double left = result.sum.constant;
        const char first = relation();
        result.sum = sum(false);
        result.narrow(first == '<' ? '>' : first == '>' ? '<' : '=', left);
        if (!tokens_.isRelation()) {
            return moved(result);
        }
        if (!tokens_.isSign(first) || first == '=') {
            tokens_.failExpecting("the same relation as on the left");
        }
    }
    const char second = relation();
    result.narrow(second, number(what));
    return moved(result);
}

LpReader::Sides LpReader::moved(Sides sides) {
    if (sides.sum.isConstant) {
        tokens_.failAt(sides.sum.offset, "expected a variable");
    }
    sides.lower = side(sides.lower - finite(sides.sum.constant, sides.sum.offset));
    sides.upper = side(sides.upper - sides.sum.constant);
    if (!(sides.lower < Infinite) || !(sides.upper > -Infinite)) {
        tokens_.failAt(sides.sum.offset, "the infinite side leaves no value");
    }
    return sides;
}

}  // namespace activeset::io
