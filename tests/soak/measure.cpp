#include "soak/measure.h"

#include <stdio.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "soak/board.h"

namespace hearth::soak {

namespace {

constexpr long kGrowthKb = 256;
constexpr size_t kFewest = 40;

// The sum of a field's numbers in a file of "Name: number" lines.
long sum_of(const std::string &path, const std::string &name) {
    std::ifstream file(path);
    long sum = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, name.size(), name) == 0) {
            sum += std::stol(line.substr(line.find(':') + 1));
        }
    }
    return sum;
}

constexpr struct {
    const char *name;
    long Holdings::*what;
    long growth;
} kBounds[] = {
    {"private KB", &Holdings::private_kb, kGrowthKb},
    {"threads", &Holdings::threads, 0},
    {"descriptors", &Holdings::descriptors, 0},
};

}  // namespace

bool read_holdings(pid_t id, Holdings *holdings) {
    std::string folder = "/proc/" + std::to_string(id);
    std::error_code error;
    std::filesystem::directory_iterator descriptors(folder + "/fd", error);
    if (error) {
        return false;
    }
    holdings->descriptors = std::distance(begin(descriptors), end(descriptors));
    holdings->private_kb = sum_of(folder + "/smaps_rollup", "Private_");
    holdings->threads = sum_of(folder + "/status", "Threads");
    return holdings->threads > 0 && holdings->private_kb > 0;
}

int count_system_v(const char *kind) {
    std::ifstream file(std::string("/proc/sysvipc/") + kind);
    int lines = 0;
    for (std::string line; std::getline(file, line);) {
        lines++;
    }
    return std::max(lines - 1, 0);  // the heading
}

long Trend::middle(long Holdings::*what, int quarter) const {
    size_t first = samples_.size() * static_cast<size_t>(quarter) / 4;
    size_t last = samples_.size() * static_cast<size_t>(quarter + 1) / 4;
    std::vector<long> values;
    for (size_t i = first; i < last; i++) {
        values.push_back(samples_[i].*what);
    }
    if (values.empty()) {
        return 0;
    }
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

void Trend::judge(const char *name) const {
    if (samples_.size() < kFewest) {
        return;
    }
    for (const auto &bound : kBounds) {
        long from = middle(bound.what, 1);
        long to = middle(bound.what, 3);
        if (to > from + bound.growth) {
            fail("%s: %s went from %ld to %ld", name, bound.name, from, to);
        }
    }
}

std::string Trend::text() const {
    std::string text;
    for (const auto &bound : kBounds) {
        text += (text.empty() ? "" : ", ") + std::string(bound.name) + " " +
                std::to_string(middle(bound.what, 1)) + " then " +
                std::to_string(middle(bound.what, 3));
    }
    return text;
}

}  // namespace hearth::soak
