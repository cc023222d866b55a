// Command lines of the desk's programs: options, positional arguments and commands, and the help
// that comes of them. The parser behind is slow to compile and stays in options.cpp.
//
// Command and Option are handles: copy them freely, while the CommandLine lives.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace hearth::options {

class Option {
  public:
    Option required(bool required = true) const;
    // The help shows what the variable holds beforehand.
    Option show_default() const;
    // The environment tells the value that the command line leaves out.
    Option from_environment(const std::string &name) const;

    Option range(int low, int high) const;
    Option positive() const;
    Option one_of(const std::vector<std::string> &values) const;
    Option existing_file() const;
    // `problem` tells what is wrong with a value, or nothing; `expected` stands in the help.
    Option check(std::string (*problem)(const std::string &), const std::string &expected) const;

    // For a variable that is a list: how many values; what stands between them in one argument;
    // a single one each time, however often the option comes.
    Option count(int least, int most) const;
    Option separator(char separator) const;
    Option one_at_a_time() const;

    Option needs(Option other) const;
    Option excludes(Option other) const;

  private:
    friend class Command;
    explicit Option(CLI::Option *option) : option_(option) {}

    CLI::Option *option_;
};

class Command {
  public:
    explicit Command(CLI::App *app) : app_(app) {}

    // Names are "-n,--lines"; one without a dash is a positional argument. The variable lives as
    // long as the command line is parsed. Its type: std::string, int, int64_t, unsigned,
    // unsigned long, uint16_t, double, or a vector of std::string or unsigned.
    template <typename Value>
    Option option(const std::string &names, Value &variable, const std::string &help) const;
    Option flag(const std::string &names, bool &variable, const std::string &help) const;
    // Options of which the command line has one.
    Command alternatives(const std::string &name, const std::string &help) const;

    Command command(const std::string &name, const std::string &help) const;
    // A command that another one follows.
    Command group(const std::string &name, const std::string &help) const;
    // Puts a text in front of what the end of the help says already. Commands that are added later
    // take it over.
    void explain(const std::string &text) const;
    void on_run(std::function<void()> run) const;

    std::string name() const;
    // The names from the program's on.
    std::string path() const;
    std::vector<Command> commands() const;
    // Without their dashes.
    std::vector<std::string> long_options() const;

  protected:
    CLI::App *app_;
};

// Thrown for --help and --version.
struct Asked {
    std::string answer;
};

// Thrown for a line that makes no sense.
struct WrongLine : std::runtime_error {
    WrongLine(const std::string &problem, Command where, std::vector<std::string> surplus);

    const Command command;                      // how far the line made sense
    const std::vector<std::string> unexpected;  // what nothing was left for
};

class CommandLine : public Command {
  public:
    explicit CommandLine(const std::string &help, const std::string &program = "");
    CommandLine(const CommandLine &) = delete;
    CommandLine &operator=(const CommandLine &) = delete;
    ~CommandLine();

    void version(const std::string &text);
    // A command must follow. Options of the program may stand behind the command's own.
    void require_command();

    // Fills the variables and runs the command, whose exceptions pass through.
    void parse(int count, char **arguments);
    // The same; answers and complaints are printed, and the program ends.
    void parse_or_exit(int count, char **arguments);

  private:
    std::unique_ptr<CLI::App> owned_;
};

}  // namespace hearth::options
