// hearth: the library from the command line.

#include <algorithm>

#include "tool.h"

namespace {

using namespace hearth::tool;
using hearth::options::Asked;
using hearth::options::CommandLine;
using hearth::options::WrongLine;

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

std::string names_below(Command command) {
    std::string names;
    for (Command sub : command.commands()) {
        names += (names.empty() ? "" : ", ") + sub.name();
    }
    return names;
}

// What is wrong, and what was expected.
std::string explained(const WrongLine &wrong) {
    std::string names = names_below(wrong.command);
    std::string what = wrong.what();
    if (!names.empty()) {
        what = (wrong.unexpected.empty() ? "a command is missing"
                                         : "there is no command \"" + wrong.unexpected[0] + "\"") +
               ", expected one of " + names;
    }
    // The program's name stands in front of every message.
    size_t name = wrong.command.path().find(' ');
    return (name == std::string::npos ? "" : wrong.command.path().substr(name + 1) + ": ") + what;
}

int tell(const WrongLine &wrong) {
    tell(Failure(explained(wrong), kExitUsage));
    if (!json_wanted()) {
        fprintf(stderr, "%s --help tells more\n", wrong.command.path().c_str());
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
    CommandLine app("The platform library from the command line.", "hearth");
    app.explain(kFooter);
    app.version(HEARTH_VERSION);
    app.require_command();
    bool json = false;
    bool verbose = false;
    app.flag("--json", json, "print one JSON document, for scripts");
    app.flag("--verbose", verbose, "show on standard error what the library prints");
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
    } catch (const Asked &asked) {
        show_text(asked.answer);
    } catch (const WrongLine &wrong) {
        return tell(wrong);
    } catch (const Failure &failure) {
        return tell(failure);
    } catch (const Quiet &quiet) {
        return quiet.status;
    } catch (const std::exception &error) {
        return tell(Failure(error.what()));
    }
    return kExitOk;
}
