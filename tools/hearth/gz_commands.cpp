// hearth gz: gzip files.

#include "hearth/gz.h"

#include <sys/stat.h>
#include <unistd.h>

#include "tool.h"

namespace hearth::tool {

namespace {

struct GzOptions {
    std::string source;
    std::string target;
    bool force = false;
};

int64_t size_of(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_size : -1;
}

// A target that was made for nothing does not stay.
void run(const GzOptions &options, const char *what,
         int32_t (*work)(const char *source, const char *target)) {
    struct stat from {};
    if (stat(options.source.c_str(), &from) != 0 || !S_ISREG(from.st_mode)) {
        throw Failure("there is no file " + options.source, kExitNotFound);
    }
    struct stat to {};
    bool there = stat(options.target.c_str(), &to) == 0;
    if (there && from.st_dev == to.st_dev && from.st_ino == to.st_ino) {
        throw Failure("source and target are the same file", kExitUsage);
    }
    if (there && !options.force) {
        throw Failure(options.target + " exists; --force replaces it", kExitUsage);
    }
    int32_t result = work(options.source.c_str(), options.target.c_str());
    if (result != CL_GZ_OK) {
        if (!there) {
            unlink(options.target.c_str());
        }
        throw Failure(std::string("cannot ") + what + " " + options.source, kGzResults, result);
    }
    show({{"source", options.source},
          {"source_bytes", static_cast<int64_t>(from.st_size)},
          {"target", options.target},
          {"target_bytes", size_of(options.target)}});
}

void run_compress(const GzOptions &options) {
    run(options, "compress", cl_gz_compressFile);
}

void run_uncompress(const GzOptions &options) {
    run(options, "uncompress", cl_gz_uncompressFile);
}

void add_command(Command gz, const char *name, const char *text,
                 void (*command_run)(const GzOptions &)) {
    Command command = gz.command(name, text);
    GzOptions &options = on_run(command, command_run);
    command.option("SOURCE", options.source, "file to read").required();
    command.option("TARGET", options.target, "file to write").required();
    command.flag("--force", options.force, "replace the target");
}

}  // namespace

void add_gz_commands(Command app) {
    Command gz = app.group("gz", "gzip files");
    add_command(gz, "compress", "compress a file", run_compress);
    add_command(gz, "uncompress", "uncompress a file; one that is not compressed is copied",
                run_uncompress);
}

}  // namespace hearth::tool
