// hearth bus: the local message bus. Calls and posts go through the client library; listening
// speaks frames itself, since handlers do not learn how long a body is.

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>

#include "hearth/notify.h"
#include "hearth/notify_recv.h"
#include "tool.h"

namespace hearth::tool {

namespace {

constexpr const char *kFolder = "/var/run/notify";
constexpr const char *kServer = "/var/run/notify/notifyserver";
constexpr const char *kClientName = "notifyclient";
// What this tool is on the bus where it has to be something.
constexpr uint32_t kOwnModule = 54;
// Zeros that go with a question to a module that is not known: more than any record.
constexpr size_t kProbeSize = 4096;

volatile sig_atomic_t g_stop = 0;

void on_stop(int) {
    g_stop = 1;
}

void connect_to_bus() {
    if (access(kServer, F_OK) != 0 || init_notify() != 0) {
        throw Failure("no notify server: start hearth-notify-server, or ./demo --shell",
                      kExitNoServer);
    }
}

void become(uint32_t module) {
    connect_to_bus();
    int32_t result = register_notify_handler(module, nullptr, nullptr);
    if (result != 0) {
        throw Failure("cannot register as module " + std::to_string(module), kBusResults, result);
    }
}

struct Body {
    std::string text;
    std::string hex;
    std::vector<uint32_t> words;

