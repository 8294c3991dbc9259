// One solve, from Octave's arrays to those of the library and back. The m-files call this function
// with arguments in the form that it needs.
#include <activeset/activeset.h>
#include <octave/oct.h>
#include <octave/ov-struct.h>
#include <octave/quit.h>
#include <signal.h>

#include <memory>
#include <regex>
#include <string>
#include <vector>

namespace {

struct Free {
    void operator()(activeset_problem* problem) const { activeset_problem_free(problem); }
};
using Problem = std::unique_ptr<activeset_problem, Free>;

void require(int code) {
    if (code != ACTIVESET_OK) {
        error("activeset: %s", activeset_code_text(code));
    }
}

// Ctrl-C. Octave blocks the signal on this thread, handles it on another thread, and reads that
// thread's flag only after the solve. While an object of this class lives, the signal also reaches
// this thread, where the handler ends the solve and sets the flag.
class Interruptible {
public:
    Interruptible() {
        struct sigaction ours {};
        ours.sa_handler = onSignal;
        ours.sa_flags = SA_RESTART;
        sigemptyset(&ours.sa_mask);
        sigset_t interrupt;
        sigemptyset(&interrupt);
        sigaddset(&interrupt, SIGINT);
        wasInterrupted = 0;
        sigaction(SIGINT, &ours, &before_);
        pthread_sigmask(SIG_UNBLOCK, &interrupt, &mask_);
    }
    ~Interruptible() {
        pthread_sigmask(SIG_SETMASK, &mask_, nullptr);
        sigaction(SIGINT, &before_, nullptr);
        if (wasInterrupted != 0) {
            activeset_interrupt_all(0);
        }
    }
    Interruptible(const Interruptible&) = delete;
    Interruptible& operator=(const Interruptible&) = delete;

private:
    static void onSignal(int /*number*/) {
        wasInterrupted = 1;
        activeset_interrupt_all(1);
        octave_interrupt_state = 1;
        octave_signal_caught = 1;
    }
    struct sigaction before_ {};
    sigset_t mask_{};
    static volatile sig_atomic_t wasInterrupted;
};
volatile sig_atomic_t Interruptible::wasInterrupted = 0;

// A full matrix of doubles; an empty one for an empty argument.
class Numbers {
public:
    Numbers(const octave_value& given,
            octave_idx_type rows,
            octave_idx_type cols,
            const char* name) {
        if (given.isempty()) {
            return;
        }
        if (!given.isnumeric() && !given.islogical()) {
            error("activeset: %s must be numeric", name);
        }
        if (given.iscomplex()) {
            error("activeset: %s must be real", name);
        }
        values_ = given.array_value();
        if (cols == 1 ? values_.numel() != rows || !values_.dims().isvector()
                      : values_.rows() != rows || values_.columns() != cols) {
            error("activeset: %s is %s, expected %ld x %ld", name, values_.dims().str().c_str(),
                  static_cast<long>(rows), static_cast<long>(cols));
        }
    }
    const double* data() const { return values_.isempty() ? nullptr : values_.data(); }

private:
    NDArray values_;
};

// The arrays that a solve writes.
struct Output {
    ColumnVector x, y, z, farkasY, farkasZ, direction;
    std::vector<std::int8_t> rowSides, boundSides;
    char message[4096] = "";  // ten faults
    activeset_result result;

