// Random operations on a table and on a std::multimap, compared after each. HEARTH_SOAK_ROUNDS=N
// runs N times as many seeds.
#include <stdlib.h>

#include <algorithm>
#include <map>
#include <random>
#include <tuple>

#include "mdblite/table_support.h"

namespace {

using namespace hearth::test;

using Model = std::multimap<uint32_t, std::string>;

struct Shape {
    uint16_t size;
    uint16_t count;
    uint8_t preallocate;
};
constexpr Shape kShapes[] = {{4, 300, 1}, {8, 3000, 0}, {64, 600, 1}, {500, 100, 0}, {1024, 60, 1}};

std::string text_of(const void *record, uint16_t size) {
    const char *text = static_cast<const char *>(record) + 4;
    return size > 4 ? std::string(text, strnlen(text, size - 5u)) : std::string();
}

// How the indexes order two records, written down once more.
using Order = bool (*)(uint32_t key1, const std::string &text1, uint32_t key2,
                       const std::string &text2);
constexpr Order kOrders[] = {
    [](uint32_t k1, const std::string &, uint32_t k2, const std::string &) { return k1 < k2; },
    [](uint32_t k1, const std::string &, uint32_t k2, const std::string &) { return k1 > k2; },
    [](uint32_t k1, const std::string &t1, uint32_t k2, const std::string &t2) {
        return std::tie(t2, k1) < std::tie(t1, k2);
    },
    [](uint32_t k1, const std::string &t1, uint32_t k2, const std::string &t2) {
        return std::tie(k2, t1) < std::tie(k1, t2);
    },
};

class ModelRun {
  public:
    ModelRun(Shape shape, uint32_t seed)
        : shape_(shape), random_(seed), only_by_key_(seed % 2 == 0) {
        mdbl_DropTable(kTablePath);
        make_table(shape.size, shape.count, shape.preallocate);
        reopen();
    }

    void steps(int count) {
        for (int step = 0; step < count && !testing::Test::HasFailure(); step++) {
            SCOPED_TRACE("step " + std::to_string(step));
            // Fill, then drain, so that blocks come and go.
            filling_ = step / (count / 6 + 1) % 2 == 0;
            one_step();
            compare_small();
            if (step % 37 == 0) {
                compare_all();
            }
        }
        compare_all();
    }

  private:
    uint32_t pick(uint32_t limit) { return static_cast<uint32_t>(random_() % limit); }
    uint32_t any_key() { return pick(40); }
    uint32_t number() { return 1 + pick(index_count() < 2 ? 1 : 2); }
    uint32_t index_count() const { return shape_.size < 8 ? 2 : 4; }
    Bytes record_of(uint32_t key, const std::string &text = "") const {
        return make_record(shape_.size, key, text);
    }
    std::string fit(std::string text) const {
        text.resize(std::min<size_t>(text.size(), shape_.size > 4 ? shape_.size - 5u : 0));
        return text;
    }
    std::string any_text() {
        return fit(std::string(1 + pick(3), static_cast<char>('a' + pick(3))));
    }

    void reopen() {
        table_ = open_table();
        ASSERT_NE(table_, nullptr);
        const uint16_t offsets[] = {4, 0};
        const uint16_t offsets2[] = {0, 4};
        const uint32_t types[] = {MDBL_FIELD_TEXT, MDBL_FIELD_INT32};
        const uint32_t types2[] = {MDBL_FIELD_INT32, MDBL_FIELD_TEXT};
        const uint8_t first_down[] = {1, 0};
        ASSERT_EQ(mdbl_TableCreateIndex(table_.get(), 1, compare_keys), MDBL_OK);
        ASSERT_EQ(mdbl_TableCreateIndex(table_.get(), 2, compare_keys_down), MDBL_OK);
        ASSERT_EQ(mdbl_TableCreateSecondaryIndex(table_.get(), 1, compare_tens), MDBL_OK);
        if (index_count() == 4) {
            ASSERT_EQ(mdbl_TableCreateIndexEx(table_.get(), 3, 2, offsets, types, first_down),
                      MDBL_OK);
            ASSERT_EQ(mdbl_TableCreateIndexEx(table_.get(), 4, 2, offsets2, types2, first_down),
                      MDBL_OK);
        }
    }

