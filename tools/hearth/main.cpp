// hearth: the library from the command line.

#include <algorithm>
#include <cstring>
#include <sstream>

#include "tool.h"

namespace {

using namespace hearth::tool;

constexpr const char *kFooter =
    "Behind every command: --json prints one JSON document, for a failure {\"error\": ...};\n"
    "--verbose shows on standard error what the library prints.\n"
    "Exit status: 0 done, 1 failed, 2 wrong command line, 3 not found, 4 no server.";

int tell(const Failure &failure) {
    if (json_wanted()) {
        show(Json{{"error", failure.details}});
    } else {
        fprintf(stderr, "hearth: %s\n", failure.what());
    }
    return failure.status;
}

// The command that the line had come to when it went wrong.
const CLI::App &reached(const CLI::App &app) {
    std::vector<CLI::App *> below = app.get_subcommands();
    return below.empty() ? app : reached(*below.front());
}

std::string path_of(const CLI::App &command) {
    const CLI::App *parent = command.get_parent();
    return (parent == nullptr ? "" : path_of(*parent) + " ") + command.get_name();
}

std::string names_below(const CLI::App &command) {
    std::string names;
    for (const CLI::App *sub : command.get_subcommands([](const CLI::App *) { return true; })) {
        names += (names.empty() ? "" : ", ") + sub->get_name();
    }
    return names;
}

// What is wrong, and what was expected.
Failure explained(const CLI::App &app, const CLI::App &command, const CLI::ParseError &error) {
    std::string names = names_below(command);
    std::string what = error.what();
    if (!names.empty()) {
        std::vector<std::string> unknown = app.remaining(true);
        what = (unknown.empty() ? "a command is missing"
                                : "there is no command \"" + unknown[0] + "\"") +
               ", expected one of " + names;
    }
    bool root = command.get_parent() == nullptr;
    return Failure((root ? "" : path_of(command).substr(strlen("hearth ")) + ": ") + what,
                   kExitUsage);
}

// Help goes to standard output, a wrong command line to standard error.
int tell(const CLI::App &app, const CLI::ParseError &error) {
    std::ostringstream out;
    std::ostringstream err;
    int status = app.exit(error, out, err);
    show_text(out.str());
    if (status == 0) {
        return kExitOk;
    }
    const CLI::App &command = reached(app);
    tell(explained(app, command, error));
    if (!json_wanted()) {
        fprintf(stderr, "%s --help tells more\n", path_of(command).c_str());
    }
    return kExitUsage;
}

}  // namespace

int main(int count, char **arguments) {
    // Known before the command line is, which may be what is wrong.
    auto told = [&](const char *flag) {
        return std::find(arguments, arguments + count, std::string(flag)) != arguments + count;
    };
    take_standard_output(told("--verbose"));
    set_json(told("--json"));
    CLI::App app{"The platform library from the command line.", "hearth"};
    app.footer(kFooter);
    app.set_version_flag("--version", HEARTH_VERSION, "print the version");
    app.require_subcommand(1);
    app.fallthrough();
    bool json = false;
    bool verbose = false;
    app.add_flag("--json", json, "print one JSON document, for scripts");
    app.add_flag("--verbose", verbose, "show on standard error what the library prints");
    add_at_commands(app);
    add_config_commands(app);
    add_table_commands(app);
    add_bus_commands(app);
    add_log_commands(app);
    add_xml_commands(app);
    add_text_commands(app);
    add_gz_commands(app);
    add_desk_commands(app);
    add_completion_command(app);
    add_examples(app);
    try {
        app.parse(count, arguments);
    } catch (const CLI::ParseError &error) {
        return tell(app, error);
    } catch (const Failure &failure) {
        return tell(failure);
    } catch (const Quiet &quiet) {
        return quiet.status;
    } catch (const std::exception &error) {
        return tell(Failure(error.what()));
    }
    return kExitOk;
}
