// Bytes as a zlib stream in memory, and as a gzip file from a place inside of it. Input: capacity
// of the output, offset, then the bytes.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <vector>

#include "hearth/gz.h"

namespace {

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

void uncompress_file(const uint8_t *data, size_t size, long offset) {
    FILE *file = fopen("/var/in.gz", "wb");
    check(file != nullptr && fwrite(data, 1, size, file) == size && fclose(file) == 0);
    QC_gzFile source = QC_gzopen("/var/in.gz", "rb", offset);
    check(source != nullptr);
    char piece[300];
    for (int rounds = 0; rounds < 1000 && QC_gzread(source, piece, sizeof piece) > 0; rounds++) {
    }
    int error = 0;
    check(QC_gzerror(source, &error) != nullptr);
    QC_gzgetlength(source, static_cast<long>(size));
    QC_gzclose(source);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 3) {
        return 0;
    }
    uint32_t capacity = data[0] * 16u;
    uncompress_stream(data + 2, static_cast<uint32_t>(size - 2), capacity);
    uncompress_file(data + 2, size - 2, data[1]);
    return 0;
}
