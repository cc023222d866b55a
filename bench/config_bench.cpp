// packages: libpugixml-dev
// link: pugixml
// A lookup of one item, answered by each layer, beside reading the file alone and beside parsing it
// with another library. Runs in a device root.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <pugixml.hpp>
#include <string>

#include "hearth/config.h"

namespace {

const std::string kWeb = "/app/webroot";
const std::string kLayers[] = {kWeb + "/data/userdata/lan", "/app/config/lan",
                               kWeb + "/WebApp/00101/config/lan",
                               kWeb + "/WebApp/common/config/lan"};

// 50 items are about 2 KB. The wanted one is the last.
void write_layer(const std::string &directory, bool with_item, int64_t items = 50) {
    std::filesystem::create_directories(directory);
    std::ofstream file(directory + "/config.xml");
    file << "<config>";
    for (int64_t i = 0; i < items; i++) {
        file << "<item" << i << ">value number " << i << "</item" << i << ">\n";
    }
    file << (with_item ? "<wanted>answer</wanted></config>" : "</config>");
}

void prepare(size_t answering) {
    std::filesystem::remove_all(kWeb);
    cfg_set_config("global", "imsi_string", "001010000000000");
    cfg_set_config("global", "sim_state", "2");
    cl_init_mmap();
    cl_touch_simst();
    for (size_t i = 0; i <= answering; i++) {
        write_layer(kLayers[i], i == answering);
    }
}

void look_up(benchmark::State &state) {
    char value[64];
    for (auto _ : state) {
        uint32_t length = sizeof value;
        if (cfg_get_config("lan", "wanted", value, &length) != CFG_OK) {
            state.SkipWithError("not found");
            break;
        }
    }
}

void lookup_in_layer(benchmark::State &state) {
    prepare(static_cast<size_t>(state.range(0)));
    look_up(state);
}
BENCHMARK(lookup_in_layer)->DenseRange(0, 3);

void lookup_among(benchmark::State &state) {
    prepare(0);
    write_layer(kLayers[0], true, state.range(0));
    look_up(state);
}
BENCHMARK(lookup_among)->Arg(10)->Arg(50)->Arg(100)->Arg(1000);

void open_read_close(benchmark::State &state) {
    prepare(0);
    char text[8192];
    for (auto _ : state) {
        int fd = open((kLayers[0] + "/config.xml").c_str(), O_RDONLY | O_CLOEXEC);
        benchmark::DoNotOptimize(read(fd, text, sizeof text));
        close(fd);
    }
}
BENCHMARK(open_read_close);

void pugixml_load_and_find(benchmark::State &state) {
    prepare(0);
    for (auto _ : state) {
        pugi::xml_document document;
        document.load_file((kLayers[0] + "/config.xml").c_str());
        benchmark::DoNotOptimize(document.child("config").child("wanted").child_value());
    }
}
BENCHMARK(pugixml_load_and_find);

}  // namespace
