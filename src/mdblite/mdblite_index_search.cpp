// Searching and sorting arrays of record pointers.
#include <string.h>

#include <algorithm>
#include <utility>

#include "base/bytes.h"
#include "mdblite/mdblite_internal.h"

namespace hearth::mdblite {

namespace {

// Any position in the inclusive range whose element `order` calls 0, else -1. `order` is negative
// for elements that come before what is searched.
template <typename Order>
int32_t search(uint8_t *const *array, int32_t low, int32_t high, int32_t *insertion, Order order) {
    while (low <= high) {
        int32_t middle = (low + high) / 2;
        int sign = order(array[middle]);
        if (sign == 0) {
            return middle;
        }
        if (sign < 0) {
            low = middle + 1;
        } else {
            high = middle - 1;
        }
    }
    if (insertion != nullptr) {
        *insertion = low;
    }
    return -1;
}

// Which equal element ends up where is part of the order that users see: the right child is taken
// only if it is greater than the left one, the child only if it is greater than its parent.
template <typename Compare>
void sift_down(uint8_t **array, uint32_t parent, uint32_t count, Compare compare) {
    for (;;) {
        uint32_t child = 2 * parent + 1;
        if (child >= count) {
            return;
        }
        if (child + 1 < count && compare(array[child + 1], array[child]) > 0) {
            child++;
        }
        if (compare(array[child], array[parent]) <= 0) {
            return;
        }
        std::swap(array[child], array[parent]);
        parent = child;
    }
}

template <typename Compare>
void sort_array(uint8_t **array, uint32_t count, Compare compare) {
    for (uint32_t parent = count / 2; parent-- > 0;) {
        sift_down(array, parent, count, compare);
    }
    for (uint32_t end = count; end-- > 1;) {
        std::swap(array[0], array[end]);
        sift_down(array, 0, end, compare);
    }
}

int compare_int32(const uint8_t *a, const uint8_t *b) {
    // The difference wraps, as required.
    return static_cast<int32_t>(load_native<uint32_t>(a) - load_native<uint32_t>(b));
}

int compare_text(const uint8_t *a, const uint8_t *b, size_t room) {
    return strncmp(reinterpret_cast<const char *>(a), reinterpret_cast<const char *>(b), room);
}

int wstrcmp(const uint8_t *a, const uint8_t *b, size_t room) {
    for (size_t i = 0; i + 2 <= room; i += 2) {
        auto left = load_native<uint16_t>(a + i);
        auto right = load_native<uint16_t>(b + i);
        if (left != right) {
            return left < right ? -1 : 1;
        }
        if (left == 0) {
            break;
        }
    }
    return 0;
}

}  // namespace

int32_t binarySearchAsc(uint8_t *const *array, MDBL_Compare compare, int32_t low, int32_t high,
                        const void *key, int32_t *insertion) {
    return search(array, low, high, insertion,
                  [=](const uint8_t *element) { return compare(element, key); });
}

int32_t binarySearchDesc(uint8_t *const *array, MDBL_Compare compare, int32_t low, int32_t high,
                         const void *key, int32_t *insertion) {
    return search(array, low, high, insertion, [=](const uint8_t *element) {
        int sign = compare(element, key);
        return sign < 0 ? 1 : -(sign > 0);
    });
}

int32_t binarySearchExAsc(uint8_t *const *array, const MDBL_IndexFields *fields,
                          uint32_t record_size, int32_t low, int32_t high, const uint8_t *key,
                          int32_t *insertion) {
    return search(array, low, high, insertion, [=](const uint8_t *element) {
        return comparisonFn(fields, record_size, element, key);
    });
}

Matches findBoundaryIndexes(uint8_t *const *array, uint32_t count, MDBL_Compare compare,
                            const void *key) {
    auto end = static_cast<int32_t>(count);
    int32_t hit = binarySearchAsc(array, compare, 0, end - 1, key, nullptr);
    if (hit < 0) {
        return {0, 0};
    }
    // Keys are mostly unique: look at the neighbour before searching the rest of that side.
    int32_t first = hit;
    while (first > 0 && compare(array[first - 1], key) == 0) {
        first--;
        int32_t lower = binarySearchAsc(array, compare, 0, first - 1, key, nullptr);
        first = lower < 0 ? first : lower;
    }
    int32_t last = hit;
    while (last + 1 < end && compare(array[last + 1], key) == 0) {
        last++;
        int32_t upper = binarySearchAsc(array, compare, last + 1, end - 1, key, nullptr);
        last = upper < 0 ? last : upper;
    }
    return {static_cast<uint32_t>(first), static_cast<uint32_t>(last - first + 1)};
}

int comparisonFn(const MDBL_IndexFields *fields, uint32_t record_size, const uint8_t *a,
                 const uint8_t *b) {
    for (uint32_t i = 0; i < fields->count; i++) {
        uint32_t offset = fields->offsets[i];
        // A text that fills the record ends before the store's byte.
        size_t room = record_size - 1 - offset;
        int sign = 0;
        switch (fields->types[i]) {
            case MDBL_FIELD_INT32:
                sign = compare_int32(a + offset, b + offset);
                break;
            case MDBL_FIELD_TEXT:
                sign = compare_text(a + offset, b + offset, room);
                break;
            case MDBL_FIELD_WIDE:
                sign = wstrcmp(a + offset, b + offset, room);
                break;
            default:
                return 0;
        }
        if (sign != 0) {
            // Only the sign counts, and the smallest int has no negative.
            int descending = sign < 0 ? 1 : -1;
            return fields->descending[i] != 0 ? descending : sign;
        }
    }
    return 0;
}

void heapsort(uint8_t **array, uint32_t count, MDBL_Compare compare) {
    sort_array(array, count, compare);
}

void heapsortEx(uint8_t **array, uint32_t count, const MDBL_IndexFields *fields,
                uint32_t record_size) {
    sort_array(array, count, [=](const uint8_t *a, const uint8_t *b) {
        return comparisonFn(fields, record_size, a, b);
    });
}

void insertRecToRecordArr(uint8_t **array, uint32_t count, uint32_t position, uint8_t *record) {
    memmove(array + position + 1, array + position, (count - position) * sizeof *array);
    array[position] = record;
}

void deleteIndexFromPtrArr(uint8_t **array, uint32_t count, uint32_t position) {
    memmove(array + position, array + position + 1, (count - position - 1) * sizeof *array);
    array[count - 1] = nullptr;
}

}  // namespace hearth::mdblite
