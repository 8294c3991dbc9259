// activeset solve: files in, outcomes out.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>

#include "cli/batch.hpp"
#include "cli/console.hpp"
#include "cli/exit_status.hpp"
#include "cli/file_run.hpp"
#include "cli/interrupt.hpp"
#include "cli/json_result.hpp"
#include "cli/npz_result.hpp"
#include "cli/numbers.hpp"
#include "cli/result_file.hpp"
#include "cli/solve_options.hpp"
#include "cli/solve_strictly.hpp"
#include "cli/summary.hpp"
#include "cli/table_file.hpp"
#include "cli/verbs.hpp"
#include "cli/visible.hpp"
#include "cli/warm_start.hpp"

namespace activeset::cli {

namespace {

/// A solution of at most this many variables is shown even if nobody asks for it.
constexpr std::size_t SmallModel = 12;

class SolveCommand {
public:
    explicit SolveCommand(const SolveOptions& options) : options_(options) {}

    int run() {
        const FileError error = attempt(options_.files.front(), [&] { prepare(); });
        if (error.status != Solved) {
            printError(error.text);
            return error.status;
        }
        const InterruptHandler interrupts;
        progress_ = std::make_unique<ProgressLine>(!options_.json, files_.size());
        const std::size_t begun = runBatch(
            files_.size(), options_.jobs, [&](std::size_t k) { return solveFile(files_[k]); },
            [&](const FileOutcome& outcome) { emit(outcome); });
        progress_.reset();
        if (begun < files_.size()) {
            printError(fmt::format("interrupted: {} not solved",
                                   counted(files_.size() - begun, "file", "files")));
            status_ = WasInterrupted;
        }
        finish();
        const int status = std::max(status_, written(status_));
        if (hasMemoryEnded_) {
            std::_Exit(status);  // other libraries may wait for memory while they are unloaded
        }
        return status;
    }

private:
    void prepare() {
        files_ = expanded(options_.files);
        const std::string suffix = std::filesystem::path(options_.output).extension().string();
        requireFolderOf(options_.output);
        if (suffix == ".csv") {
            openTable();
        }
        if ((suffix == ".sol" || suffix == ".npz") && files_.size() != 1) {
            throw io::ReadError(options_.output, 0, "holds one result; use .json or .csv for more");
        }
        if (options_.csv) {
            std::cout << csvHeading();
        }
    }

    void openTable() {
        if (!options_.resume) {
            table_.begin(options_.output);
            return;
        }
        const Skipped skipped = table_.resume(options_.output, files_);
        status_ = skipped.worst;
        if (skipped.count > 0) {
            printError(fmt::format("{}: {} skipped, answered before", shownFile(options_.output),
                                   counted(skipped.count, "file", "files")));
        }
    }

    [[nodiscard]] FileOutcome solveFile(const std::string& file) {
        FileOutcome outcome;
        outcome.row.file = file;
        const FileError error = attempt(file, [&] {
            io::Model model = readFile(file, options_.fileFormat());
            outcome.errors = notesOf(model, file);
            if (options_.strict) {
                solveStrictly(std::move(model), file, options_, outcome);
            } else {
                solveWhole(model, file, outcome);
            }
        });
        if (error.status != Solved) {
            outcome.status = error.status;
            outcome.hasMemoryEnded = error.hasMemoryEnded;
            outcome.errors.push_back(error.text);
            outcome.json = jsonErrorText(file, error.text);
            outcome.row.outcome = "error";
            outcome.row.error = error.text;
        }
        outcome.row.status = outcome.status;
        return outcome;
    }

    void solveWhole(const io::Model& model, const std::string& file, FileOutcome& outcome) {
        Settings settings = options_.settings();
        std::vector<Progress> passes;
        watch(settings, passes);
        WarmStart warm;
        if (!options_.warm.empty()) {
            warm = readWarmStart(options_.warm, model);
        }
        Solution solution = solveModel(model, settings, options_.warm.empty() ? nullptr : &warm);
        solution.passes = std::move(passes);
        if (!options_.warm.empty()) {
            solution.warmStart = warmStartText(shownFile(options_.warm), warm, solution.result);
        }
        const bool needsJson = options_.json || options_.output.ends_with(".json");
        if (needsJson && solution.result.status == Status::Infeasible) {
            findConflict(model, options_.settings(), solution);
        }
        if (needsJson) {
            outcome.json = jsonText(model, file, solution);
        }
        outcome.row = rowOf(model, file, solution);
        outcome.status = outcome.row.status;
        outcome.text = textOf(model, file, solution);
        writeOne(model, solution);
    }

    /// A solve with a callback begins at the start point. The options may say otherwise.
    void watch(Settings& settings, std::vector<Progress>& passes) const {
        const bool isShown = progress_->isShown();
        if (options_.trace) {
            settings.startMode = options_.start == "predict" ? Start::Predict : Start::Cold;
        } else if (isShown && settings.startMode == Start::Automatic && !options_.timeLimit &&
                   !options_.strictSettings.maxIter) {
            settings.startMode = Start::Predict;
        } else if (isShown && settings.startMode == Start::Automatic) {
            return;
        }
        if (options_.trace || isShown) {
            settings.onPass = [this, &passes](const Progress& pass) {
                if (options_.trace) {
                    passes.push_back(pass);
                }
                progress_->tell(pass);
                return true;
            };
        }
    }

