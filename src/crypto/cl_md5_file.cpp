#include <algorithm>

#include "base/bytes.h"
#include "base/guard.h"
#include "hearth/cl_md5.h"
#include "hearth/osa_file.h"
#include "hearth/osa_flash.h"

namespace {

constexpr int32_t kArgument = 1;
constexpr int32_t kNotOpened = 9;
constexpr int32_t kFailed = 12;
constexpr uint32_t kPiece = 8192;

using OsaFile = hearth::Owned<FILE, osa_fclose>;

// A descriptor of osa_flash_open, closed at the end of the scope.
class FlashFile {
  public:
    // The mode is anything but -1, which would empty the partition.
    explicit FlashFile(uint32_t partition) : descriptor_(osa_flash_open(partition, 0)) {}
    FlashFile(const FlashFile &) = delete;
    FlashFile &operator=(const FlashFile &) = delete;
    ~FlashFile() {
        if (descriptor_ >= 0) {
            osa_flash_close(descriptor_);
        }
    }
    int32_t get() const { return descriptor_; }

  private:
    int32_t descriptor_;
};

int32_t digest_stream(FILE *stream, cl_md5_context *context) {
    uint8_t piece[kPiece];
    while (osa_feof(stream) == 0) {
        size_t got = osa_fread(piece, 1, sizeof piece, stream);
        // A directory or a failing disk never comes to its end.
        if (ferror(stream) != 0 || cl_md5_update(context, piece, static_cast<uint32_t>(got)) != 0) {
            return kFailed;
        }
    }
    return 0;
}

int32_t digest_flash(int32_t descriptor, uint32_t length, cl_md5_context *context) {
    uint8_t piece[kPiece];
    for (uint32_t offset = 0; offset < length;) {
        int32_t got = osa_flash_read(piece, std::min(kPiece, length - offset), offset, descriptor);
        if (got < 1 || cl_md5_update(context, piece, static_cast<uint32_t>(got)) != 0) {
            return kFailed;
        }
        offset += static_cast<uint32_t>(got);
    }
    return 0;
}

}  // namespace

int32_t cl_md5File(const char *path, uint8_t *digest) {
    if (digest == nullptr) {
        return kArgument;
    }
    OsaFile file(osa_fopen(path, "rb"));
    if (!file) {
        return kNotOpened;
    }
    cl_md5_context context;
    cl_md5_init(&context);
    int32_t result = digest_stream(file.get(), &context);
    return result == 0 ? cl_md5_final(&context, digest) : result;
}

int32_t cl_md5Flash(uint32_t partition, uint32_t length, uint8_t *digest) {
    if (partition > 4 || digest == nullptr) {
        return kArgument;
    }
    FlashFile flash(partition);
    if (flash.get() < 0) {
        return kNotOpened;
    }
    cl_md5_context context;
    cl_md5_init(&context);
    int32_t result = digest_flash(flash.get(), length, &context);
    return result == 0 ? cl_md5_final(&context, digest) : result;
}
