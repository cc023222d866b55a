#include "hearth/list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <random>
#include <vector>

namespace {

struct Item {
    cl_lst_node links;
    int value;
};

cl_lst_node *make(int value) {
    auto *item = static_cast<Item *>(malloc(sizeof(Item)));
    item->value = value;
    return &item->links;
}

int &value_of(cl_lst_node *node) {
    return reinterpret_cast<Item *>(node)->value;
}

int compare_items(const void *left, const void *right) {
    int a = static_cast<const Item *>(left)->value;
    int b = static_cast<const Item *>(right)->value;
    return a < b ? -1 : a > b;
}

int compare_with_key(const void *item, const void *key) {
    return static_cast<const Item *>(item)->value - *static_cast<const int *>(key);
}

void swap_items(void *left, void *right) {
    std::swap(static_cast<Item *>(left)->value, static_cast<Item *>(right)->value);
}

// The values in order, after a look at every link in both directions.
std::list<int> contents(const cl_lst &list) {
    std::list<int> values;
    const cl_lst_node *before = nullptr;
    for (cl_lst_node *node = list.first; node != nullptr; node = cl_lst_next(node)) {
        EXPECT_EQ(cl_lst_prev(node), before);
        values.push_back(value_of(node));
        before = node;
    }
    EXPECT_EQ(cl_lst_last(&list), before);
    EXPECT_EQ(cl_lst_count(&list), values.size());
    return values;
}

cl_lst list_of(const std::vector<int> &values) {
    cl_lst list;
    cl_lst_init(&list);
    for (int value : values) {
        cl_lst_add(&list, make(value));
    }
    return list;
}

TEST(List, FollowsAStandardListThroughRandomOperations) {
    std::mt19937 random(7);
    cl_lst list = list_of({});
    std::list<int> model;
    for (int round = 0; round < 4000; round++) {
        size_t size = model.size();
        size_t index = random() % (size + 1);
        auto at = std::next(model.begin(), static_cast<long>(index));
        cl_lst_node *node = cl_lst_nth(&list, static_cast<int32_t>(index));
        ASSERT_EQ(node == nullptr, index == size);
        switch (random() % 5) {
            case 0:
                cl_lst_insert(&list, node, make(round));
                model.insert(index == size ? model.begin() : std::next(at), round);
                break;
            case 1:
                cl_lst_add(&list, make(round));
                model.push_back(round);
                break;
            case 2:
                if (node != nullptr) {
                    ASSERT_EQ(cl_lst_find(&list, node), static_cast<int32_t>(index));
                    cl_lst_delete(&list, node);
                    free(node);
                    model.erase(at);
                }
                break;
            case 3:
                if (size > 0) {
                    cl_lst_node *first = cl_lst_get(&list);
                    ASSERT_EQ(value_of(first), model.front());
                    free(first);
                    model.pop_front();
                }
                break;
            default: {
                // Out with a stretch of up to three nodes, and back at the end.
                auto length = static_cast<int32_t>(std::min<size_t>(random() % 4, size - index));
                cl_lst stretch{};
                cl_lst_extract(&list, node, cl_lst_nstep(node, length), &stretch);
                ASSERT_EQ(cl_lst_count(&stretch), static_cast<uint32_t>(length));
                contents(stretch);
                cl_lst_concat(&list, &stretch);
                EXPECT_TRUE(contents(stretch).empty());
                model.splice(model.end(), model, at, std::next(at, length));
            }
        }
        ASSERT_EQ(contents(list), model) << "round " << round;
    }
    cl_lst_free(&list);
    EXPECT_TRUE(contents(list).empty());
}

TEST(List, WalksAndSearches) {
    cl_lst list = list_of({5, 6, 7, 6});
    EXPECT_EQ(cl_lst_nth(&list, -3), list.first);
    EXPECT_EQ(cl_lst_nth(&list, 3), list.last);
    EXPECT_EQ(cl_lst_nth(&list, 4), nullptr);
    EXPECT_EQ(cl_lst_nstep(list.first, 400), nullptr);
    EXPECT_EQ(cl_lst_nstep(nullptr, 1), nullptr);
    int key = 6;
    EXPECT_EQ(cl_lst_search(&list, compare_with_key, &key), cl_lst_nth(&list, 1));
    key = 8;
    EXPECT_EQ(cl_lst_search(&list, compare_with_key, &key), nullptr);
    cl_lst_node stranger{};
    EXPECT_EQ(cl_lst_find(&list, &stranger), -1);
    cl_lst_free(&list);
}

TEST(List, CountWrapsWhenAnEmptyListIsAskedForItsFirstNode) {
    cl_lst list = list_of({});
    EXPECT_EQ(cl_lst_get(&list), nullptr);
    EXPECT_EQ(cl_lst_count(&list), UINT32_MAX);
}

TEST(List, SortsEveryOrderOfFewValues) {
    for (size_t length = 0; length <= 6; length++) {
        std::vector<int> values;
        for (size_t i = 0; i < length; i++) {
            values.push_back(static_cast<int>(i / 2));  // pairs of equal ones
        }
        do {
            cl_lst list = list_of(values);
            std::vector<cl_lst_node *> places;
            for (cl_lst_node *node = list.first; node != nullptr; node = node->next) {
                places.push_back(node);
            }
            cl_lst_sort(&list, compare_items, swap_items);
            std::list<int> sorted = contents(list);
            EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end()));
            EXPECT_TRUE(std::is_permutation(sorted.begin(), sorted.end(), values.begin()));
            size_t at = 0;
            for (cl_lst_node *node = list.first; node != nullptr; node = node->next) {
                EXPECT_EQ(node, places[at++]);
            }
            cl_lst_free(&list);
        } while (std::next_permutation(values.begin(), values.end()));
    }
}

