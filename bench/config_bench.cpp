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

// A file of about 2 KB with the item at its end.
void write_layer(const std::string &directory, bool with_item) {
    std::filesystem::create_directories(directory);
    std::ofstream file(directory + "/config.xml");
    file << "<config>";
    for (int i = 0; i < 50; i++) {
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

void BM_LookupInLayer(benchmark::State &state) {
    prepare(static_cast<size_t>(state.range(0)));
    char value[64];
    for (auto _ : state) {
        uint32_t length = sizeof value;
        if (cfg_get_config("lan", "wanted", value, &length) != CFG_OK) {
            state.SkipWithError("not found");
            break;
        }
    }
}
BENCHMARK(BM_LookupInLayer)->DenseRange(0, 3);

void BM_OpenReadClose(benchmark::State &state) {
    prepare(0);
    char text[8192];
    for (auto _ : state) {
        int fd = open((kLayers[0] + "/config.xml").c_str(), O_RDONLY | O_CLOEXEC);
        benchmark::DoNotOptimize(read(fd, text, sizeof text));
        close(fd);
    }
}
BENCHMARK(BM_OpenReadClose);

void BM_PugixmlParseAndFind(benchmark::State &state) {
    prepare(0);
    for (auto _ : state) {
        pugi::xml_document document;
        document.load_file((kLayers[0] + "/config.xml").c_str());
        benchmark::DoNotOptimize(document.child("config").child("wanted").child_value());
    }
}
BENCHMARK(BM_PugixmlParseAndFind);

}  // namespace
