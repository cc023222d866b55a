// Programs of the desk as processes of a test.
#pragma once

#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace hearth::test {

// Runs a program of the desk with arguments; its standard error goes to a file when one is named.
inline pid_t launch(const std::string &program, std::vector<std::string> arguments,
                    const std::string &errors = "") {
    pid_t id = fork();
    if (id != 0) {
        return id;
    }
    if (!errors.empty() && freopen(errors.c_str(), "w", stderr) == nullptr) {
        _exit(126);
    }
    std::vector<char *> words;
    std::string path = HEARTH_BINARY_DIR "/device/" + program;
    words.push_back(path.data());
    for (std::string &argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    execv(path.c_str(), words.data());
    _exit(127);
}

// Waits for a process to end; returns its wait status.
inline int ended(pid_t id) {
    int status = 0;
    waitpid(id, &status, 0);
    return status;
}

}  // namespace hearth::test
