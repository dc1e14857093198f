// SPDX-License-Identifier: Apache-2.0

#include "platform/CommandLine/Command.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <iostream>
#include <sstream>
#include <string_view>
#include <system_error>

#include "platform/CommandLine/Description.hpp"
#include "platform/CommandLine/Words.hpp"
#include "platform/Log/StandardError.hpp"

namespace platform {
namespace {

constexpr char listDelimiter = ',';

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

std::vector<std::string> partsOf(const std::string& list) {
    std::vector<std::string> parts;
    std::istringstream stream(list + listDelimiter);
    for (std::string part; std::getline(stream, part, listDelimiter);) parts.push_back(part);
    return parts;
}

std::string complaintAboutGaps(const std::string& list) {
    const auto parts = partsOf(list);
    const bool hasGap = std::find(parts.begin(), parts.end(), "") != parts.end();
    if (!hasGap) return "";
    return parts.size() == 1 ? "a value is missing" : "a value is missing beside a comma";
}

CLI::Validator ofEachPart(const CLI::Validator& validator) {
    const auto check = [validator](const std::string& list) -> std::string {
        for (auto& part : partsOf(list))
            if (auto complaint = validator(part); !complaint.empty()) return complaint;
        return "";
    };
    return {check, validator.get_description()};
}

/// What was written must have been taken, help included.
int statusOfOutput(const CLI::App& app) {
    if (std::cout.flush()) return 0;
    const std::string why = std::generic_category().message(errno);
    writeLineToStandardError(app.get_name() + ": cannot write to standard output: " + why);
    return 1;
}

}  // namespace

Option Option::required() const {
    option_->required();
    return *this;
}
Option Option::needs(const Option& other) const {
    option_->needs(other.option_);
    return *this;
}
Option Option::showsDefault() const {
    option_->capture_default_str();
    return *this;
}
Option Option::named(const std::string& value) const {
    option_->type_name(value);
    return *this;
}
Option Option::inGroup(const std::string& heading) const {
    option_->group(heading);
    return *this;
}
Option Option::oneOf(const std::vector<std::string>& words) const {
    return judgedBy(CLI::IsMember(words));
}
Option Option::oneOf(const std::vector<int>& numbers) const {
    return judgedBy(CLI::IsMember(numbers));
}
Option Option::within(double least, double most) const {
    return judgedBy(numberWithin(least, most));
}
Option Option::within(int least, int most) const {
    return judgedBy(CLI::Range(least, most));
}
Option Option::notNegative() const {
    return judgedBy(CLI::NonNegativeNumber);
}
Option Option::positive() const {
    return judgedBy(CLI::PositiveNumber);
}
Option Option::checked(Check check, const std::string& form) const {
    const auto complaint = [check = std::move(check)](std::string& text) { return check(text); };
    return judgedBy(CLI::Validator(complaint, form));
}
Option Option::judgedBy(const CLI::Validator& validator) const {
    option_->check(isList_ ? ofEachPart(validator) : validator);
    return *this;
}

Command Command::subcommand(const std::string& name, const std::string& description) const {
    return Command(app_->add_subcommand(name, description));
}
void Command::requireSubcommand() const {
    app_->require_subcommand(1);
}
void Command::footer(const std::string& text) const {
    app_->footer(text);
}
void Command::action(std::function<void()> act) const {
    app_->callback(std::move(act));
}
Option Command::option(const std::string& name, std::string& value, const std::string& description) const {
    return Option(app_->add_option(name, value, description));
}
Option Command::option(const std::string& name, std::optional<std::string>& value,
                       const std::string& description) const {
    return Option(app_->add_option(name, value, description));
}
Option Command::option(const std::string& name, std::vector<std::string>& values,
                       const std::string& description) const {
    // CLI11's own delimiter passes over what is missing between two of them.
    const auto take = [&values](const std::vector<std::string>& lists) {
        values.clear();
        for (const auto& list : lists)
            for (auto& part : partsOf(list)) values.push_back(std::move(part));
    };
    auto* option = app_->add_option_function<std::vector<std::string>>(name, take, description);
    // One word each time: what follows it is another's.
    option->allow_extra_args(false)->check(CLI::Validator(complaintAboutGaps, ""));
    return Option(option, Option::IsList::yes);
}
Option Command::option(const std::string& name, double& value, const std::string& description) const {
    return Option(app_->add_option(name, value, description));
}
Option Command::option(const std::string& name, int& value, const std::string& description) const {
    return Option(app_->add_option(name, value, description));
}
Option Command::option(const std::string& name, std::uint16_t& value, const std::string& description) const {
    return Option(app_->add_option(name, value, description));
}
Option Command::option(const std::string& name, std::optional<int>& value,
                       const std::string& description) const {
    return Option(app_->add_option(name, value, description));
}
Option Command::flag(const std::string& name, bool& value, const std::string& description) const {
    return Option(app_->add_flag(name, value, description));
}
Option Command::flag(const std::string& name, std::function<void()> given,
                     const std::string& description) const {
    return Option(app_->add_flag_callback(name, std::move(given), description));
}
Option Command::chosen(const std::string& name, const std::vector<std::string>& words,
                       std::function<void(std::size_t)> choose, const std::string& description) const {
    const auto place = [words](const std::string& word) {
        return static_cast<std::size_t>(std::find(words.begin(), words.end(), word) - words.begin());
    };
    const auto take = [place, choose = std::move(choose)](const std::string& word) { choose(place(word)); };
    std::string form;
    for (const std::string& word : words) form += (form.empty() ? "" : "|") + word;
    const auto complaint = [words, place, form](std::string& word) {
        return place(word) < words.size() ? std::string() : "must be one of " + form;
    };
    return Option(app_->add_option_function<std::string>(name, take, description)
                      ->type_name("ENUM")
                      ->check(CLI::Validator(complaint, form)));
}

CommandLine::CommandLine(const std::string& program, const std::string& description,
                         const std::string& version)
    : CommandLine(std::make_unique<CLI::App>(description, program)) {
    owned_->set_version_flag("--version", version);
}
CommandLine::CommandLine(std::unique_ptr<CLI::App> owned) : Command(owned.get()), owned_(std::move(owned)) {}
CommandLine::~CommandLine() = default;

void CommandLine::actionWithoutSubcommand(std::function<void()> act) {
    owned_->final_callback([this, act = std::move(act)] {
        if (owned_->get_subcommands().empty()) act();
    });
}

int CommandLine::run(int count, const char* const* arguments, const std::string& confidentialCommand) {
    // For those who make pages and completions of it; a person is not told of it.
    if (count == 2 && arguments[1] == std::string_view("--describe-command-line")) {
        std::cout << describedCommandLine(*owned_) << "\n";
        return statusOfOutput(*owned_);
    }
    try {
        owned_->parse(count, arguments);
        return statusOfOutput(*owned_);
    } catch (const ExitStatus& status) {
        return status.value();
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            owned_->exit(error);
            return statusOfOutput(*owned_);
        }
        const std::vector<std::string> words(arguments, arguments + count);
        writeLineToStandardError(complaint(*owned_, error, words, confidentialCommand));
        writeLineToStandardError("Run with --help for more information.");
        return 2;
    }
}

void refuseArgument(const std::string& name, const std::string& complaint) {
    throw CLI::ValidationError(name, complaint);
}

}  // namespace platform