    std::string bytes() const {
        std::string all = text.empty() ? "" : text + '\0';
        all += from_hex(hex);
        for (uint32_t word : words) {
            all.append(reinterpret_cast<const char *>(&word), sizeof word);
        }
        return all;
    }
};

void add_body(Command command, Body &body) {
    command.option("--text", body.text, "text to send, with a zero byte behind it");
    command.option("--hex", body.hex, "bytes to send, hexadecimal");
    command.option("--u32", body.words, "32-bit values to send: 1,2,3").separator(',');
    command.explain("--text, --hex and --u32 go one behind the other in this order.");
}

// A body as hexadecimal text, and as text where it is one.
Json body_json(const std::string &bytes) {
    Json body = {{"bytes", bytes.size()}, {"hex", to_hex(bytes)}};
    std::string text = bytes.substr(0, bytes.find_last_not_of('\0') + 1);
    if (!text.empty() && std::all_of(text.begin(), text.end(),
                                     [](unsigned char c) { return c >= 0x20 && c != 0x7f; })) {
        body["text"] = printable(text);
    }
    return body;
}

struct CallOptions {
    uint32_t module = 0;
    uint32_t message = 0;
    Body body;
    uint32_t room = 0;
    int32_t timeout = 10;
    uint32_t as = kOwnModule;
};

ExitStatus status_of(int32_t result) {
    return result == NOTIFY_NO_ANSWER ? kExitNotFound : kExitFailed;
}

void run_call(const CallOptions &options) {
    std::string in = options.body.bytes();
    std::string out(options.room, '\0');
    become(options.as);
    int32_t result =
        send_notify_ex(options.module, options.message, in.empty() ? nullptr : in.data(),
                       out.empty() ? nullptr : out.data(), static_cast<uint32_t>(in.size()),
                       options.room, options.timeout);
    if (result == -1 || result == NOTIFY_NO_ANSWER) {
        throw Failure("call of module " + std::to_string(options.module), kBusResults, result,
                      status_of(result));
    }
    Json document = {{"module", options.module}, {"message", options.message}, {"result", result}};
    if (options.room != 0) {
        document.update(body_json(out));
    }
    show(document);
}

struct PostOptions {
    std::string module;
    uint32_t message = 0;
    std::vector<uint32_t> values;
    std::string text;
    std::string hex;
    uint32_t as = kOwnModule;
};

uint32_t module_number(const std::string &text) {
    if (text == "all") {
        return NOTIFY_MID_ALL;
    }
    bool digits = !text.empty() && text.size() < 3 &&
                  text.find_first_not_of("0123456789") == std::string::npos;
    uint32_t number = digits ? static_cast<uint32_t>(std::stoul(text)) : 0;
    if (number < 1 || number > NOTIFY_MID_MAX) {
        throw Failure("a module is 1 to 54, or \"all\"; got \"" + text + "\"", kExitUsage);
    }
    return number;
}

void run_post(const PostOptions &options) {
    uint32_t module = module_number(options.module);
    bool buffers = !options.text.empty() || !options.hex.empty();
    if (buffers && (module == NOTIFY_MID_ALL || !options.values.empty())) {
        throw Failure("buffers go to one module, and without values", kExitUsage);
    }
    std::string text = options.text.empty() ? "" : options.text + '\0';
    std::string bytes = from_hex(options.hex);
    uint32_t first = options.values.empty() ? 0 : options.values[0];
    uint32_t second = options.values.size() < 2 ? 0 : options.values[1];
    become(options.as);
    int32_t result = 0;
    if (module == NOTIFY_MID_ALL) {
        result = raise_notify(options.message, first, second);
    } else if (buffers) {
        // The text is the first buffer, the bytes are the second, or the only one.
        const std::string &one = text.empty() ? bytes : text;
        const std::string &two = text.empty() ? text : bytes;
        result =
            post_notify_ex(module, options.message, one.empty() ? nullptr : one.data(),
                           two.empty() ? nullptr : two.data(), static_cast<uint32_t>(one.size()),
                           static_cast<uint32_t>(two.size()));
    } else {
        result = post_notify(module, options.message, first, second);
    }
    if (result == -1) {
        throw Failure("post to module " + options.module, kBusResults, result);
    }
    show({{"module", options.module}, {"message", options.message}, {"posted", true}}, "");
}

struct ModulesOptions {
    uint32_t message = UINT32_MAX;
    uint32_t as = kOwnModule;
};

// The processes that are connected, by their sockets' names.
Json processes() {
    Json rows = Json::array();
    std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir(kFolder), closedir);
    std::vector<int> ids;
    while (const dirent *entry = folder != nullptr ? readdir(folder.get()) : nullptr) {
        std::string name = entry->d_name;
        if (name.rfind(kClientName, 0) == 0) {
            ids.push_back(atoi(name.c_str() + strlen(kClientName)));
        }
    }
    std::sort(ids.begin(), ids.end());
    for (int id : ids) {
        std::string program;
        std::ifstream file("/proc/" + std::to_string(id) + "/comm");
        if (id != getpid() && std::getline(file, program)) {
            rows.push_back({{"process", id}, {"program", printable(program)}});
        }
    }
    return rows;
}

// Nothing on the bus lists the modules, so that each is asked something it should not know.
void run_modules(const ModulesOptions &options) {
    become(options.as);
    Json modules = Json::array();
    for (uint32_t module = 1; module <= NOTIFY_MID_MAX; module++) {
        if (module == options.as || module == NOTIFY_MID_SERVER) {
            continue;
        }
        std::string in(kProbeSize, '\0');
        std::string out(kProbeSize, '\0');
        int32_t result = send_notify_ex(module, options.message, in.data(), out.data(), kProbeSize,
                                        kProbeSize, 1);
        if (result != NOTIFY_NO_ANSWER) {
            modules.push_back(
                {{"module", module}, {"answers", result == -1 ? Json(false) : Json(true)}});
        }
    }
    show({{"modules", modules}, {"processes", processes()}});
}

struct ListenOptions {
    std::vector<uint32_t> modules;
    uint32_t count = 0;
    uint32_t seconds = 0;
    int32_t result = 0;
    Body answer;
};

class Listener {
  public:
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    Listener() : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un own{};
        own.sun_family = AF_UNIX;
        snprintf(own.sun_path, sizeof own.sun_path, "%s/%s%05d", kFolder, kClientName, getpid());
        own_path_ = own.sun_path;
        unlink(own.sun_path);
        sockaddr_un server{};
        server.sun_family = AF_UNIX;
        strcpy(server.sun_path, kServer);
        if (fd_ < 0 || bind(fd_, reinterpret_cast<sockaddr *>(&own), sizeof own) != 0 ||
            connect(fd_, reinterpret_cast<sockaddr *>(&server), sizeof server) != 0) {
            close();
            throw Failure("no notify server: start hearth-notify-server, or ./demo --shell",
                          kExitNoServer);
        }
    }
    ~Listener() { close(); }

