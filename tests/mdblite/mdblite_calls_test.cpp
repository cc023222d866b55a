// Which calls reach the kernel, and in which order: the library's own calls pass through here.
#include <dlfcn.h>
#include <unistd.h>

#include "mdblite/table_support.h"

namespace {

using namespace hearth::test;

std::string g_calls;
bool g_record;

// Notes "w" for a write, "s" for a sync, "r" for a read or seek, on the journal "j" or a table "t".
void note(char what, int fd) {
    if (!g_record) {
        return;
    }
    char link[64];
    char path[256] = {};
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    if (readlink(link, path, sizeof path - 1) > 0) {
        g_calls += g_calls.empty() ? "" : " ";
        g_calls += {what, strcmp(path, kJournalPath) == 0 ? 'j' : 't'};
    }
}

template <typename Function>
Function *real(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#define STAND_IN extern "C" __attribute__((visibility("default")))

STAND_IN ssize_t pwrite(int fd, const void *data, size_t size, off_t offset) {
    note('w', fd);
    return real<decltype(pwrite)>("pwrite")(fd, data, size, offset);
}
STAND_IN ssize_t pread(int fd, void *data, size_t size, off_t offset) {
    note('r', fd);
    return real<decltype(pread)>("pread")(fd, data, size, offset);
}
STAND_IN size_t fwrite(const void *data, size_t size, size_t count, FILE *file) {
    note('w', fileno(file));
    return real<decltype(fwrite)>("fwrite")(data, size, count, file);
}
STAND_IN size_t fread(void *data, size_t size, size_t count, FILE *file) {
    note('r', fileno(file));
    return real<decltype(fread)>("fread")(data, size, count, file);
}
STAND_IN int fseek(FILE *file, long offset, int whence) {
    note('r', fileno(file));
    return real<decltype(fseek)>("fseek")(file, offset, whence);
}
STAND_IN int fdatasync(int fd) {
    note('s', fd);
    return real<decltype(fdatasync)>("fdatasync")(fd);
}

namespace {

template <typename Operation>
std::string calls_of(Operation operation) {
    g_calls.clear();
    g_record = true;
    operation();
    g_record = false;
    return g_calls;
}

TEST(TableCalls, OneWriteAChangeAndNoneARead) {
    make_table(64, 100, 1);
    TablePointer table = open_indexed();
    auto insert = [&] { EXPECT_EQ(insert_key(table.get(), 64, 5), MDBL_OK); };
    auto update = [&] {
        auto nothing = [](void *, void *) { return 0; };
        EXPECT_EQ(mdbl_TableUpdate(table.get(), 1, compare_keys, nothing, make_record(64, 5).data(),
                                   nullptr),
                  MDBL_OK);
    };
    EXPECT_EQ(calls_of(insert), "wt");
    EXPECT_EQ(calls_of(insert), "wt");  // takes the end mark along
    EXPECT_EQ(calls_of([&] {
                  SetPointer set = own(
                      mdbl_TableSelect(table.get(), 1, compare_keys, make_record(64, 5).data(), 0));
                  EXPECT_EQ(mdbl_RSSize(set.get()), 2u);
                  Bytes copy(64);
                  EXPECT_EQ(mdbl_RSNext(set.get(), MDBL_READ_BUFFER, copy.data()), MDBL_OK);
                  EXPECT_EQ(keys_in_slots(table.get()).size(), 2u);
              }),
              "");
    EXPECT_EQ(calls_of(update), "wt wt");
    auto remove = [&] {
        EXPECT_EQ(mdbl_TableDelete(table.get(), 1, compare_keys, make_record(64, 5).data()),
                  MDBL_OK);
    };
    EXPECT_EQ(calls_of(remove), "wt wt");
    insert();
    mdbl_JournalEnable();
    update();  // makes the journal
    EXPECT_EQ(calls_of(update), "wj sj wj sj wt st wj sj");
    EXPECT_EQ(calls_of(insert), "wt");
    mdbl_JournalDisable();
    EXPECT_EQ(calls_of(update), "wt wt");
}

}  // namespace