    void one_step() {
        uint32_t dice = pick(100);
        if (dice < (filling_ ? 75u : 25u)) {
            insert();
        } else if (dice < 85) {
            remove();
        } else if (dice < 96) {
            update();
        } else if (dice < 99) {
            reopen();
        } else if (shape_.preallocate != 0 && pick(4) == 0) {
            ASSERT_EQ(mdbl_TableTruncate(table_.get()), MDBL_OK);
            model_.clear();
        } else {
            ASSERT_EQ(mdbl_TableCommit(table_.get()), MDBL_OK);
        }
    }

    void insert() {
        uint32_t key = any_key();
        std::string text = any_text();
        void *inserted = nullptr;
        int32_t result = mdbl_TableInsert(table_.get(), record_of(key, text).data(), &inserted);
        if (model_.size() == shape_.count) {
            ASSERT_EQ(result, MDBL_ERR_TABLE_FULL);
            return;
        }
        ASSERT_EQ(result, MDBL_OK);
        ASSERT_EQ(key_of(inserted), key);
        model_.emplace(key, text);
    }

    SetPointer select(uint32_t key) {
        uint32_t index = number();
        return own(mdbl_TableSelect(table_.get(), index,
                                    index == 1 ? compare_keys : compare_keys_down,
                                    record_of(key).data(), static_cast<int32_t>(pick(2))));
    }

    void remove() {
        uint32_t key = any_key();
        uint32_t present = static_cast<uint32_t>(model_.count(key));
        SetPointer set = select(key);
        ASSERT_EQ(mdbl_RSSize(set.get()), present);
        switch (present == 0 || only_by_key_ ? 0 : pick(4)) {
            case 0: {
                int32_t expected = model_.empty() ? MDBL_ERR_EMPTY
                                   : present == 0 ? MDBL_ERR_NOT_FOUND
                                                  : MDBL_OK;
                ASSERT_EQ(mdbl_TableDelete(table_.get(), 1, compare_keys, record_of(key).data()),
                          expected);
                model_.erase(key);
                break;
            }
            case 1: {
                mdbl_RSMarkAll(set.get());
                uint32_t deleted = 0;
                ASSERT_EQ(mdbl_RSDeleteMarked(set.get(), present, &deleted), MDBL_OK);
                ASSERT_EQ(deleted, present);
                model_.erase(key);
                break;
            }
            default: {
                uint32_t at = pick(present);
                void *record = nullptr;
                ASSERT_EQ(mdbl_RSGetAt(set.get(), at, MDBL_READ_POINTER, &record), MDBL_OK);
                forget(key, text_of(record, shape_.size));
                ASSERT_EQ(mdbl_RSDeleteAt(set.get(), at), MDBL_OK);
                break;
            }
        }
    }

    void forget(uint32_t key, const std::string &text) {
        auto [first, last] = model_.equal_range(key);
        auto found = std::find_if(first, last, [&](auto &entry) { return entry.second == text; });
        ASSERT_NE(found, last);
        model_.erase(found);
    }

    // Gives all records of a key another key and, where there is room, another text.
    void update() {
        uint32_t key = any_key();
        uint32_t new_key = pick(3) == 0 ? key : any_key();
        std::string text = any_text();
        Bytes changed = record_of(new_key, text);
        auto change = [](void *record, void *argument) {
            const Bytes &to = *static_cast<Bytes *>(argument);
            memcpy(record, to.data(), to.size() - 1);
            return 0;
        };
        uint32_t present = static_cast<uint32_t>(model_.count(key));
        int32_t result = mdbl_TableUpdate(table_.get(), 1, compare_keys, change,
                                          record_of(key).data(), &changed);
        ASSERT_EQ(result, model_.empty() ? MDBL_ERR_EMPTY
                          : present == 0 ? MDBL_ERR_NOT_FOUND
                                         : MDBL_OK);
        model_.erase(key);
        for (; present > 0; present--) {
            model_.emplace(new_key, text);
        }
    }

