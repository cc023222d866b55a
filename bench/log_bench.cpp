// A log call beside spdlog's: turned away by the filter, and written to a file. What the written
// line costs at least is the status and the write of its file. Runs in a device root.
// packages: libspdlog-dev
// link: spdlog fmt

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "hearth/osa_log.h"

namespace {

constexpr const char *kText = "signal %d of %s\n";

void load_settings() {
    std::filesystem::create_directories("/app/webroot/data/userdata/log");
    std::ofstream("/app/webroot/data/userdata/log/logs.xml")
        << "<log><Where>2</Where><Size>65536</Size><Modules>"
           "<m><name>default</name><mask>3</mask></m><m><name>config</name><mask>3</mask></m>"
           "<m><name>notify_client</name><mask>7</mask></m>"
           "<m><name>ats</name><mask>15</mask></m></Modules></log>";
    // The first call of a process loads them.
    osa_print_log_ex("ats", "ats/atapi/at_lib", 1, OSA_LOG_DEBUG, "%s", "");
    osa_update_cfg();
    osa_print_log_ex("ats", "ats/atapi/at_lib", 1, OSA_LOG_DEBUG, "%s", "");
}

// Turned away by the entry of its module, while others let the level pass.
void refused_by_module(benchmark::State &state) {
    load_settings();
    for (auto _ : state) {
        osa_print_log_ex("config", "config/src/global_config", 1, OSA_LOG_INFO, kText, 17, "cell");
    }
}
BENCHMARK(refused_by_module);

// Turned away for every module.
void refused_for_all(benchmark::State &state) {
    load_settings();
    for (auto _ : state) {
        osa_print_log_ex("config", "config/src/global_config", 1, OSA_LOG_DEBUG, kText, 17, "cell");
    }
}
BENCHMARK(refused_for_all);
BENCHMARK(refused_for_all)->Threads(4)->UseRealTime();

void written(benchmark::State &state) {
    load_settings();
    for (auto _ : state) {
        osa_print_log_ex("ats", "ats/atapi/at_lib", 1, OSA_LOG_INFO, kText, 17, "cell");
    }
}
BENCHMARK(written);

void stat_and_writev(benchmark::State &state) {
    constexpr const char *kPath = "/var/log/stat_and_writev";
    int fd = open(kPath, O_RDWR | O_CREAT | O_APPEND | O_TRUNC, 0666);
    char stamp[] = "27:05:07.042 ";
    char prefix[] = "ats (  12345): <INFO> at_lib:1 ";
    char text[] = "signal 17 of cell\n";
    iovec parts[] = {{stamp, strlen(stamp)}, {prefix, strlen(prefix)}, {text, strlen(text)}};
    for (auto _ : state) {
        struct stat status;
        benchmark::DoNotOptimize(stat(kPath, &status));
        benchmark::DoNotOptimize(writev(fd, parts, 3));
        if (status.st_size >> 10 >= 65536) {
            (void)!ftruncate(fd, 0);
        }
    }
    close(fd);
}
BENCHMARK(stat_and_writev);

std::shared_ptr<spdlog::logger> peer() {
    static auto logger = [] {
        auto made = spdlog::basic_logger_mt("ats", "/var/log/spdlog", true);
        made->set_level(spdlog::level::info);
        // As ours: each line is in the file when the call returns.
        made->flush_on(spdlog::level::info);
        return made;
    }();
    return logger;
}

void spdlog_refused(benchmark::State &state) {
    auto logger = peer();
    for (auto _ : state) {
        SPDLOG_LOGGER_CALL(logger, spdlog::level::debug, "signal {} of {}", 17, "cell");
    }
}
BENCHMARK(spdlog_refused);

void spdlog_written(benchmark::State &state) {
    auto logger = peer();
    for (auto _ : state) {
        SPDLOG_LOGGER_CALL(logger, spdlog::level::info, "signal {} of {}", 17, "cell");
    }
}
BENCHMARK(spdlog_written);

}  // namespace
