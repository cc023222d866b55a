// hearth completion: the shell's completion, made from the commands as they are.

#include "tool.h"

namespace hearth::tool {

namespace {

struct CompletionOptions {
    std::string shell;
    const CLI::App *app = nullptr;
};

// Long option names and subcommands of one command.
std::string words_of(const CLI::App &command) {
    std::string words;
    for (const CLI::App *sub : command.get_subcommands([](const CLI::App *) { return true; })) {
        words += sub->get_name() + " ";
    }
    for (const CLI::Option *option : command.get_options()) {
        for (const std::string &name : option->get_lnames()) {
            words += "--" + name + " ";
        }
    }
    return words + "--json --verbose";
}

// A line of each case statement for a command and all below it.
void collect(const CLI::App &command, const std::string &path, std::string &known,
             std::string &words) {
    words += "        \"" + path + "\") words=\"" + words_of(command) + "\" ;;\n";
    for (const CLI::App *sub : command.get_subcommands([](const CLI::App *) { return true; })) {
        std::string below = path + " " + sub->get_name();
        known += (known.empty() ? "            \"" : " | \\\n            \"") + below + "\"";
        collect(*sub, below, known, words);
    }
}

void run_completion(const CompletionOptions &options) {
    std::string known;
    std::string words;
    collect(*options.app, "hearth", known, words);
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

void add_completion_command(CLI::App &app) {
    CLI::App *completion =
        app.add_subcommand("completion",
                           "print a shell's completion: source <(hearth completion "
                           "bash)");
    CompletionOptions &options = on_run(completion, run_completion);
    options.app = &app;
    completion->add_option("SHELL", options.shell, "bash")
        ->required()
        ->check(CLI::IsMember(std::vector<std::string>{"bash"}));
}

}  // namespace hearth::tool