    Output(octave_idx_type n, octave_idx_type m)
        : x(n),
          y(m),
          z(n),
          farkasY(m),
          farkasZ(n),
          direction(n),
          rowSides(m + 1),
          boundSides(n + 1) {
        activeset_result_init(&result);
        result.x = x.fortran_vec();
        result.y = y.fortran_vec();
        result.z = z.fortran_vec();
        result.farkas_y = farkasY.fortran_vec();
        result.farkas_z = farkasZ.fortran_vec();
        result.direction = direction.fortran_vec();
        result.row_sides = rowSides.data();
        result.bound_sides = boundSides.data();
        result.message = message;
        result.message_size = sizeof message;
    }
};

ColumnVector sidesOf(const std::vector<std::int8_t>& sides) {
    ColumnVector numbers(static_cast<octave_idx_type>(sides.size()) - 1);
    for (octave_idx_type i = 0; i < numbers.numel(); ++i) {
        numbers(i) = sides[i];
    }
    return numbers;
}

activeset_options optionsOf(const octave_scalar_map& given) {
    activeset_options options;
    activeset_options_init(&options);
    if (given.isfield("max_iterations")) {
        const double limit = given.getfield("max_iterations").double_value();
        options.max_iterations = limit < 9e15 ? static_cast<std::int64_t>(limit) : 0;
    }
    if (given.isfield("tolerance")) {
        options.tolerance = given.getfield("tolerance").double_value();
    }
    if (given.isfield("time_limit")) {
        options.time_limit = given.getfield("time_limit").double_value();
    }
    return options;
}

// The caller's name of an entry, counted from 1, for one such as rowUpper(3). `names` has the number
// of rows of the first matrix and the name of c, then the names of matrix, lower sides and upper
// sides for both matrices.
std::string labelOf(const std::string& name, long row, const std::string& col, const Cell& names) {
    const long first = names(0).long_value();
    const int part = name == "A" ? 2 : name == "rowLower" ? 3 : name == "rowUpper" ? 4 : 0;
    const bool isSecond = part != 0 && row >= first;
    const std::string own = part != 0         ? names(isSecond ? part + 3 : part).string_value()
                            : name == "c"     ? names(1).string_value()
                            : name == "lower" ? "lb"
                            : name == "upper" ? "ub"
                            : name == "start" ? "x0"
                                              : name;
    return own + "(" + std::to_string(row + 1 - (isSecond ? first : 0)) +
           (col.empty() ? "" : "," + std::to_string(std::stol(col) + 1)) + ")";
}

// The text of the faults in the data with the caller's names for all entries.
std::string renamed(const std::string& message, const Cell& names) {
    static const std::regex entry(
        R"(\b(H|c|A|rowLower|rowUpper|lower|upper|start)\((\d+)(, (\d+))?\))");
    std::string text;
    auto rest = message.begin();
    for (std::sregex_iterator at(message.begin(), message.end(), entry), end; at != end; ++at) {
        text.append(rest, (*at)[0].first);
        text += labelOf((*at)[1], std::stol((*at)[2]), (*at)[4], names);
        rest = (*at)[0].second;
    }
    return text.append(rest, message.end());
}

octave_scalar_map mapOf(const Output& output) {
    const activeset_result& result = output.result;
    octave_scalar_map map;
    map.setfield("status", std::string(activeset_text(result.status)));
    map.setfield("x", output.x);
    map.setfield("obj", result.objective);
    map.setfield("y", output.y);
    map.setfield("z", output.z);
    map.setfield("row_sides", sidesOf(output.rowSides));
    map.setfield("bound_sides", sidesOf(output.boundSides));
    map.setfield("iterations",
                 static_cast<double>(result.phase_one_iterations + result.main_iterations +
                                     result.prediction_iterations + result.dual_iterations +
                                     result.refinement_iterations));
    map.setfield("primal", result.primal.absolute);
    map.setfield("dual", result.dual.absolute);
    map.setfield("farkas_y", output.farkasY);
    map.setfield("farkas_z", output.farkasZ);
    map.setfield("direction", output.direction);
    map.setfield("message", std::string(output.message));
    return map;
}

}  // namespace

DEFUN_DLD(
    __activeset__,
    args,
    ,
    "r = __activeset__ (n, m, H, c, A, row_lower, row_upper, lower, upper, start, options, names)\n"
    "Minimise x'*H*x/2 + c'*x with row_lower <= A*x <= row_upper and lower <= x <= upper.") {
    if (args.length() != 12) {
        print_usage();
    }
    const octave_idx_type n = args(0).idx_type_value();
    const octave_idx_type m = args(1).idx_type_value();
    if (n < 0 || m < 0) {
        error("activeset: negative sizes");
    }
    const Cell names = args(11).cell_value();
    if (names.numel() != 8) {
        error("activeset: the list of names has %ld entries, expected 8",
              static_cast<long>(names.numel()));
    }
    const std::string nameOfC = names(1).string_value();
    const Numbers H(args(2), n, n, "H"), c(args(3), n, 1, nameOfC.c_str()), A(args(4), m, n, "A");
    const Numbers rowLower(args(5), m, 1, "row_lower"), rowUpper(args(6), m, 1, "row_upper");
    const Numbers lower(args(7), n, 1, "lb"), upper(args(8), n, 1, "ub"),
        start(args(9), n, 1, "x0");
    const activeset_options options = optionsOf(args(10).scalar_map_value());
    Output output(n, m);

    activeset_problem* made = nullptr;
    require(activeset_problem_new(n, m, &made));
    const Problem problem(made);
    require(activeset_problem_set_hessian(made, H.data(), 0, ACTIVESET_COLUMN_MAJOR));
    require(activeset_problem_set_linear(made, c.data(), 0.0));
    require(activeset_problem_set_rows(made, A.data(), 0, ACTIVESET_COLUMN_MAJOR));
    require(activeset_problem_set_row_sides(made, rowLower.data(), rowUpper.data()));
    require(activeset_problem_set_bounds(made, lower.data(), upper.data()));
    require(activeset_problem_set_start(made, start.data()));
    int code = ACTIVESET_OK;
    OCTAVE_QUIT;
    {
        const Interruptible interruptible;
        code = activeset_solve(made, &options, &output.result);
    }
    OCTAVE_QUIT;
    require(code);
    if (output.result.status == ACTIVESET_INVALID) {
        error("activeset: %s", renamed(output.message, names).c_str());
    }
    return ovl(mapOf(output));
}
