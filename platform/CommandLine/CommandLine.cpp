// SPDX-License-Identifier: Apache-2.0

#include "platform/CommandLine/CommandLine.hpp"

#include <algorithm>
#include <charconv>
#include <iostream>
#include <iterator>
#include <numeric>
#include <optional>
#include <sstream>

#include "platform/Log/StandardError.hpp"

namespace platform {
namespace {

struct UnknownWord {
    const CLI::App* command;
    std::string word;
};

/// The first word that no command on the line knows.
std::optional<UnknownWord> firstUnknownWord(const CLI::App& command) {
    for (const auto& word : command.remaining())
        if (word != "--") return UnknownWord{&command, word};
    for (const auto* subcommand : command.get_subcommands())
        if (auto found = firstUnknownWord(*subcommand)) return found;
    return std::nullopt;
}

/// What is named of a word: of an option, not its value.
std::string nameIn(const std::string& word) {
    if (word.starts_with("--")) return word.substr(0, word.find('='));
    return word.starts_with('-') ? word.substr(0, 2) : word;
}

bool isPrintable(const std::string& word) {
    return std::all_of(word.begin(), word.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

/// "vela-companion defaults"
std::string path(const CLI::App& command) {
    const auto* parent = command.get_parent();
    return parent ? path(*parent) + " " + command.get_name() : command.get_name();
}

std::vector<std::string> subcommandNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const auto* subcommand : command.get_subcommands({})) names.push_back(subcommand->get_name());
    return names;
}

std::vector<std::string> optionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const auto* option : command.get_options())
        for (const auto& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

std::string suggestion(const std::string& word, const std::vector<std::string>& names) {
    const auto nearest = nearestWord(word, names);
    return nearest ? "; did you mean \"" + *nearest + "\"?" : "";
}

std::string listed(const std::vector<std::string>& commands) {
    std::string text;
    const std::string verb = commands.size() == 1 ? "; there is " : "; there are ";
    for (const auto& command : commands) text += (text.empty() ? verb : ", ") + command;
    return text;
}

std::string complaint(const UnknownWord& unknown) {
    const auto name = nameIn(unknown.word);
    if (!isPrintable(name)) return "an argument was not expected";
    const auto quoted = "\"" + name + "\"";
    if (name.starts_with('-'))
        return "there is no option " + quoted + suggestion(name, optionNames(*unknown.command));
    const auto commands = subcommandNames(*unknown.command);
    if (commands.empty()) return quoted + " was not expected";
    return "there is no command " + quoted +
           (nearestWord(name, commands) ? suggestion(name, commands) : listed(commands));
}

/// The one that the line ends with.
const CLI::App& lastCommand(const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    return chosen.empty() ? app : lastCommand(*chosen.back());
}

/// A mistyped secret must not be said again: neither beside the command that works on secrets, nor alone.
bool mayHoldSecret(const std::optional<UnknownWord>& unknown, const std::vector<std::string>& words,
                   const std::string& confidentialCommand) {
    constexpr std::size_t longestCommand = 24;
    if (confidentialCommand.empty()) return false;
    return std::find(words.begin(), words.end(), confidentialCommand) != words.end() ||
           (unknown && unknown->word.size() > longestCommand);
}

std::string complaint(const CLI::App& app, const CLI::ParseError& error,
                      const std::vector<std::string>& words, const std::string& confidentialCommand) {
    const auto unknown = firstUnknownWord(app);
    if (mayHoldSecret(unknown, words, confidentialCommand)) {
        const bool quotesNothing = !unknown && dynamic_cast<const CLI::ArgumentMismatch*>(&error);
        return app.get_name() + ": " +
               (quotesNothing ? error.what()
                              : "an argument was not expected; it may be secret and is not repeated");
    }
    if (unknown) return path(*unknown->command) + ": " + complaint(*unknown);
    const auto& last = lastCommand(app);
    const auto commands = subcommandNames(last);
    if (dynamic_cast<const CLI::RequiredError*>(&error) && !commands.empty())
        return path(last) + ": a command is required" + listed(commands);
    return app.get_name() + ": " + error.what();
}

/// The number of letters to add, remove, replace or swap with their neighbour (optimal string alignment).
std::size_t distance(std::string_view first, std::string_view second) {
    const std::size_t width = second.size() + 1;
    std::vector<std::size_t> beforeLast(width), last(width), current(width);
    std::iota(last.begin(), last.end(), 0);
    for (std::size_t i = 1; i <= first.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j < width; ++j) {
            const bool isSame = first[i - 1] == second[j - 1];
            current[j] = std::min({last[j] + 1, current[j - 1] + 1, last[j - 1] + (isSame ? 0 : 1)});
            const bool isSwapped =
                i > 1 && j > 1 && first[i - 1] == second[j - 2] && first[i - 2] == second[j - 1];
            if (isSwapped) current[j] = std::min(current[j], beforeLast[j - 2] + 1);
        }
        std::swap(beforeLast, last);
        std::swap(last, current);
    }
    return last.back();
}

}  // namespace

std::vector<std::string> familyNames() {
    std::vector<std::string> names;
    for (const auto family : allWidgetFamilies)
        if (family != WidgetFamily::other) names.emplace_back(description(family));
    return names;
}

std::optional<std::string> nearestWord(const std::string& word, const std::vector<std::string>& words) {
    // A third of the letters wrong is a slip; more is another word.
    std::size_t least = word.size() / 3 + 1;
    std::optional<std::string> nearest;
    for (const auto& candidate : words) {
        const auto found = distance(word, candidate);
        if (found >= least) continue;
        least = found;
        nearest = candidate;
    }
    return nearest;
}

CLI::Validator numberWithin(double least, double most) {
    // As CLI11 itself would write them, and people too.
    std::ostringstream range;
    range << least << " to " << most;
    const auto check = [least, most, range = range.str()](const std::string& text) -> std::string {
        double number = 0;
        const auto* end = text.data() + text.size();
        const auto parsed = std::from_chars(text.data(), end, number);
        const bool isWithin =
            parsed.ec == std::errc() && parsed.ptr == end && number >= least && number <= most;
        return isWithin ? "" : "must be a number from " + range;
    };
    return {check, range.str()};
}

namespace {

/// What was written must have been taken, help included.
int statusOfOutput(const CLI::App& app) {
    if (std::cout.flush()) return 0;
    writeLineToStandardError(app.get_name() + ": cannot write to standard output");
    return 1;
}

}  // namespace

int runCommandLine(CLI::App& app, int count, const char* const* arguments,
                   const std::string& confidentialCommand) {
    try {
        app.parse(count, arguments);
        return statusOfOutput(app);
    } catch (const ExitStatus& status) {
        return status.value();
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            app.exit(error);
            return statusOfOutput(app);
        }
        const std::vector<std::string> words(arguments, arguments + count);
        writeLineToStandardError(complaint(app, error, words, confidentialCommand));
        writeLineToStandardError("Run with --help for more information.");
        return 2;
    }
}

}  // namespace platform
