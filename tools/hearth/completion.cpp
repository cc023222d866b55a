// hearth completion: the shell's completion, made from the commands as they are.

#include <optional>

#include "tool.h"

namespace hearth::tool {

namespace {

struct CompletionOptions {
    std::string shell;
    std::optional<Command> app;
};

// Long option names and subcommands of one command.
std::string words_of(Command command) {
    std::string words;
    for (Command sub : command.commands()) {
        words += sub.name() + " ";
    }
    for (const std::string &name : command.long_options()) {
        words += "--" + name + " ";
    }
    return words + "--json --verbose";
}

// A line of each case statement for a command and all below it.
void collect(Command command, std::string &known, std::string &words) {
    words += "        \"" + command.path() + "\") words=\"" + words_of(command) + "\" ;;\n";
    for (Command sub : command.commands()) {
        known += (known.empty() ? "            \"" : " | \\\n            \"") + sub.path() + "\"";
        collect(sub, known, words);
    }
}

void run_completion(const CompletionOptions &options) {
    std::string known;
    std::string words;
    collect(*options.app, known, words);
    show_text(
        "# bash completion: source <(hearth completion bash)\n"
        "_hearth() {\n"
        "    local path=hearth words= i\n"
        "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
        "        case \"$path ${COMP_WORDS[i]}\" in\n" +
        known +
        ") path=\"$path ${COMP_WORDS[i]}\" ;;\n"
        "        esac\n"
        "    done\n"
        "    case \"$path\" in\n" +
        words +
        "    esac\n"
        "    COMPREPLY=($(compgen -W \"$words\" -- \"${COMP_WORDS[COMP_CWORD]}\"))\n"
        "}\n"
        "complete -o default -F _hearth hearth\n");
}

}  // namespace

void add_completion_command(Command app) {
    Command completion =
        app.command("completion", "print a shell's completion: source <(hearth completion bash)");
    CompletionOptions &options = on_run(completion, run_completion);
    options.app = app;
    completion.option("SHELL", options.shell, "bash").required().one_of({"bash"});
}

}  // namespace hearth::tool
