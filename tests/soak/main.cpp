// hearth-soak: everything at once in one device root, for minutes, with random kills.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <random>

#include "hearth/config.h"
#include "options.h"
#include "soak/driver.h"
#include "support/config_tree.h"
#include "support/process.h"

namespace {

constexpr char kLogSettings[] =
    "<log><Where>2</Where><Size>1024</Size><Modules>"
    "<m><name>default</name><mask>0</mask></m><m><name>soak</name><mask>31</mask></m>"
    "</Modules></log>";

// What a router has at its first boot.
void prepare() {
    namespace fs = std::filesystem;
    const fs::path factory = HEARTH_SOURCE_DIR "/device/factory";
    const fs::path layers = "/app/webroot/WebApp";
    constexpr auto kAll = fs::copy_options::recursive;
    fs::create_directories(layers / "common");
    fs::create_directories("/app/webroot/data");
    fs::copy(factory / "factory", layers / "common/factory", kAll);
    fs::copy(factory / "common", layers / "common/config", kAll);
    fs::create_directories(layers / "001010");
    fs::copy(factory / "001010", layers / "001010/config", kAll);
    // In a process of its own: the driver forks the workers and must hold nothing of the library.
    pid_t id = fork();
    if (id == 0) {
        _exit(init_config());
    }
    if (hearth::test::ended(id) != 0) {
        hearth::soak::fail("init_config failed");
    }
    hearth::test::write_text("/app/webroot/data/userdata/log/logs.xml", kLogSettings);
}

// Without the C library's stores for each thread, which fill up over minutes, growth is a leak.
void run_without_stores(char **arguments) {
    constexpr char kName[] = "GLIBC_TUNABLES";
    if (getenv(kName) == nullptr) {
        setenv(kName, "glibc.malloc.tcache_count=0:glibc.malloc.arena_max=1", 1);
        execv("/proc/self/exe", arguments);
        perror("soak: cannot start again");
    }
}

}  // namespace

int main(int count, char **arguments) {
    hearth::options::CommandLine line("Everything at once in one device root, with random kills.");
    double minutes = 2;
    uint32_t seed = std::random_device{}();
    line.option("--minutes", minutes, "how long").positive();
    line.option("--seed", seed, "what the random choices begin with");
    line.parse_or_exit(count, arguments);
    if (access("/var/run/pidfile", W_OK) != 0) {
        fprintf(stderr, "soak: run me by hearth-root\n");
        return 2;
    }
    run_without_stores(arguments);
    hearth::soak::make_board();
    prepare();
    return hearth::soak::Driver(static_cast<int64_t>(minutes * 60), seed).run();
}