    [[nodiscard]] std::string textOf(const io::Model& model,
                                     const std::string& file,
                                     const Solution& solution) const {
        std::string text = visible(headingText(model, shownFile(file)));
        const std::string summary = visible(summaryText(model, solution));
        text += wantsColours(options_.colour) ? coloured(summary, solution.result.status) : summary;
        const bool isSmall = solution.hasPoint() && model.n() <= SmallModel && files_.size() == 1;
        if (options_.solution || isSmall) {
            text += "\n" + visible(solutionText(model, solution));
        }
        if (!solution.hasPoint() && !options_.solution && file != "-") {
            text += fmt::format("{:<16} activeset explain {}\n", "more", shownFile(file));
        }
        return text + "\n";
    }

    void emit(const FileOutcome& outcome) {
        progress_->erase();
        if (InterruptHandler::isPending() && !isEchoed_ && isTerminal(STDERR_FILENO)) {
            printError("");  // behind the ^C that the terminal shows
            isEchoed_ = true;
        }
        for (const std::string& line : outcome.errors) {
            printError(line);
        }
        if (options_.json) {
            std::cout << outcome.json << "\n" << std::flush;
        } else if (options_.csv) {
            std::cout << csvLine(outcome.row) << std::flush;
        } else {
            std::cout << outcome.text << std::flush;
        }
        table_.add(outcome.row);
        status_ = std::max(status_, outcome.status);
        hasMemoryEnded_ = hasMemoryEnded_ || outcome.hasMemoryEnded;
        rows_.push_back(outcome.row);
        if (options_.output.ends_with(".json")) {
            json_.push_back(outcome.json);
        }
        progress_->tellDone(rows_.size());
    }

    /// Writes the output files that hold one result only.
    void writeOne(const io::Model& model, const Solution& solution) const {
        if (options_.output.ends_with(".sol")) {
            writeFile(options_.output,
                      solution.hasPoint()
                          ? solText(model, solution.result.x, solution.objective)
                          : fmt::format("# {}\n", activeset::textOf(solution.result.status)));
        } else if (options_.output.ends_with(".npz")) {
            writeFile(options_.output, npzText(model, solution));
        }
    }

    void finish() {
        if (rows_.size() > 1 && !options_.json && !options_.csv && !options_.strict) {
            std::cout << visible(tableText(rows_));
        }
        const FileError error = attempt(options_.output, [&] {
            if (options_.output.ends_with(".json")) {
                writeFile(options_.output, joined());
            }
            table_.check();
        });
        if (error.status != Solved) {
            printError(error.text);
            status_ = std::max(status_, error.status);
        }
    }
    /// The JSON of all files: one object, or an array of several.
    [[nodiscard]] std::string joined() const {
        if (json_.size() == 1) {
            return json_.front() + "\n";
        }
        std::string text = "[";
        for (const std::string& object : json_) {
            text += (text.size() == 1 ? "\n" : ",\n") + object;
        }
        return text + "\n]\n";
    }

    const SolveOptions& options_;
    std::vector<std::string> files_;
    std::unique_ptr<ProgressLine> progress_;
    TableFile table_;  ///< of -o FILE.csv
    int status_ = Solved;
    bool hasMemoryEnded_ = false;
    bool isEchoed_ = false;  ///< an interrupt
    std::vector<TableRow> rows_;
    std::vector<std::string> json_;
};

void checkOptions(const SolveOptions& options, const CLI::App& command) {
    const std::string suffix = std::filesystem::path(options.output).extension().string();
    if (options.json && options.strict && command.count("--display") > 0 &&
        options.strictSettings.display != "off") {
        throw CLI::ValidationError("--json leaves no room for a table; use --display off");
    }
    if (!options.output.empty() && suffix != ".json" && suffix != ".csv" && suffix != ".sol" &&
        suffix != ".npz") {
        throw CLI::ValidationError("-o takes a file that ends in .json, .csv, .sol or .npz");
    }
    if (isInput(options.output, options.files)) {
        throw CLI::ValidationError("-o would overwrite a problem: " + options.output);
    }
    if (options.json && options.csv) {
        throw CLI::ValidationError("--json and --csv exclude each other");
    }
    if (options.strict && (suffix == ".sol" || suffix == ".npz")) {
        throw CLI::ValidationError("--strict writes .json or .csv");
    }
    if (options.resume && suffix != ".csv") {
        throw CLI::ValidationError("--resume needs -o FILE.csv");
    }
    if (options.strict && options.jobs > 1) {
        throw CLI::ValidationError("--strict prints as it solves: one job at a time");
    }
}

}  // namespace

void addSolve(CLI::App& app, Action& chosen) {
    CLI::App& command = *app.add_subcommand("solve", "Solve problems and prove the answers");
    const auto options = std::make_shared<SolveOptions>();
    addProblemOptions(command, *options);
    addMethodOptions(command, *options);
    addOutputOptions(command, *options);
    addStrictOptions(command, *options);
    command.callback([&command, &chosen, options] {
        checkOptions(*options, command);
        if (options->json || options->csv) {
            options->strictSettings.display = "off";
        }
        chosen = [options] { return SolveCommand(*options).run(); };
    });
}

}  // namespace activeset::cli
