// Texts that list commands and options.
#include "cli/help.hpp"

#include <fmt/format.h>

#include <iterator>
#include <sstream>
#include <vector>

#include "activeset/driver.hpp"

namespace activeset::cli {

namespace {

constexpr std::size_t Width = 80;
constexpr std::size_t Indent = 28;

const char* const StatusText =
    "0 solved; 1 limit of iterations or time; 2 infeasible; 3 unbounded; 4 not convex; 5 "
    "inaccurate; 6 results differ (compare); 7 a file that cannot be understood; 8 a file that "
    "cannot be read or written; 9 wrong usage; 10 out of memory or an internal error; 130 "
    "interrupted. Of several files the largest counts.";
const char* const InterruptText =
    "Ctrl-C stops at the point reached and reports it; a second Ctrl-C ends the process.";

/// Breaks `text` into lines of 80 columns. The first line begins at `column`, after other text.
std::string wrapped(const std::string& text, std::size_t column) {
    std::istringstream words(text);
    std::string result;
    std::size_t at = column;
    for (std::string word; words >> word;) {
        if (at > column && at + 1 + word.size() > Width) {
            result += "\n" + std::string(column, ' ');
            at = column;
        }
        if (at > column) {
            result += ' ';
            ++at;
        }
        result += word;
        at += word.size();
    }
    return result + "\n";
}

std::string entry(const std::string& name, const std::string& text) {
    std::string left = "  " + name;
    left += left.size() + 2 > Indent ? "\n" + std::string(Indent, ' ')
                                     : std::string(Indent - left.size(), ' ');
    return left + wrapped(text, Indent);
}

std::string nameOf(const CLI::Option& option) {
    const std::string& values = option.get_option_text();
    return option.get_name(false, true) + (values.empty() ? "" : " " + values);
}

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
    return app.get_subcommands(
        [](const CLI::App* command) { return !command->get_group().empty(); });
}

std::string usageOf(const CLI::App& command) {
    std::string files;
    for (const CLI::Option* const option : command.get_options()) {
        if (option->get_positional() && !option->get_group().empty()) {
            files += " " + option->get_name(true) + (option->get_expected_max() > 1 ? "..." : "");
        }
    }
    return "activeset " + command.get_name() + " [OPTIONS]" + files;
}

std::string generalHelp(const CLI::App& app) {
    std::string text =
        "activeset: " + wrapped(app.get_description(), 11) +
        "\nUsage: activeset COMMAND [OPTIONS] FILE...\n" +
        wrapped(
            "FILE is a problem in the format MPS (QPS), LP, JSON or NPZ, a folder of "
            "them, or - for standard input.",
            0) +
        "\nCommands:\n";
    for (const CLI::App* const command : commandsOf(app)) {
        text += entry(command->get_name(), command->get_description());
    }
    text += "\nOptions:\n" +
            entry("-h, --help", "This help; after a command, the help of that command") +
            entry("--version", "Version, instruction set and BLAS kernels");
    text += "\n" + wrapped("A problem in a few lines:", 0) +
            "  min x^2 + y^2 - 2 x      is written  min -2 x + [ 2 x^2 + 2 y^2 ] / 2\n"
            "  subject to x + y <= 4                st\n"
            "                                       capacity: x + y <= 4\n"
            "                                       end\n"
            "  to solve it                          activeset solve FILE.lp\n"
            "  to see why it has no solution        activeset explain FILE.lp\n"
            "  to get a page with plots             activeset solve FILE.lp -o r.json\n"
            "                                       activeset report r.json\n";
    return text;
}

}  // namespace

std::string helpText(const CLI::App& command) {
    if (command.get_parent() == nullptr) {
        return generalHelp(command) + "\n" + wrapped("Exit status: " + std::string(StatusText), 0);
    }
    std::string text =
        wrapped(command.get_description() + ".", 0) + "\nUsage: " + usageOf(command) + "\n";
    for (const std::string& group : command.get_groups()) {
        if (group.empty()) {
            continue;
        }
        text += "\n" + group + ":\n";
        for (const CLI::Option* const option : command.get_options()) {
            if (option->get_group() == group) {
                text += entry(nameOf(*option), option->get_description());
            }
        }
    }
    return text + "\n" + wrapped("Exit status: " + std::string(StatusText), 0) +
           wrapped(InterruptText, 0);
}

std::string manualText(const CLI::App& app) {
    std::string text = fmt::format(
        ".TH ACTIVESET 1 \"\" \"activeset {}\"\n.SH NAME\nactiveset \\- {}\n.SH SYNOPSIS\n"
        ".B activeset\nCOMMAND [OPTIONS] FILE...\n",
        activeset_version, app.get_description());
    const auto literal = [](std::string line) {
        for (std::size_t at = 0; (at = line.find('-', at)) != std::string::npos; at += 2) {
            line.replace(at, 1, "\\-");
        }
        return line;
    };
    for (const CLI::App* const command : commandsOf(app)) {
        text += fmt::format(".SH {}\n{}.\n", literal(usageOf(*command)),
                            literal(command->get_description()));
        for (const CLI::Option* const option : command->get_options()) {
            if (!option->get_group().empty()) {
                text += fmt::format(".TP\n.B {}\n{}\n", literal(nameOf(*option)),
                                    literal(option->get_description()));
            }
        }
    }
    return text + ".SH EXIT STATUS\n" + StatusText + "\n.SH INTERRUPTS\n" + literal(InterruptText) +
           "\n";
}

std::string completionText(const CLI::App& app) {
    std::string verbs;
    std::string cases;
    for (const CLI::App* const command : commandsOf(app)) {
        std::string words;
        for (const CLI::Option* const option : command->get_options()) {
            for (const std::string& name : option->get_lnames()) {
                words += " --" + name;
            }
        }
        verbs += " " + command->get_name();
        cases += fmt::format("        {}) words=\"{}\" ;;\n", command->get_name(), words.substr(1));
    }
    return "# Completion of activeset for bash.\n_activeset() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} words=\"\"\n"
           "    case ${COMP_WORDS[1]} in\n" +
           cases + "    esac\n    if [ \"$COMP_CWORD\" = 1 ]; then\n        words=\"" +
           verbs.substr(1) +
           "\"\n    fi\n    if [ \"$COMP_CWORD\" = 1 ] || [[ $word == -* ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n    else\n"
           "        mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n    fi\n}\n"
           "complete -o filenames -F _activeset activeset\n";
}

}  // namespace activeset::cli
