// hearth log: the log that all processes share, and its settings.

#include "hearth/osa_log.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "hearth/xml.h"
#include "tool.h"

namespace hearth::tool {

namespace {

constexpr const char *kLogFile = "/online/log/webapp.log";
// Where the desk's processes write what they print.
constexpr const char *kDeskLogs = "/var/log/desk";

// What a level name on the command line lets pass: itself and all that is worse.
struct LevelName {
    const char *name;
    uint32_t level;
    uint32_t mask;
};
constexpr LevelName kLevels[] = {
    {"off", 0, 0},
    {"fatal", OSA_LOG_FATAL, 1},
    {"error", OSA_LOG_ERROR, 3},
    {"warning", OSA_LOG_WARNING, 7},
    {"info", OSA_LOG_INFO, 15},
    {"debug", OSA_LOG_DEBUG, 31},
};

constexpr const char *kLevelHelp =
    "off, fatal, error, warning, info, debug, or a sum of "
    "1 fatal, 2 error, 4 warning, 8 info, 16 debug";

uint32_t mask_of(const std::string &text) {
    for (const LevelName &row : kLevels) {
        if (text == row.name) {
            return row.mask;
        }
    }
    if (!text.empty() && text.size() < 3 &&
        text.find_first_not_of("0123456789") == std::string::npos && std::stoi(text) < 32) {
        return static_cast<uint32_t>(std::stoi(text));
    }
    throw Failure("\"" + text + "\" is no level: " + kLevelHelp, kExitUsage);
}

std::string mask_text(uint32_t mask) {
    std::string names;
    for (const LevelName &row : kLevels) {
        if (row.mask == mask) {
            return row.name;
        }
        if (row.level != 0 && (mask & row.level) != 0) {
            names += (names.empty() ? "" : "+") + std::string(row.name);
        }
    }
    return names;
}

volatile sig_atomic_t g_stop = 0;

void on_stop(int) {
    g_stop = 1;
}

struct TailOptions {
    std::vector<std::string> files;
    uint32_t lines = 10;
    bool follow = false;
    std::string module;
    std::string level = "debug";
};

// A file that grows. A file that shrank was emptied, and is read from its start.
class Tail {
  public:
    explicit Tail(std::string path) : path_(std::move(path)) {}

    const std::string &path() const { return path_; }

    // The whole lines that came since the last call.
    std::vector<std::string> lines() {
        std::ifstream file(path_, std::ios::binary);
        file.seekg(0, std::ios::end);
        if (!file) {
            return {};
        }
        auto size = file.tellg();
        if (size < at_) {
            at_ = 0;
            part_.clear();
        }
        file.seekg(at_);
        std::string bytes(static_cast<size_t>(size - at_), '\0');
        file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        bytes.resize(static_cast<size_t>(file.gcount()));
        at_ += file.gcount();
        part_ += bytes;
        std::vector<std::string> lines;
        for (size_t end; (end = part_.find('\n')) != std::string::npos;) {
            lines.push_back(part_.substr(0, end));
            part_.erase(0, end + 1);
        }
        return lines;
    }

