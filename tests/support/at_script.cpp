#include "support/at_script.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <utility>

#include "hearth/osa_event.h"
#include "hearth/osa_queue.h"

namespace hearth::test {

namespace {

constexpr uint32_t kQueueMessages = 10;

void check(bool ok, const char *what) {
    if (!ok) {
        perror(what);
        abort();
    }
}

void write_pid_file() {
    FILE *file = fopen("/var/run/pidfile/ats.pid", "we");
    check(file != nullptr, "ats.pid");
    fprintf(file, "%d\n", getpid());
    fclose(file);
}

void remove_queue(int32_t number) {
    int32_t queue = osa_get_msgQ_id(number);
    if (queue != -1) {
        osa_msgQ_delete(queue);
    }
}

}  // namespace

// What the test and its server both see. The test writes the answers only while no request is
// under way.
struct AtScript::Shared {
    struct SharedAnswer {
        int32_t ret_val;
        uint32_t length;
        char report[sizeof(at_server_msg::report)];
    };
    std::atomic<bool> ready;
    std::atomic<uint32_t> request_count;
    at_server_msg requests[64];
    std::atomic<uint32_t> answer_count;
    SharedAnswer answers[16];
};

AtScript::AtScript() : AtScript(nullptr) {}

AtScript::AtScript(Handler handler) : handler_(std::move(handler)) {
    void *memory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    check(memory != MAP_FAILED, "mmap");
    shared_ = static_cast<Shared *>(memory);
    if (!handler_) {
        handler_ = [this](const at_server_msg &request) { return next_answer(request); };
    }
    start();
}

AtScript::~AtScript() {
    stop();
    munmap(shared_, sizeof(Shared));
}

void AtScript::start() {
    fflush(stdout);
    pid_t parent = getpid();
    pid_ = fork();
    check(pid_ >= 0, "fork");
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) {
            _exit(1);
        }
        serve();
    }
    while (!shared_->ready) {
        check(waitpid(pid_, nullptr, WNOHANG) == 0, "AT server");
        usleep(1000);
    }
}

void AtScript::serve() {
    osa_event_init(AT_EVENT_REQUEST);
    int32_t requests = osa_msgQ_create(AT_QUEUE_REQUESTS, kQueueMessages, sizeof(at_server_msg));
    int32_t replies = osa_msgQ_create(AT_QUEUE_REPLIES, kQueueMessages, sizeof(at_server_msg));
    if (requests == -1 || replies == -1) {
        _exit(1);
    }
    write_pid_file();
    shared_->ready = true;
    for (;;) {
        int32_t event = 0;
        osa_event_recv(AT_EVENT_REQUEST, -1, &event);
        at_server_msg request;
        while (osa_msgQ_recv(requests, &request, sizeof request, 0) >= 0) {
            uint32_t count = shared_->request_count;
            shared_->requests[count % std::size(shared_->requests)] = request;
            shared_->request_count = count + 1;
            for (const at_server_msg &reply : handler_(request)) {
                osa_msgQ_send(replies, &reply, sizeof reply, 1);
            }
        }
    }
}

std::vector<at_server_msg> AtScript::next_answer(const at_server_msg &request) {
    uint32_t count = shared_->answer_count;
    if (count == 0) {
        return {};
    }
    const Shared::SharedAnswer &answer =
        shared_->answers[std::min(shared_->request_count.load(), count) - 1];
    return {reply_to(request, answer.ret_val, std::string(answer.report, answer.length))};
}

void AtScript::answer(const std::vector<Answer> &answers) {
    check(answers.size() <= std::size(shared_->answers), "too many answers");
    for (size_t i = 0; i < answers.size(); i++) {
        const std::string &report = answers[i].report;
        check(report.size() <= sizeof shared_->answers[i].report, "report too long");
        shared_->answers[i].ret_val = answers[i].ret_val;
        shared_->answers[i].length = static_cast<uint32_t>(report.size());
        memcpy(shared_->answers[i].report, report.data(), report.size());
    }
    shared_->answer_count = static_cast<uint32_t>(answers.size());
    shared_->request_count = 0;
}

std::vector<at_server_msg> AtScript::requests() const {
    size_t count = std::min<size_t>(shared_->request_count, std::size(shared_->requests));
    return {shared_->requests, shared_->requests + count};
}

std::vector<std::string> AtScript::commands() const {
    std::vector<std::string> commands;
    for (const at_server_msg &request : requests()) {
        commands.emplace_back(request.report, strnlen(request.report, sizeof request.report));
    }
    return commands;
}

void AtScript::pause() {
    kill(pid_, SIGSTOP);
    waitpid(pid_, nullptr, WUNTRACED);
}

void AtScript::resume() {
    kill(pid_, SIGCONT);
}

void AtScript::stop(bool remove_queues) {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
    if (remove_queues) {
        remove_queue(AT_QUEUE_REQUESTS);
        remove_queue(AT_QUEUE_REPLIES);
    }
}

at_server_msg reply_to(const at_server_msg &request, int32_t ret_val, const std::string &report) {
    at_server_msg reply = request;
    memset(reply.report, 0, sizeof reply.report);
    memcpy(reply.report, report.data(), std::min(report.size(), sizeof reply.report));
    reply.Ret_val = ret_val;
    reply.report_len = static_cast<uint32_t>(report.size());
    return reply;
}

}  // namespace hearth::test
