#include "sim_command.h"

#include <stdarg.h>
#include <stdio.h>

#include <algorithm>
#include <charconv>

namespace hearth::device {

namespace {

std::string trimmed(std::string_view text) {
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    while (!text.empty() && text.back() == ' ') {
        text.remove_suffix(1);
    }
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        text = text.substr(1, text.size() - 2);
    }
    return std::string(text);
}

std::vector<std::string> split_arguments(std::string_view text) {
    std::vector<std::string> arguments;
    size_t start = 0;
    bool quoted = false;
    for (size_t i = 0; i <= text.size(); i++) {
        if (i == text.size() || (text[i] == ',' && !quoted)) {
            arguments.push_back(trimmed(text.substr(start, i - start)));
            start = i + 1;
        } else if (text[i] == '"') {
            quoted = !quoted;
        }
    }
    return arguments;
}

char to_upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}

bool is_name_end(char c) {
    return c == '=' || c == '?';
}

}  // namespace

int SimCommand::number(size_t i, int missing) const {
    if (i >= arguments.size()) {
        return missing;
    }
    const std::string &argument = arguments[i];
    int value = 0;
    auto [end, error] = std::from_chars(argument.data(), argument.data() + argument.size(), value);
    return error == std::errc() && end == argument.data() + argument.size() ? value : missing;
}

SimCommand parse_command(const Command &command) {
    SimCommand parsed;
    std::string_view line = command.line;
    if (line.size() >= 2 && to_upper(line[0]) == 'A' && to_upper(line[1]) == 'T') {
        line.remove_prefix(2);
    }
    size_t end =
        static_cast<size_t>(std::find_if(line.begin(), line.end(), is_name_end) - line.begin());
    parsed.name = trimmed(line.substr(0, end));
    std::transform(parsed.name.begin(), parsed.name.end(), parsed.name.begin(), to_upper);
    std::string_view rest = line.substr(end);
    if (rest == "?") {
        parsed.form = Form::kQuery;
    } else if (rest == "=?") {
        parsed.form = Form::kTest;
    } else if (!rest.empty()) {
        parsed.form = Form::kSet;
        parsed.raw = rest.substr(1);
        parsed.arguments = split_arguments(parsed.raw);
    }
    parsed.body = command.body;
    return parsed;
}

Reply line_reply(std::string line) {
    Reply reply;
    reply.lines.push_back(std::move(line));
    return reply;
}

Reply error(int cme_code) {
    return {{}, format("+CME ERROR: %d", cme_code)};
}

Reply sms_error(int cms_code) {
    return {{}, format("+CMS ERROR: %d", cms_code)};
}

Reply plain_error() {
    return {{}, "ERROR"};
}

Reply outcome(int cme_code) {
    return cme_code == 0 ? Reply{} : error(cme_code);
}

std::string format(const char *pattern, ...) {
    va_list values;
    va_start(values, pattern);
    char *text = nullptr;
    int length = vasprintf(&text, pattern, values);
    va_end(values);
    std::string result = length >= 0 ? std::string(text, static_cast<size_t>(length)) : "";
    free(text);
    return result;
}

}  // namespace hearth::device
