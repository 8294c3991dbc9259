// The problem of small.c in C++.
#include <activeset/qp.hpp>
#include <cstdio>

int main() {
    const double H[] = {3, 1, 1, 7}, c[] = {-2, -3}, A[] = {1, 3}, b[] = {1};
    const auto r = activeset::solve({.H = {H, 2, 2}, .c = c, .A = {A, 1, 2}, .rowUpper = b});
    std::printf("%.17g %.17g %.17g\n", r.x[0], r.x[1], r.objective);
}