    void send(const msg_header &header, const std::string &body) {
        std::string bytes(reinterpret_cast<const char *>(&header), sizeof header);
        bytes += body;
        for (size_t done = 0; done < bytes.size();) {
            ssize_t sent = ::send(fd_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
            if (sent <= 0) {
                throw Failure("the notify server has gone", kExitNoServer);
            }
            done += static_cast<size_t>(sent);
        }
    }

    void join(uint32_t module) {
        msg_header header{};
        header.src_mid = module;
        header.des_mid = NOTIFY_MID_SERVER;
        header.sync_tag = NOTIFY_ONE_WAY;
        header.ack_tag = NOTIFY_PLAIN;
        header.ret_val = -1;
        send(header, "");
    }

    // The next frame; null when the time is over or a signal came.
    using Frame = std::unique_ptr<msg_header, decltype(&free)>;
    Frame receive(int milliseconds) {
        pollfd wait = {fd_, POLLIN, 0};
        msg_header *frame = nullptr;
        if (poll(&wait, 1, milliseconds) > 0 && recv_msg(fd_, &frame) <= 0) {
            throw Failure("the notify server has gone", kExitNoServer);
        }
        return {frame, free};
    }

  private:
    void close() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
        unlink(own_path_.c_str());
        fd_ = -1;
    }

    int fd_;
    std::string own_path_;
};

Json frame_json(const msg_header &frame, const std::string &body) {
    if (frame.ack_tag == NOTIFY_NOTICE) {
        return {{"kind", "death"}, {"module", frame.msg_id}};
    }
    Json row = {{"kind", frame.sync_tag == NOTIFY_CALL ? "request" : "notification"},
                {"from", frame.src_mid},
                {"to", frame.des_mid},
                {"message", frame.msg_id}};
    if (frame.sync_tag == NOTIFY_CALL) {
        row["answer_room"] = frame.ack_len;
        row.update(body_json(body));
    } else if (frame.ex_flag == 0) {
        uint32_t values[2] = {};
        memcpy(values, body.data(), std::min(body.size(), sizeof values));
        row["values"] = values;
    } else {
        size_t first = std::min<size_t>(frame.data1_len, body.size());
        row["first"] = body_json(body.substr(0, first));
        row["second"] = body_json(body.substr(first, frame.data2_len));
    }
    return row;
}

std::string body_line(const Json &body) {
    return body.contains("text") ? "\"" + body["text"].get<std::string>() + "\""
           : body["bytes"] == 0  ? "nothing"
                                 : body["hex"].get<std::string>();
}

std::string frame_line(const Json &row) {
    std::string kind = row["kind"];
    if (kind == "death") {
        return "module " + row["module"].dump() + " is gone";
    }
    std::string line = kind + " " + row["message"].dump() + " from " + row["from"].dump() + " to " +
                       row["to"].dump() + ": ";
    if (row.contains("values")) {
        return line + row["values"][0].dump() + ", " + row["values"][1].dump();
    }
    if (row.contains("first")) {
        return line + body_line(row["first"]) + ", " + body_line(row["second"]);
    }
    return line + body_line(row) + ", room for " + row["answer_room"].dump() + " bytes";
}

