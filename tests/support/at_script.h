// An AT server for tests: a child process that owns the two queues and the pid file, and answers
// as the test says.
//
//     AtScript server;
//     server.answer({{AT_RET_SUCCESS, "+CREG: 0,1"}});
//     EXPECT_EQ(AT_Creg(0, &record), 0);
//     EXPECT_STREQ(server.requests().at(0).report, "AT+CREG?");
//
// Without a handler every request gets the answers in turn, the last one again and again; with
// no answer at all the server keeps silent. A handler runs in the child: what it changes the test
// does not see, but requests() has all that came.
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "hearth/at_lib.h"

namespace hearth::test {

class AtScript {
  public:
    struct Answer {
        int32_t ret_val;
        std::string report;
    };
    // From a request to the messages that go to the reply queue for it.
    using Handler = std::function<std::vector<at_server_msg>(const at_server_msg &request)>;

    AtScript();
    explicit AtScript(Handler handler);
    AtScript(const AtScript &) = delete;
    AtScript &operator=(const AtScript &) = delete;
    ~AtScript();

    // Forgets the requests so far; the next ones get these answers.
    void answer(const std::vector<Answer> &answers);

    // The requests since the start or the last answer(), up to 64.
    std::vector<at_server_msg> requests() const;
    // Their `report` texts.
    std::vector<std::string> commands() const;

    pid_t pid() const { return pid_; }

    // Holds the server; requests stay in the queue until resume().
    void pause();
    void resume();

    // Ends the server, and removes its queues unless told otherwise. The pid file stays.
    void stop(bool remove_queues = true);

  private:
    struct Shared;
    void start();
    [[noreturn]] void serve();
    std::vector<at_server_msg> next_answer(const at_server_msg &request);

    Handler handler_;
    Shared *shared_;
    pid_t pid_ = -1;
};

// A reply to a request, with `mtype` and `seq` as the protocol wants them.
at_server_msg reply_to(const at_server_msg &request, int32_t ret_val, const std::string &report);

}  // namespace hearth::test
