// The layout of a table's record, as told on the command line: "u32 index, text[24] number".
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tool.h"

namespace hearth::tool {

enum class FieldKind { kUnsigned, kSigned, kText, kWide, kBytes, kPad };

struct RecordField {
    std::string name;
    std::string type;  // as it was told
    FieldKind kind;
    size_t offset;
    size_t width;  // bytes
};

class RecordLayout {
  public:
    // Fields lie as the C compiler lays them, or back to back when `packed`. Failure, with the
    // column and what was expected, for a text that is no layout.
    RecordLayout(const std::string &text, bool packed);

    const std::vector<RecordField> &fields() const { return fields_; }
    // The smallest record size that holds the fields and the store's own byte.
    size_t record_size() const { return (end_ + 1 + 3) / 4 * 4; }

    // The fields of a record of at least record_size() bytes.
    Json read(const void *record) const;
    // Stores "NAME=VALUE". Failure for an unknown name and a value that does not fit.
    void write(std::string &record, const std::string &assignment) const;
    // Whether the field of "NAME=VALUE" has this value.
    bool matches(const void *record, const std::string &assignment) const;
    // The field of "NAME=VALUE", and the value.
    const RecordField &split(const std::string &assignment, std::string &value) const;
    const RecordField &find(const std::string &name) const;

  private:
    void add(const RecordField &field, bool packed, size_t alignment);

    std::vector<RecordField> fields_;
    size_t end_ = 0;
};

}  // namespace hearth::tool
