#include "tool.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>

namespace hearth::tool {

namespace {

FILE *g_out = stdout;
bool g_json = false;

std::string describe(const std::string &what, const Facility &facility, int64_t result) {
    std::string text = what + ": result " + std::to_string(result);
    if (const Meaning *row = meaning_of(facility, result)) {
        text += std::string(" (") + row->name + "), " + row->text;
    }
    return text;
}

void put(const std::string &text) {
    if (fwrite(text.data(), 1, text.size(), g_out) != text.size() || fflush(g_out) != 0) {
        fprintf(stderr, "hearth: cannot write: %s\n", strerror(errno));
        _exit(kExitFailed);
    }
}

std::string heading(std::string key) {
    std::replace(key.begin(), key.end(), '_', ' ');
    return key;
}

std::string cell(const Json &value) {
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (value.is_boolean()) {
        return value.get<bool>() ? "yes" : "no";
    }
    return value.is_null() ? "" : value.dump();
}

// Characters, not bytes.
size_t width_of(const std::string &text) {
    return static_cast<size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xc0) != 0x80; }));
}

std::string padded(const std::string &text, size_t width) {
    size_t taken = width_of(text);
    return text + std::string(taken < width ? width - taken : 0, ' ');
}

std::string row_text(const std::vector<std::string> &cells, const std::vector<size_t> &widths) {
    std::string text;
    for (size_t i = 0; i < cells.size(); i++) {
        text += padded(cells[i], widths[i]) + "  ";
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text + "\n";
}

std::string table_text(const Json &rows) {
    std::vector<std::string> keys;
    for (const Json &row : rows) {
        for (const auto &[key, value] : row.items()) {
            if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
                keys.push_back(key);
            }
        }
    }
    std::vector<std::vector<std::string>> lines(1);
    for (const std::string &key : keys) {
        lines[0].push_back(heading(key));
    }
    for (const Json &row : rows) {
        std::vector<std::string> &line = lines.emplace_back();
        for (const std::string &key : keys) {
            line.push_back(row.contains(key) ? cell(row[key]) : "");
        }
    }
    std::vector<size_t> widths(keys.size());
    for (const auto &line : lines) {
        for (size_t i = 0; i < line.size(); i++) {
            widths[i] = std::max(widths[i], width_of(line[i]));
        }
    }
    std::string text;
    for (const auto &line : lines) {
        text += row_text(line, widths);
    }
    return text;
}

bool is_table(const Json &value) {
    return value.is_array() && !value.empty() && value[0].is_object();
}

std::string object_text(const Json &object) {
    size_t width = 0;
    for (const auto &[key, value] : object.items()) {
        width = is_table(value) ? width : std::max(width, key.size());
    }
    std::string text;
    for (const auto &[key, value] : object.items()) {
        if (is_table(value)) {
            text += (text.empty() ? "" : "\n") + table_text(value);
        } else if (value.is_array()) {
            std::string list;
            for (const Json &element : value) {
                list += (list.empty() ? "" : ", ") + cell(element);
            }
            text += padded(heading(key), width) + "  " + (list.empty() ? "none" : list) + "\n";
        } else if (!value.is_null()) {
            text += padded(heading(key), width) + "  " + cell(value) + "\n";
        }
    }
    return text;
}

std::string document_text(const Json &document) {
    if (document.is_array()) {
        return document.empty() ? "none\n" : table_text(document);
    }
    return document.is_object() ? object_text(document) : cell(document) + "\n";
}

std::string dumped(const Json &document, int indent) {
    return document.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

Failure::Failure(const std::string &text, ExitStatus exit_status)
    : std::runtime_error(text), status(exit_status), details({{"what", text}}) {}

Failure::Failure(const std::string &what, const Facility &facility, int64_t result,
                 ExitStatus exit_status)
    : std::runtime_error(describe(what, facility, result)),
      status(exit_status),
      details({{"what", what}, {"facility", facility.name}, {"result", result}}) {
    if (const Meaning *row = meaning_of(facility, result)) {
        details["name"] = row->name;
        details["meaning"] = row->text;
    }
}

void take_standard_output(bool verbose) {
    int own = dup(STDOUT_FILENO);
    int others = verbose ? dup(STDERR_FILENO) : open("/dev/null", O_WRONLY);
    FILE *out = own >= 0 ? fdopen(own, "w") : nullptr;
    if (out != nullptr && dup2(others, STDOUT_FILENO) >= 0) {
        g_out = out;
        // What the library prints stands among the lines of standard error, in their order.
        setvbuf(stdout, nullptr, _IOLBF, 0);
    }
    close(others);
}

void set_json(bool json) {
    g_json = json;
}

bool json_wanted() {
    return g_json;
}

void show(const Json &document) {
    show(document, document_text(document));
}

void show(const Json &document, const std::string &text) {
    put(g_json ? dumped(document, 2) : text);
}

void show_line(const Json &document, const std::string &text) {
    put(g_json ? dumped(document, -1) : text + "\n");
}

void show_text(const std::string &text) {
    put(text);
}

std::string printable(const std::string &bytes) {
    std::string quoted = Json(bytes).dump(-1, ' ', false, Json::error_handler_t::replace);
    std::string text = Json::parse(quoted).get<std::string>();
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; }, ' ');
    return text;
}

std::string to_hex(const std::string &bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (unsigned char byte : bytes) {
        text += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return text;
}

std::string from_hex(const std::string &text) {
    std::string digits;
    std::remove_copy_if(text.begin(), text.end(), std::back_inserter(digits),
                        [](unsigned char c) { return isspace(c) != 0; });
    bool good =
        digits.size() % 2 == 0 &&
        std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return isxdigit(c) != 0; });
    if (!good) {
        throw Failure("expected pairs of hexadecimal digits, got \"" + text + "\"", kExitUsage);
    }
    std::string bytes;
    for (size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file) {
        throw Failure("cannot read " + path + ": " + strerror(errno), kExitNotFound);
    }
    return bytes;
}

}  // namespace hearth::tool
