// The command-line tool as a script sees it: run, its output kept, its JSON parsed.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "hearth/at_lib.h"
#include "support/config_tree.h"

namespace hearth::test {

using Json = nlohmann::json;
using Words = std::vector<std::string>;

inline constexpr const char *kTool = HEARTH_BINARY_DIR "/tools/hearth/hearth";
inline constexpr const char *kOut = "/data/out";

inline pid_t launch_words(Words words, const char *out = kOut) {
    std::vector<char *> arguments;
    for (std::string &word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 1, out, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&files, 2, "/data/err", O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t pid = -1;
    posix_spawn(&pid, arguments[0], &files, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    return pid;
}

struct Outcome {
    int status;
    std::string out;
    std::string err;
    Json json() const { return Json::parse(out, nullptr, false); }
};

inline Outcome run(Words words) {
    words.insert(words.begin(), kTool);
    pid_t pid = launch_words(std::move(words));
    int status = -1;
    waitpid(pid, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_text(kOut), read_text("/data/err")};
}

inline Json json_of(Words words, int status = 0) {
    words.push_back("--json");
    Outcome result = run(words);
    EXPECT_EQ(result.status, status) << result.err;
    EXPECT_FALSE(result.json().is_discarded()) << result.out;
    return result.json();
}

class AtServer {
  public:
    explicit AtServer(const std::string &scenario) {
        write_text("/data/scenario.toml", scenario);
        pid_ = launch_words({HEARTH_BINARY_DIR "/device/at_server/hearth-at-server", "--scenario",
                             "/data/scenario.toml"},
                            "/data/at_server");
        for (int i = 0; i < 500 && get_ats_task_id() != pid_; i++) {
            usleep(10000);
        }
    }
    AtServer(const AtServer &) = delete;
    AtServer &operator=(const AtServer &) = delete;
    ~AtServer() {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }

  private:
    pid_t pid_;
};

}  // namespace hearth::test
