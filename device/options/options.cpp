#include "options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <sstream>

namespace hearth::options {

namespace {

CLI::App *reached(CLI::App *app) {
    std::vector<CLI::App *> below = app->get_subcommands();
    return below.empty() ? app : reached(below.front());
}

std::string path_of(const CLI::App &app) {
    const CLI::App *parent = app.get_parent();
    return (parent == nullptr ? "" : path_of(*parent) + " ") + app.get_name();
}

}  // namespace

Option Option::required(bool required) const {
    option_->required(required);
    return *this;
}

Option Option::show_default() const {
    option_->capture_default_str();
    return *this;
}

Option Option::from_environment(const std::string &name) const {
    option_->envname(name);
    return *this;
}

Option Option::range(int low, int high) const {
    option_->check(CLI::Range(low, high));
    return *this;
}

Option Option::positive() const {
    option_->check(CLI::PositiveNumber);
    return *this;
}

Option Option::one_of(const std::vector<std::string> &values) const {
    option_->check(CLI::IsMember(values));
    return *this;
}

Option Option::existing_file() const {
    option_->check(CLI::ExistingFile);
    return *this;
}

Option Option::check(std::string (*problem)(const std::string &),
                     const std::string &expected) const {
    option_->check(problem, expected);
    return *this;
}

Option Option::count(int least, int most) const {
    option_->expected(least, most);
    return *this;
}

Option Option::separator(char separator) const {
    option_->delimiter(separator);
    return *this;
}

Option Option::one_at_a_time() const {
    option_->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    return *this;
}

Option Option::needs(Option other) const {
    option_->needs(other.option_);
    return *this;
}

Option Option::excludes(Option other) const {
    option_->excludes(other.option_);
    return *this;
}

template <typename Value>
Option Command::option(const std::string &names, Value &variable, const std::string &help) const {
    return Option(app_->add_option(names, variable, help));
}

// size_t is one of the unsigned ones.
template Option Command::option(const std::string &, std::string &, const std::string &) const;
template Option Command::option(const std::string &, int &, const std::string &) const;
template Option Command::option(const std::string &, int64_t &, const std::string &) const;
template Option Command::option(const std::string &, unsigned &, const std::string &) const;
template Option Command::option(const std::string &, unsigned long &, const std::string &) const;
template Option Command::option(const std::string &, uint16_t &, const std::string &) const;
template Option Command::option(const std::string &, double &, const std::string &) const;
template Option Command::option(const std::string &, std::vector<std::string> &,
                                const std::string &) const;
template Option Command::option(const std::string &, std::vector<unsigned> &,
                                const std::string &) const;

Option Command::flag(const std::string &names, bool &variable, const std::string &help) const {
    return Option(app_->add_flag(names, variable, help));
}

Command Command::alternatives(const std::string &name, const std::string &help) const {
    CLI::App *group = app_->add_option_group(name, help);
    group->require_option(1);
    return Command(group);
}

Command Command::command(const std::string &name, const std::string &help) const {
    return Command(app_->add_subcommand(name, help));
}

Command Command::group(const std::string &name, const std::string &help) const {
    CLI::App *group = app_->add_subcommand(name, help);
    group->require_subcommand(1);
    return Command(group);
}

void Command::explain(const std::string &text) const {
    std::string already = app_->get_footer();
    app_->footer(already.empty() ? text : text + "\n\n" + already);
}

void Command::on_run(std::function<void()> run) const {
    app_->callback(std::move(run));
}

std::string Command::name() const {
    return app_->get_name();
}

std::string Command::path() const {
    return path_of(*app_);
}

std::vector<Command> Command::commands() const {
    std::vector<Command> below;
    for (CLI::App *app : app_->get_subcommands([](CLI::App *) { return true; })) {
        below.push_back(Command(app));
    }
    return below;
}

std::vector<std::string> Command::long_options() const {
    std::vector<std::string> names;
    for (const CLI::Option *option : app_->get_options()) {
        names.insert(names.end(), option->get_lnames().begin(), option->get_lnames().end());
    }
    return names;
}

WrongLine::WrongLine(const std::string &problem, Command where, std::vector<std::string> surplus)
    : std::runtime_error(problem), command(where), unexpected(std::move(surplus)) {}

CommandLine::CommandLine(const std::string &help, const std::string &program)
    : Command(nullptr), owned_(std::make_unique<CLI::App>(help, program)) {
    app_ = owned_.get();
}

CommandLine::~CommandLine() = default;

void CommandLine::version(const std::string &text) {
    app_->set_version_flag("--version", text, "print the version");
}

void CommandLine::require_command() {
    app_->require_subcommand(1);
    app_->fallthrough();
}

void CommandLine::parse(int count, char **arguments) {
    try {
        app_->parse(count, arguments);
    } catch (const CLI::ParseError &error) {
        std::ostringstream out;
        std::ostringstream err;
        if (app_->exit(error, out, err) == 0) {
            throw Asked{out.str()};
        }
        throw WrongLine(error.what(), Command(reached(app_)), app_->remaining(true));
    }
}

void CommandLine::parse_or_exit(int count, char **arguments) {
    try {
        app_->parse(count, arguments);
    } catch (const CLI::ParseError &error) {
        std::exit(app_->exit(error));
    }
}

}  // namespace hearth::options