    void compare_small() {
        ASSERT_EQ(mdbl_TableSize(table_.get()), model_.size());
        uint32_t key = any_key();
        ASSERT_EQ(mdbl_TableCount(table_.get(), 2, compare_keys_down, nullptr,
                                  record_of(key).data(), nullptr),
                  model_.count(key));
    }

    using Pairs = std::vector<std::pair<uint32_t, std::string>>;

    Pairs enumerate(uint32_t index) {
        struct Context {
            Pairs pairs;
            uint16_t size;
        } context{{}, shape_.size};
        EXPECT_EQ(mdbl_TableEnumerate(
                      table_.get(), index,
                      [](void *record, void *argument) {
                          auto *to = static_cast<Context *>(argument);
                          to->pairs.emplace_back(key_of(record), text_of(record, to->size));
                          return 1;
                      },
                      &context),
                  MDBL_OK);
        return context.pairs;
    }

    void compare_all() {
        Pairs expected(model_.begin(), model_.end());
        std::sort(expected.begin(), expected.end());
        for (uint32_t index = 0; index <= index_count(); index++) {
            SCOPED_TRACE("index " + std::to_string(index));
            Pairs found = enumerate(index);
            auto out_of_order = [&](const auto &a, const auto &b) {
                return kOrders[index - 1](b.first, b.second, a.first, a.second);
            };
            if (index != 0) {
                ASSERT_EQ(std::adjacent_find(found.begin(), found.end(), out_of_order),
                          found.end());
            }
            std::sort(found.begin(), found.end());
            ASSERT_EQ(found, expected);
        }
        compare_groups();
        compare_file();
    }

    // The groups that were kept in step are those that the records have.
    void compare_groups() {
        std::vector<uint32_t> expected;
        for (const auto &entry : model_) {
            if (expected.empty() || expected.back() != entry.first / 10) {
                expected.push_back(entry.first / 10);
            }
        }
        if (model_.size() < 2) {
            expected.clear();
        }
        SetPointer set = own(mdbl_TableSelectOnSecondaryIndex(table_.get(), 1));
        if (set == nullptr && model_.empty()) {
            return;  // truncated, and nothing inserted since
        }
        ASSERT_EQ(mdbl_RSSize(set.get()), expected.size());
        for (uint32_t group : expected) {
            void *record = nullptr;
            ASSERT_EQ(mdbl_RSNext(set.get(), MDBL_READ_POINTER, &record), MDBL_OK);
            ASSERT_EQ(key_of(record) / 10, group);
        }
    }

    // What the file alone holds: one end mark before anything stale, and the same records.
    void compare_file() {
        Bytes flags = file_flags();
        auto end = std::find_if(flags.begin(), flags.end(), [](uint8_t f) { return f & 2; });
        ASSERT_NE(end, flags.end());
        ASSERT_EQ(std::count_if(flags.begin(), end + 1, [](uint8_t f) { return f & 1; }),
                  model_.size());
        ASSERT_LE(flags.size(), shape_.count);
        if (shape_.preallocate == 0) {  // never truncated, so nothing is stale
            ASSERT_EQ(std::count_if(flags.begin(), flags.end(), [](uint8_t f) { return f & 2; }),
                      1);
        }
        TablePointer again = open_table();
        ASSERT_EQ(keys_in_slots(again.get()), keys_in_slots(table_.get()));
    }

    Shape shape_;
    std::mt19937 random_;
    // Deleting through sets keeps blocks in memory: these runs see them freed.
    bool only_by_key_;
    bool filling_ = true;
    TablePointer table_{nullptr, mdbl_TableClose};
    Model model_;
};

TEST(TableModel, BehavesAsAMultimap) {
    const char *soak = getenv("HEARTH_SOAK_ROUNDS");
    uint32_t rounds = soak == nullptr ? 1 : static_cast<uint32_t>(atoi(soak));
    for (uint32_t seed = 1; seed <= 4 * rounds; seed++) {
        for (const Shape &shape : kShapes) {
            SCOPED_TRACE("size " + std::to_string(shape.size) + " seed " + std::to_string(seed));
            ModelRun(shape, seed).steps(600);
            if (HasFailure()) {
                return;
            }
        }
    }
}

}  // namespace