  private:
    std::string path_;
    std::streamoff at_ = 0;
    std::string part_;
};

// A line of the log is "stamp module (  id): <LEVL> place text"; others have just a text.
Json line_json(const std::string &path, const std::string &line) {
    Json row = {{"file", path}};
    for (const LevelName &level : kLevels) {
        const char *tag = LEVEL_S(level.level);
        size_t at = level.level == 0 ? std::string::npos : line.find(tag);
        if (at != std::string::npos && at < 100) {
            size_t stamp = line.find(' ');
            size_t id = line.find(" (  ");
            row["level"] = level.name;
            if (stamp < id && id < at) {
                row["time"] = line.substr(0, stamp);
                row["module"] = line.substr(stamp + 1, id - stamp - 1);
                row["process"] = atoi(line.c_str() + id + 4);
                row["text"] = printable(line.substr(at + strlen(tag) + 1));
                return row;
            }
        }
    }
    row["text"] = printable(line);
    return row;
}

bool passes(const Json &row, const TailOptions &options, uint32_t mask) {
    if (!options.module.empty() && row.value("module", "") != options.module) {
        return false;
    }
    std::string name = row.value("level", "");
    for (const LevelName &level : kLevels) {
        if (name == level.name) {
            return (mask & level.level) != 0;
        }
    }
    return true;
}

std::vector<std::string> default_files() {
    std::vector<std::string> files = {kLogFile};
    std::error_code none;
    for (const auto &entry : std::filesystem::directory_iterator(kDeskLogs, none)) {
        if (entry.is_regular_file(none)) {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin() + 1, files.end());
    return files;
}

// The line behind the name of its process, which many begin their lines with anyway.
std::string named_line(const std::string &path, const std::string &line, bool with_name) {
    std::string name = std::filesystem::path(path).filename().string() + ": ";
    return (with_name && line.rfind(name, 0) != 0 ? name : "") + printable(line);
}

void show_new_lines(Tail &tail, const TailOptions &options, size_t most, bool with_name) {
    uint32_t mask = mask_of(options.level);
    std::vector<std::pair<Json, std::string>> rows;
    for (const std::string &line : tail.lines()) {
        Json row = line_json(tail.path(), line);
        if (passes(row, options, mask)) {
            rows.emplace_back(row, named_line(tail.path(), line, with_name));
        }
    }
    size_t first = rows.size() > most ? rows.size() - most : 0;
    for (size_t i = first; i < rows.size(); i++) {
        show_line(rows[i].first, rows[i].second);
    }
}

// Processes that begin to write while others are followed.
void take_new_files(std::vector<Tail> &tails) {
    for (const std::string &path : default_files()) {
        bool known = std::any_of(tails.begin(), tails.end(),
                                 [&](const Tail &tail) { return tail.path() == path; });
        if (!known) {
            tails.emplace_back(path);
        }
    }
}

void follow(std::vector<Tail> &tails, const TailOptions &options) {
    struct sigaction action {};
    action.sa_handler = on_stop;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    while (g_stop == 0) {
        usleep(100000);
        if (options.files.empty()) {
            take_new_files(tails);
        }
        for (Tail &tail : tails) {
            show_new_lines(tail, options, SIZE_MAX, tails.size() > 1);
        }
    }
}

void run_tail(const TailOptions &options) {
    mask_of(options.level);
    std::vector<std::string> files = options.files.empty() ? default_files() : options.files;
    std::vector<Tail> tails(files.begin(), files.end());
    bool any = std::any_of(files.begin(), files.end(),
                           [](const std::string &path) { return access(path.c_str(), R_OK) == 0; });
    if (!any && !options.follow) {
        throw Failure("there is no log yet: " + files[0], kExitNotFound);
    }
    for (Tail &tail : tails) {
        show_new_lines(tail, options, options.lines, tails.size() > 1);
    }
    if (options.follow) {
        follow(tails, options);
    }
}

struct LevelOptions {
    std::string module;
    std::string level;
    int where = -1;
    int size = -1;
};

struct FreeTree {
    void operator()(XML_Node *node) const { cl_xmlFreeNode(node); }
};
using Tree = std::unique_ptr<XML_Node, FreeTree>;

void expect_ok(const std::string &what, int32_t result) {
    if (result != 0) {
        throw Failure(what, kXmlResults, result);
    }
}

XML_Node *child(XML_Node *parent, const char *name) {
    XML_Node *found = cl_xmlGetNodeChildByName(parent, name);
    if (found == nullptr) {
        expect_ok("cannot change the settings",
                  cl_xmlCreateNode(XML_NODE_ELEMENT, nullptr, name, nullptr, &found));
        expect_ok("cannot change the settings", cl_xmlAppendChildNode(parent, found));
    }
    return found;
}

std::string value(const XML_Node *parent, const char *name) {
    const XML_Node *node = cl_xmlGetNodeChildByName(parent, name);
    return node != nullptr && node->value != nullptr ? node->value : "";
}

void set_value(XML_Node *parent, const char *name, const std::string &text) {
    expect_ok("cannot change the settings",
              cl_xmlSetNode(child(parent, name), nullptr, nullptr, text.c_str()));
}

// The settings, or those of a log that goes to its file where there are none.
Tree load_settings(const std::string &path) {
    XML_Node *tree = nullptr;
    if (access(path.c_str(), F_OK) == 0) {
        expect_ok("cannot read " + path, cl_xmlParseFile(path.c_str(), &tree));
        return Tree(tree);
    }
    expect_ok("no settings", cl_xmlParse("<log><Where>2</Where><Size>1024</Size><Modules><m>"
                                         "<name>default</name><mask>3</mask></m></Modules></log>",
                                         &tree));
    return Tree(tree);
}

XML_Node *entry_of(XML_Node *modules, const std::string &module) {
    for (XML_Node *entry = modules->first_child; entry != nullptr; entry = entry->next_sibling) {
        if (value(entry, "name") == module) {
            return entry;
        }
    }
    XML_Node *entry = nullptr;
    expect_ok("cannot change the settings",
              cl_xmlCreateNode(XML_NODE_ELEMENT, nullptr, "m", nullptr, &entry));
    expect_ok("cannot change the settings", cl_xmlAppendChildNode(modules, entry));
    set_value(entry, "name", module);
    return entry;
}

void show_settings(const std::string &path, XML_Node *tree) {
    int where = atoi(value(tree, "Where").c_str());
    Json targets = Json::array();
    constexpr const char *kTargets[] = {"output", "file", "operations log"};
    for (int bit = 0; bit < 3; bit++) {
        if ((where >> bit & 1) != 0) {
            targets.push_back(kTargets[bit]);
        }
    }
    Json modules = Json::array();
    for (XML_Node *entry = child(tree, "Modules")->first_child; entry != nullptr;
         entry = entry->next_sibling) {
        uint32_t mask = static_cast<uint32_t>(atoi(value(entry, "mask").c_str()));
        modules.push_back(
            {{"module", value(entry, "name")}, {"level", mask_text(mask)}, {"mask", mask}});
    }
    show({{"settings", path},
          {"stored", access(path.c_str(), F_OK) == 0},
          {"goes_to", targets},
          {"kib", atoi(value(tree, "Size").c_str())},
          {"modules", modules}});
}

void run_level(const LevelOptions &options) {
    const char *known = osa_get_log_cfgpath();
    if (known == nullptr) {
        throw Failure("the path of the log's settings cannot be told");
    }
    std::string path = known;
    bool change = !options.level.empty() || options.where >= 0 || options.size >= 0;
    if (!change && !options.module.empty()) {
        throw Failure("tell the module's level: " + std::string(kLevelHelp), kExitUsage);
    }
    Tree tree = load_settings(path);
    if (!options.level.empty()) {
        XML_Node *entry = entry_of(child(tree.get(), "Modules"), options.module);
        set_value(entry, "mask", std::to_string(mask_of(options.level)));
    }
    if (options.where >= 0) {
        set_value(tree.get(), "Where", std::to_string(options.where));
    }
    if (options.size >= 0) {
        set_value(tree.get(), "Size", std::to_string(options.size));
    }
    if (change) {
        std::error_code none;
        std::filesystem::create_directories(std::filesystem::path(path).parent_path(), none);
        expect_ok("cannot write " + path, cl_xmlTransformFile(tree.get(), path.c_str()));
        // While no process has logged there is nobody to tell.
        if (access("/var/log/applog_shm", F_OK) == 0 && osa_update_cfg() != 1) {
            throw Failure("the settings are stored, but running processes cannot be told");
        }
    }
    show_settings(path, tree.get());
}

}  // namespace

void add_log_commands(Command app) {
    Command log = app.group("log", "the log of all processes");

    Command tail = log.command("tail", "print the log's last lines");
    TailOptions &tailing = on_run(tail, run_tail);
    tail.option("FILES", tailing.files,
                "files to read; the log and those of the desk's processes without any");
    tail.option("-n,--lines", tailing.lines, "lines of each file").show_default();
    tail.flag("-f,--follow", tailing.follow, "go on with what is written from now on");
    tail.option("--module", tailing.module, "lines of this module alone");
    tail.option("--level", tailing.level, kLevelHelp).show_default();

    Command level = log.command("level", "show what is logged, or change it for all processes");
    LevelOptions &levels = on_run(level, run_level);
    Option module = level.option("MODULE", levels.module,
                                 "module, such as ats; default for those without an entry");
    level.option("LEVEL", levels.level, kLevelHelp).needs(module);
    level.option("--where", levels.where, "sum of 1 output, 2 file, 4 operations log").range(0, 7);
    level.option("--size", levels.size, "KiB at which the file is begun anew").range(1, 1 << 20);
}

}  // namespace hearth::tool
