/* Minimise ½(x₁² + x₂²) - 2x₁ - 3x₂ subject to x₁ + x₂ ≤ 3. At x = (1, 2) the gradient is (-1, -1),
 * so the constraint's multiplier is 1; the objective is 5/2 - 8 = -5.5. */
#include <activeset/activeset.h>
#include <stdio.h>

int main(void) {
    const double H[] = {1, 0, 0, 1}, c[] = {-2, -3}, A[] = {1, 1}, b[] = {3};
    double x[2], y[1];
    activeset_result result;
    activeset_problem* problem;
    int code = activeset_problem_new(2, 1, &problem);
    if (code != ACTIVESET_OK) {
        fprintf(stderr, "%s\n", activeset_code_text(code));
        return 1;
    }
    activeset_problem_set_hessian(problem, H, 0, ACTIVESET_COLUMN_MAJOR);
    activeset_problem_set_linear(problem, c, 0.0);
    activeset_problem_set_rows(problem, A, 0, ACTIVESET_COLUMN_MAJOR);
    activeset_problem_set_row_sides(problem, NULL, b);

    activeset_result_init(&result);
    result.x = x;
    result.y = y;
    code = activeset_solve(problem, NULL, &result);
    activeset_problem_free(problem);
    if (code != ACTIVESET_OK) {
        fprintf(stderr, "%s\n", activeset_code_text(code));
        return 1;
    }
    printf("%s, x = (%.3f, %.3f), objective %.3f, multiplier %.3f\n", activeset_text(result.status),
           x[0], x[1], result.objective, y[0]);
    return 0;
}