void answer(Listener &listener, const msg_header &request, const ListenOptions &options) {
    std::string body = options.answer.bytes();
    body.resize(request.ack_len, '\0');
    msg_header header{};
    header.msg_id = request.msg_id;
    header.seq_num = request.seq_num;
    header.src_mid = request.des_mid;
    header.des_mid = request.src_mid;
    header.sync_tag = NOTIFY_CALL;
    header.ack_tag = NOTIFY_ANSWER;
    header.data_len = request.ack_len;
    header.ret_val = options.result;
    listener.send(header, body);
}

void run_listen(const ListenOptions &options) {
    using Clock = std::chrono::steady_clock;
    options.answer.bytes();
    Listener listener;
    for (uint32_t module : options.modules) {
        listener.join(module);
    }
    struct sigaction action {};
    action.sa_handler = on_stop;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    auto end = Clock::now() + std::chrono::seconds(options.seconds);
    for (uint32_t seen = 0; g_stop == 0 && (options.count == 0 || seen < options.count);) {
        auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (options.seconds != 0 && left <= 0) {
            break;
        }
        auto frame = listener.receive(
            options.seconds == 0 ? -1 : static_cast<int>(std::min<int64_t>(left, 1 << 30)));
        if (frame == nullptr) {
            continue;
        }
        std::string body(reinterpret_cast<const char *>(frame.get() + 1), frame->data_len);
        Json row = frame_json(*frame, body);
        show_line(row, frame_line(row));
        if (frame->sync_tag == NOTIFY_CALL && frame->ack_tag == NOTIFY_PLAIN) {
            answer(listener, *frame, options);
        }
        seen += frame->ack_tag == NOTIFY_PLAIN ? 1 : 0;
    }
}

Option add_module(Command command, const char *name, uint32_t &module, const char *text) {
    return command.option(name, module, text).range(1, NOTIFY_MID_MAX);
}

void add_as(Command command, uint32_t &module) {
    add_module(command, "--as", module,
               "id of this tool on the bus; a daemon that has it loses it until it comes back")
        .show_default();
}

}  // namespace

void add_bus_commands(Command app) {
    Command bus = app.group("bus", "the local message bus");

    Command listen =
        bus.command("listen", "stand on the bus as modules, and print what comes for them");
    ListenOptions &listening = on_run(listen, run_listen);
    listen.option("MODULES", listening.modules, "ids, 1 to 54; a daemon loses an id it has")
        .required()
        .range(1, NOTIFY_MID_MAX);
    listen.option("--count", listening.count, "end after so many requests and notifications");
    listen.option("--seconds", listening.seconds, "end after this time");
    listen.option("--result", listening.result, "result that requests get").show_default();
    add_body(listen, listening.answer);

    Command call = bus.command("call", "send a request and print its answer");
    CallOptions &calling = on_run(call, run_call);
    add_module(call, "MODULE", calling.module, "destination, 1 to 54").required();
    call.option("MESSAGE", calling.message, "command, a number").required();
    add_body(call, calling.body);
    call.option("--room", calling.room, "bytes of answer that are taken")
        .range(0, 1 << 20)
        .show_default();
    call.option("--timeout", calling.timeout, "seconds to wait").range(1, 240).show_default();
    add_as(call, calling.as);

    Command post = bus.command("post", "send a notification; nothing tells its arrival");
    PostOptions &posting = on_run(post, run_post);
    post.option("MODULE", posting.module, "destination, 1 to 54, or \"all\"").required();
    post.option("MESSAGE", posting.message, "event, a number").required();
    post.option("VALUES", posting.values, "two 32-bit values").count(0, 2);
    post.option("--text", posting.text, "first buffer: a text with a zero byte behind it");
    post.option("--hex", posting.hex, "second buffer, or the only one: hexadecimal bytes");

    add_as(post, posting.as);

    Command modules = bus.command("modules", "find out which modules and processes are on the bus");
    ModulesOptions &asking = on_run(modules, run_modules);
    modules
        .option("--message", asking.message,
                "what each module is asked, with 4096 zero bytes; one that none knows")
        .show_default();
    add_as(modules, asking.as);
}

}  // namespace hearth::tool
