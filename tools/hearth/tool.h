// What the subcommands share: options, output, failures.
//
// A subcommand builds one JSON document and shows it. With --json it is printed as it is, otherwise
// as aligned columns. The library prints on standard output too; that is dropped, or with --verbose
// goes to standard error, so that a script finds nothing but its document.
#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "options.h"
#include "results.h"

namespace hearth::tool {

using Json = nlohmann::ordered_json;
using options::Command;
using options::Option;

enum ExitStatus {
    kExitOk = 0,
    kExitFailed = 1,
    kExitUsage = 2,
    kExitNotFound = 3,
    kExitNoServer = 4,
};

// Ends a subcommand. `details` is what --json tells beyond the text.
class Failure : public std::runtime_error {
  public:
    explicit Failure(const std::string &text, ExitStatus status = kExitFailed);
    // With a result number, its name and its meaning.
    Failure(const std::string &what, const Facility &facility, int64_t result,
            ExitStatus status = kExitFailed);

    const ExitStatus status;
    Json details;
};

// Ends a subcommand whose document has told all.
struct Quiet {
    ExitStatus status;
};

// Keeps standard output for this program's own output. Called once, before anything is printed.
void take_standard_output(bool verbose);
void set_json(bool json);
bool json_wanted();

// The document of a subcommand. In columns an object is one line a member, an array of objects one
// line an element under a heading; null is left out.
void show(const Json &document);
// The same for one that needs a text of its own.
void show(const Json &document, const std::string &text);
// One of many documents: one line, at once.
void show_line(const Json &document, const std::string &text);
// A text that is the same for scripts.
void show_text(const std::string &text);

// A text of the device that may hold any byte: what is no UTF-8 is replaced.
std::string printable(const std::string &bytes);

// Bytes to upper-case hexadecimal text and back; Failure for a text that is no such thing.
std::string to_hex(const std::string &bytes);
std::string from_hex(const std::string &text);

// The bytes of a file; Failure if it cannot be read.
std::string read_file(const std::string &path);

// Gives a subcommand its options, which live as long as it does, and what it runs with them.
template <typename Options>
Options &on_run(Command command, void (*run)(const Options &)) {
    auto options = std::make_shared<Options>();
    command.on_run([options, run] { run(*options); });
    return *options;
}

void add_at_commands(Command app);
void add_sms_commands(Command at);
void add_phonebook_commands(Command at);
void add_pin_commands(Command at);
void add_config_commands(Command app);
void add_table_commands(Command app);
void add_bus_commands(Command app);
void add_log_commands(Command app);
void add_xml_commands(Command app);
void add_text_commands(Command app);
void add_gz_commands(Command app);
void add_desk_commands(Command app);
void add_completion_command(Command app);
// Once all commands are there: an example for each.
void add_examples(Command app);

}  // namespace hearth::tool