// Ascending, descending, equal and sawtooth data drive a quick sort with the left pivot into its
// deepest recursion.
TEST(List, SortNeedsLittleStackWhateverTheOrder) {
    constexpr int kLength = 6000;
    std::vector<std::vector<int>> orders(4);
    for (int i = 0; i < kLength; i++) {
        orders[0].push_back(i);
        orders[1].push_back(kLength - i);
        orders[2].push_back(3);
        orders[3].push_back(i % 2 == 0 ? i : kLength - i);
    }
    for (const std::vector<int> &order : orders) {
        cl_lst list = list_of(order);
        static const char *top;
        static size_t depth;
        char here = 0;
        top = &here;
        depth = 0;
        cl_lst_sort(
            &list,
            [](const void *left, const void *right) {
                char there = 0;
                depth = std::max(depth, static_cast<size_t>(std::abs(top - &there)));
                return compare_items(left, right);
            },
            swap_items);
        std::list<int> sorted = contents(list);
        EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end()));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        EXPECT_LT(depth, 8192u);
#endif
        cl_lst_free(&list);
    }
}

TEST(List, PartitionReportsWhereThePivotCameToLie) {
    cl_lst list = list_of({4, 9, 1, 7, 3, 4});
    cl_lst_node *middle = partion(list.first, list.first, list.last, compare_items, swap_items);
    EXPECT_EQ(value_of(middle), 4);
    for (cl_lst_node *node = list.first; node != middle; node = node->next) {
        EXPECT_LE(value_of(node), 4);
    }
    for (cl_lst_node *node = middle; node != nullptr; node = node->next) {
        EXPECT_GE(value_of(node), 4);
    }
    cl_lst single = list_of({1});
    EXPECT_EQ(partion(nullptr, list.first, list.last, compare_items, swap_items), nullptr);
    EXPECT_EQ(partion(single.first, single.first, single.last, compare_items, swap_items), nullptr);
    quick_sort(nullptr, list.first, list.last, compare_items, swap_items);
    cl_lst_free(&single);
    cl_lst_free(&list);
}

}  // namespace
