#include "support/log_capture.h"

#include <stdarg.h>
#include <stdio.h>

#include <mutex>

namespace {

std::mutex g_mutex;
bool g_active;
std::vector<hearth::test::LogLine> g_lines;

void record(const char *module, const char *file, uint32_t level, const char *format,
            va_list values) {
    char text[4096];
    vsnprintf(text, sizeof text, format, values);
    std::lock_guard lock(g_mutex);
    if (g_active) {
        g_lines.push_back({module, file, level, text});
    }
}

}  // namespace

extern "C" __attribute__((visibility("default"), format(printf, 3, 4))) void osa_print_log(
    const char *module, uint32_t level, const char *format, ...) {
    va_list values;
    va_start(values, format);
    record(module, "", level, format, values);
    va_end(values);
}

extern "C" __attribute__((visibility("default"), format(printf, 5, 6))) void osa_print_log_ex(
    const char *module, const char *file, uint32_t /*line*/, uint32_t level, const char *format,
    ...) {
    va_list values;
    va_start(values, format);
    record(module, file, level, format, values);
    va_end(values);
}

namespace hearth::test {

LogCapture::LogCapture() {
    std::lock_guard lock(g_mutex);
    g_active = true;
    g_lines.clear();
}

LogCapture::~LogCapture() {
    std::lock_guard lock(g_mutex);
    g_active = false;
}

std::vector<LogLine> LogCapture::lines() const {
    std::lock_guard lock(g_mutex);
    return g_lines;
}

std::vector<std::string> LogCapture::texts() const {
    std::lock_guard lock(g_mutex);
    std::vector<std::string> texts;
    for (const LogLine &line : g_lines) {
        texts.push_back(std::to_string(line.level) + " " + line.text);
    }
    return texts;
}

std::vector<std::string> LogCapture::texts(const std::string &file) const {
    std::vector<std::string> texts;
    for (const LogLine &line : lines()) {
        if (line.file == file) {
            texts.push_back(std::to_string(line.level) + " " + line.text);
        }
    }
    return texts;
}

void LogCapture::clear() {
    std::lock_guard lock(g_mutex);
    g_lines.clear();
}

}  // namespace hearth::test
