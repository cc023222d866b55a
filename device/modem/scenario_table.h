// One table of a scenario file, read key by key and checked.
#pragma once

#include <toml++/toml.h>

#include <chrono>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "scenario.h"

namespace hearth::device {

// Reads the keys of one table and, at the end, refuses those that nobody asked for.
class TableReader {
  public:
    TableReader(std::string path, const toml::table &table, std::string name)
        : path_(std::move(path)), table_(table), name_(std::move(name)) {}

    template <typename T>
    TableReader &get(const char *key, T *value) {
        known_.insert(key);
        if (const toml::node *node = table_.get(key)) {
            read(*node, key, value);
        }
        return *this;
    }

    // Allows a key that is read elsewhere.
    TableReader &allow(const char *key) {
        known_.insert(key);
        return *this;
    }

    void done() const {
        for (const auto &[key, node] : table_) {
            std::string name(key.str());
            if (known_.count(name) == 0) {
                fail(key.source(),
                     "[" + name_ + "] has no key \"" + name + "\"; its keys are " + keys());
            }
        }
    }

    [[noreturn]] void fail(const toml::source_region &where, const std::string &what) const {
        throw ScenarioError(path_ + ":" + std::to_string(where.begin.line) + ": " + what);
    }

  private:
    std::string keys() const {
        std::string text;
        for (const std::string &key : known_) {
            text += (text.empty() ? "" : ", ") + key;
        }
        return text;
    }

    void read(const toml::node &node, const char *key, std::string *value) const {
        auto text = node.value_exact<std::string>();
        if (!text) {
            fail(node.source(), std::string("\"") + key + "\" wants a text in quotation marks");
        }
        *value = *text;
    }

    void read(const toml::node &node, const char *key, bool *value) const {
        auto flag = node.value_exact<bool>();
        if (!flag) {
            fail(node.source(), std::string("\"") + key + "\" wants true or false");
        }
        *value = *flag;
    }

    void read(const toml::node &node, const char *key, int *value) const {
        auto number = node.value_exact<int64_t>();
        if (!number || *number < INT32_MIN || *number > INT32_MAX) {
            fail(node.source(), std::string("\"") + key + "\" wants a whole number");
        }
        *value = static_cast<int>(*number);
    }

    void read(const toml::node &node, const char *key, std::chrono::milliseconds *value) const {
        auto seconds = node.value<double>();
        if (!seconds || *seconds < 0 || *seconds > 1e6) {
            fail(node.source(), std::string("\"") + key + "\" wants seconds, 0 or more");
        }
        *value = std::chrono::milliseconds(static_cast<int64_t>(*seconds * 1000));
    }

    void read(const toml::node &node, const char *key, std::vector<std::string> *value) const {
        const toml::array *array = node.as_array();
        if (array == nullptr) {
            fail(node.source(), std::string("\"") + key + "\" wants a list of texts");
        }
        value->clear();
        for (const toml::node &element : *array) {
            read(element, key, &value->emplace_back());
        }
    }

    template <typename T>
    void read(const toml::node &node, const char *key, std::optional<T> *value) const {
        read(node, key, &value->emplace());
    }

    std::string path_;
    const toml::table &table_;
    std::string name_;
    std::set<std::string> known_;
};

}  // namespace hearth::device
