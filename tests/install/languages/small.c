/* One problem in C; prints the bits of x and of the objective. The same stands beside this file in other languages. */
#include <activeset/activeset.h>
#include <stdio.h>

int main(void) {
    const double H[] = {3, 1, 1, 7}, c[] = {-2, -3}, A[] = {1, 3}, b[] = {1};
    double x[2];
    activeset_result r;
    activeset_problem* problem;
    activeset_problem_new(2, 1, &problem);
    activeset_problem_set_hessian(problem, H, 0, ACTIVESET_COLUMN_MAJOR);
    activeset_problem_set_linear(problem, c, 0.0);
    activeset_problem_set_rows(problem, A, 0, ACTIVESET_ROW_MAJOR);
    activeset_problem_set_row_sides(problem, NULL, b);
    activeset_result_init(&r);
    r.x = x;
    activeset_solve(problem, NULL, &r);
    activeset_problem_free(problem);
    printf("%.17g %.17g %.17g\n", x[0], x[1], r.objective);
    return 0;
}
