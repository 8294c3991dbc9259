// activeset convert: a problem file of one format from one of another.
#include <CLI/CLI.hpp>
#include <memory>

#include "cli/console.hpp"
#include "cli/exit_status.hpp"
#include "cli/file_run.hpp"
#include "cli/solve_options.hpp"
#include "cli/verbs.hpp"
#include "io/writer.hpp"

namespace activeset::cli {

namespace {

struct ConvertOptions {
    std::string from;
    std::string to = "-";
    std::string format = "auto";
    std::string target = "auto";
};

void convert(const ConvertOptions& options) {
    const io::Model model = readFile(options.from, formatNamed(options.format));
    for (const std::string& note : notesOf(model, options.from)) {
        printError(note);
    }
    const io::Format target = formatNamed(options.target);
    const io::Format format = target == io::Format::Automatic ? io::formatOf(options.to) : target;
    writeFile(options.to,
              io::modelText(model, format, options.to == "-" ? "standard output" : options.to));
}

}  // namespace

void addConvert(CLI::App& app, Action& chosen) {
    CLI::App& command = *app.add_subcommand("convert", "Write a problem in another format");
    const auto options = std::make_shared<ConvertOptions>();
    command.add_option("FROM", options->from, "File to read; - is standard input")
        ->required()
        ->group("Problem");
    command
        .add_option("TO", options->to,
                    "File to write, .lp, .json, .npz, or MPS; - is standard output")
        ->group("Problem");
    command.add_option("--format", options->format, "Format of FROM: mps, lp, json, npz, or auto")
        ->option_text("WORD [auto]")
        ->check(CLI::IsMember(formatWords()))
        ->group("Problem");
    command.add_option("--to", options->target, "Format of TO, likewise")
        ->option_text("WORD [auto]")
        ->check(CLI::IsMember(formatWords()))
        ->group("Output");
    command.callback([&chosen, options] {
        if (isInput(options->to, {options->from})) {
            throw CLI::ValidationError("TO would overwrite FROM: " + options->to);
        }
        chosen = [options] {
            const FileError error = attempt(options->from, [&] { convert(*options); });
            if (error.status != Solved) {
                printError(error.text);
            }
            return std::max(error.status, written(error.status));
        };
    });
}

}  // namespace activeset::cli
