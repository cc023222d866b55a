// Runs a fuzz target over the files of a folder, where libFuzzer's own main is not linked.

#include <stdint.h>
#include <stdio.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int count, char **arguments) {
    size_t replayed = 0;
    for (int i = 1; i < count; i++) {
        std::error_code error;
        for (const auto &entry : std::filesystem::directory_iterator(arguments[i], error)) {
            std::ifstream file(entry.path(), std::ios::binary);
            std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(file)), {});
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            replayed++;
        }
    }
    printf("%zu seeds replayed\n", replayed);
    return replayed == 0 ? 1 : 0;
}
