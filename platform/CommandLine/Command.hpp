// SPDX-License-Identifier: Apache-2.0

#pragma once

// A program's command line, said once: its commands, their options, and what each does. Commands and options
// are handles on what the root command owns, copied at will and good for as long as it lives; so must be the
// values that options are written to. For the thread that parses.

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace CLI {
class App;
class Option;
class Validator;
}  // namespace CLI

namespace platform {

class Option {
  public:
    /// What is wrong with a text; empty where nothing is.
    using Check = std::function<std::string(const std::string&)>;

    Option required() const;
    /// Makes sense only beside `other`.
    Option needs(const Option& other) const;
    /// The value that stands when it is parsed is told in the help.
    Option showsDefault() const;
    /// What stands for the value in the help, such as "SECONDS". FILE and FOLDER are completed by shells.
    Option named(const std::string& value) const;
    /// Under which heading of the help it stands.
    Option inGroup(const std::string& heading) const;

    Option oneOf(const std::vector<std::string>& words) const;
    Option oneOf(const std::vector<int>& numbers) const;
    /// Takes any way of writing a number from `least` to `most`, and nothing else, NaN least of all.
    Option within(double least, double most) const;
    Option within(int least, int most) const;
    Option notNegative() const;
    Option positive() const;
    /// `form` stands beside the option in the help.
    Option checked(Check check, const std::string& form) const;

  private:
    friend class Command;
    enum class IsList { no, yes };
    explicit Option(CLI::Option* option, IsList isList = IsList::no)
        : option_(option), isList_(isList == IsList::yes) {}
    /// Of a list each part.
    Option judgedBy(const CLI::Validator& validator) const;

    CLI::Option* option_;
    bool isList_;
};

class Command {
  public:
    Command subcommand(const std::string& name, const std::string& description) const;
    /// Wrong usage without one.
    void requireSubcommand() const;
    /// Stands below the help.
    void footer(const std::string& text) const;
    /// What it does, once the line has been read.
    void action(std::function<void()> act) const;

    /// A name that begins with dashes is an option's, another a place in the line.
    Option option(const std::string& name, std::string& value, const std::string& description) const;
    Option option(const std::string& name, std::optional<std::string>& value,
                  const std::string& description) const;
    /// A list: given several times, or with commas between its values, none of which is empty.
    Option option(const std::string& name, std::vector<std::string>& values,
                  const std::string& description) const;
    Option option(const std::string& name, double& value, const std::string& description) const;
    Option option(const std::string& name, int& value, const std::string& description) const;
    Option option(const std::string& name, std::optional<int>& value, const std::string& description) const;
    Option option(const std::string& name, std::uint16_t& value, const std::string& description) const;
    Option flag(const std::string& name, bool& value, const std::string& description) const;
    Option flag(const std::string& name, std::function<void()> given, const std::string& description) const;

    /// Takes one of the names, and writes what it stands for.
    template <typename Value>
    Option choice(const std::string& name, Value& value,
                  std::span<const std::pair<const char*, std::type_identity_t<Value>>> choices,
                  const std::string& description) const {
        std::vector<std::string> words;
        for (const auto& [word, ignored] : choices) words.emplace_back(word);
        return chosen(
            name, words, [&value, choices](std::size_t index) { value = choices[index].second; },
            description);
    }

  protected:
    explicit Command(CLI::App* app) : app_(app) {}

  private:
    friend class CommandLine;
    Option chosen(const std::string& name, const std::vector<std::string>& words,
                  std::function<void(std::size_t)> choose, const std::string& description) const;

    CLI::App* app_;
};

/// The root.
class CommandLine : public Command {
  public:
    CommandLine(const std::string& program, const std::string& description, const std::string& version);
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// What it does where no command is on the line.
    void actionWithoutSubcommand(std::function<void()> act);

    /// Parses, runs the command, and gives the exit status: 0 for success and help, 2 for wrong usage, else
    /// the command's. Wrong usage names the word that is unknown, but not beside `confidentialCommand`, nor
    /// where it is longer than any command: what a person puts there by mistake may be a secret. The one
    /// word --describe-command-line has it print the whole of itself as JSON (Description.hpp).
    int run(int count, const char* const* arguments, const std::string& confidentialCommand = {});

  private:
    explicit CommandLine(std::unique_ptr<CLI::App> owned);
    std::unique_ptr<CLI::App> owned_;
};

/// Wrong usage that an action finds: that argument, and what it is not.
[[noreturn]] void refuseArgument(const std::string& name, const std::string& complaint);

/// The exit status a command asks for.
class ExitStatus : public std::exception {
  public:
    explicit ExitStatus(int value) : value_(value) {}
    int value() const { return value_; }

  private:
    int value_;
};

}  // namespace platform
