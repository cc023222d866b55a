// Bytes as a zlib stream in memory, as a gzip file from a place inside of it, and as an update
// package. Input: capacity of the output, offset, then the bytes. Runs in a device root.
// libFuzzer: -max_len=4096
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <filesystem>
#include <vector>

#include "hearth/gz.h"

namespace {

constexpr const char *kPackage = "/var/in.gz";

void check(bool holds) {
    if (!holds) {
        abort();
    }
}

void uncompress_stream(const uint8_t *data, uint32_t size, uint32_t capacity) {
    std::vector<uint8_t> input(data, data + size);
    std::vector<uint8_t> output(capacity + 1);
    uint32_t length = capacity;
    int32_t result = cl_gz_uncompressStream(input.data(), size, output.data(), &length);
    check(length <= capacity && (result == 0 || length == capacity));
}

void write_file(const uint8_t *data, size_t size) {
    FILE *file = fopen(kPackage, "wb");
    check(file != nullptr && fwrite(data, 1, size, file) == size && fclose(file) == 0);
}

// Reads in every way until nothing comes, and looks at the end.
void read_file(size_t size, long offset) {
    QC_gzFile source = QC_gzopen(kPackage, "rb", offset);
    check(source != nullptr);
    char piece[300];
    for (int rounds = 0; rounds < 1000 && QC_gzread(source, piece, sizeof piece) > 0; rounds++) {
        int character = QC_gzgetc(source);
        check(character == -1 || QC_gzungetc(character, source) == character);
        QC_gzgets(source, piece, sizeof piece);
    }
    int error = 0;
    check(QC_gzerror(source, &error) != nullptr);
    int compressed = QC_isCompress(source);
    check(compressed == 0 || compressed == 1);
    QC_gzseek(source, offset, SEEK_SET);
    check(QC_gztell(source) >= -1);
    QC_gzgetlength(source, static_cast<long>(size));
    QC_gzclose(source);
}

// The two ways of an update agree.
void unpack() {
    int32_t unpacked = cl_gz_uncompress_for_update(kPackage, "/var/tmp");
    uint32_t length = 0;
    int32_t flashed = cl_gz_uncompress_to_Flash(kPackage, 1, &length);
    check(unpacked == flashed);
    check(flashed != 0 || std::filesystem::file_size("/var/tmp/in.bin") == length);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 3) {
        return 0;
    }
    uint32_t capacity = data[0] * 16u;
    uncompress_stream(data + 2, static_cast<uint32_t>(size - 2), capacity);
    write_file(data + 2, size - 2);
    read_file(size - 2, data[1]);
    unpack();
    return 0;
}
