// hearth config: settings and the layers that answer for them.

#include "hearth/config.h"

#include <sys/stat.h>

#include "tool.h"

namespace hearth::tool {

namespace {

constexpr const char *kOperators = "/app/webroot/WebApp/";
constexpr const char *kCommon = "/app/webroot/WebApp/common/config/";

struct ItemOptions {
    std::string directory;
    std::string item;
    std::string value;
    std::string file = "config.xml";
};

// The number for a caller: what is not there is told apart from what failed.
ExitStatus status_of(int32_t result) {
    return result == CFG_NO_ITEM || result == CFG_NO_FILE ? kExitNotFound : kExitFailed;
}

// Reads a text of unknown length. `call` gets buffer and length, as the lookups do.
template <typename Call>
int32_t read_text(std::string &text, Call call) {
    for (uint32_t room = 256;; room *= 2) {
        text.assign(room, '\0');
        uint32_t length = room;
        int32_t result = call(text.data(), &length);
        if (result == CFG_TOO_SMALL && room < (1u << 24)) {
            room = std::max(room, length / 2 + 1);
            continue;
        }
        text.resize(text.find('\0') == std::string::npos ? text.size() : text.find('\0'));
        return result;
    }
}

int32_t look_up(const ItemOptions &options, std::string &value) {
    return read_text(value, [&](char *out, uint32_t *length) {
        return cfg_get_file_config(options.directory.c_str(), options.file.c_str(),
                                   options.item.c_str(), out, length);
    });
}

void run_get(const ItemOptions &options) {
    std::string value;
    int32_t result = look_up(options, value);
    if (result != CFG_OK) {
        throw Failure("cannot read " + options.item + " of " + options.directory, kConfigResults,
                      result, status_of(result));
    }
    show({{"directory", options.directory}, {"item", options.item}, {"value", printable(value)}},
         value + "\n");
}

void run_set(const ItemOptions &options) {
    int32_t result =
        cfg_set_config(options.directory.c_str(), options.item.c_str(), options.value.c_str());
    if (result != CFG_OK) {
        throw Failure("cannot write " + options.item + " of " + options.directory, kConfigResults,
                      result);
    }
    show({{"directory", options.directory}, {"item", options.item}, {"value", options.value}}, "");
}

// The path of a file in one layer, as `call` builds it; empty when there is no such layer.
template <typename Call>
std::string layer_path(const ItemOptions &options, Call call) {
    std::string path;
    int32_t result = read_text(path, [&](char *out, uint32_t *length) {
        return call(options.directory.c_str(), options.file.c_str(), out, length);
    });
    return result == CFG_OK ? path : "";
}

struct Layer {
    std::string name;
    std::string path;
};

std::string imsi() {
    std::string text;
    int32_t result = read_text(text, [](char *out, uint32_t *length) {
        return cfg_get_config_common("global", "imsi_string", out, length);
    });
    return result == CFG_OK ? text : "";
}

// All layers in the order in which they are asked.
std::vector<Layer> layers_of(const ItemOptions &options) {
    std::vector<Layer> layers = {{"user data", layer_path(options, cfg_get_userdata_path)},
                                 {"product", layer_path(options, cfg_get_websdk_path)}};
    std::string tail = "/config/" + options.directory + "/" + options.file;
    std::string number = imsi();
    for (size_t digits = 8; digits >= 5 && number.size() >= digits; digits--) {
        std::string prefix = number.substr(0, digits);
        struct stat status {};
        if (stat((kOperators + prefix).c_str(), &status) == 0) {
            layers.push_back({"operator " + prefix, kOperators + prefix + tail});
        }
    }
    layers.push_back({"common", kCommon + options.directory + "/" + options.file});
    return layers;
}

bool exists(const std::string &path) {
    struct stat status {};
    return !path.empty() && stat(path.c_str(), &status) == 0;
}

void run_path(const ItemOptions &options) {
    for (const Layer &layer : layers_of(options)) {
        if (exists(layer.path)) {
            show({{"layer", layer.name}, {"path", layer.path}}, layer.path + "\n");
            return;
        }
    }
    throw Failure("no layer has " + options.directory + "/" + options.file, kConfigResults,
                  CFG_NO_FILE, kExitNotFound);
}

Json layer_row(const Layer &layer, const std::string &item, std::string &value) {
    Json row = {{"", " "}, {"layer", layer.name}, {"value", nullptr}, {"path", layer.path}};
    if (layer.path.empty()) {
        row["state"] = "no such layer on this device";
        return row;
    }
    if (!exists(layer.path)) {
        row["state"] = "no file";
        return row;
    }
    int32_t result = read_text(value, [&](char *out, uint32_t *length) {
        return cfg_local_get_config(layer.path.c_str(), item.c_str(), out, length);
    });
    const Meaning *meaning = meaning_of(kConfigResults, result);
    row["state"] = result == CFG_OK        ? "holds it"
                   : result == CFG_NO_ITEM ? "no item"
                   : meaning != nullptr    ? meaning->text
                                           : "result " + std::to_string(result);
    if (result == CFG_OK) {
        row["value"] = printable(value);
    }
    return row;
}

// The lookup itself says what the answer is; the first layer that holds that value gave it. A
// lookup stays with one operator prefix while the SIM stays, so that another prefix may hold a
// value that does not answer.
void run_layers(const ItemOptions &options) {
    std::string answer;
    int32_t result = look_up(options, answer);
    Json rows = Json::array();
    Json answering = nullptr;
    for (const Layer &layer : layers_of(options)) {
        std::string value;
        Json row = layer_row(layer, options.item, value);
        bool answers =
            result == CFG_OK && answering.is_null() && !row["value"].is_null() && value == answer;
        if (answers) {
            answering = layer.name;
        }
        row[""] = answers ? "*" : "";
        rows.push_back(row);
    }
    Json document = {{"item", options.directory + " " + options.item},
                     {"value", result == CFG_OK ? Json(printable(answer)) : Json(nullptr)},
                     {"answering_layer", answering},
                     {"result", result == CFG_OK ? Json(nullptr) : Json(result)},
                     {"layers", rows}};
    if (json_wanted()) {
        for (Json &row : document["layers"]) {
            row.erase("");
        }
    }
    show(document);
    if (result != CFG_OK) {
        throw Quiet{status_of(result)};
    }
}

Command add_item_command(Command config, const char *name, const char *text,
                         void (*run)(const ItemOptions &), bool with_value = false) {
    Command command = config.command(name, text);
    ItemOptions &options = on_run(command, run);
    command.option("DIRECTORY", options.directory, "directory key, such as wlan").required();
    command.option("ITEM", options.item, "item, such as ssid, or config.dhcp.start").required();
    if (with_value) {
        command.option("VALUE", options.value, "text to store").required();
    } else {
        command.option("--file", options.file, "file name").show_default();
    }
    return command;
}

}  // namespace

void add_config_commands(Command app) {
    Command config = app.group("config", "read and write settings");
    add_item_command(config, "get", "print a setting, as a daemon would read it", run_get);
    add_item_command(config, "set", "store a setting in the user data", run_set, true);
    add_item_command(config, "layers", "show which layer answers (*) and what the others hold",
                     run_layers);

    Command path = config.command("path", "print the path of the first layer's file that exists");
    ItemOptions &options = on_run(path, run_path);
    path.option("DIRECTORY", options.directory, "directory key").required();
    path.option("FILE", options.file, "file name").show_default();
}

}  // namespace hearth::tool
