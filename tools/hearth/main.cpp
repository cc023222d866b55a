// hearth: the library from the command line.

#include <algorithm>
#include <sstream>

#include "tool.h"

namespace {

using namespace hearth::tool;

constexpr const char *kFooter =
    "Exit status: 0 done, 1 failed, 2 wrong command line, 3 not found, 4 no server.\n"
    "With --json standard output is one JSON document, for a failure {\"error\": ...}.\n"
    "Every command explains itself: hearth at sms --help";

int tell(const Failure &failure) {
    if (json_wanted()) {
        show(Json{{"error", failure.details}});
    } else {
        fprintf(stderr, "hearth: %s\n", failure.what());
    }
    return failure.status;
}

// Help goes to standard output, a wrong command line to standard error.
int tell(const CLI::App &app, const CLI::ParseError &error) {
    std::ostringstream out;
    std::ostringstream err;
    int status = app.exit(error, out, err);
    show_text(out.str());
    if (status != 0) {
        if (json_wanted()) {
            show(Json{{"error", {{"what", error.what()}}}});
        }
        fputs(err.str().c_str(), stderr);
    }
    return status == 0 ? kExitOk : kExitUsage;
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
    add_completion_command(app);
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
