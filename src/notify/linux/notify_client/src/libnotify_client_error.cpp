// Bodies of web responses: success, busy, and errors with their message from a table.

#include <stdlib.h>
#include <string.h>

#include "base/guard.h"
#include "base/log.h"
#include "base/text.h"
#include "hearth/config.h"
#include "hearth/webserver.h"
#include "hearth/xml.h"

namespace {

constexpr hearth::LogSource kLogSource{"global", "notify/linux/notify_client/src/libnotify_client"};

// They are told apart from texts on the heap by their address.
char s_cresponse_OK[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<response>OK</response>\r\n";
char s_cresponse_busy[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<error>\r\n<code>100004</code>\r\n"
    "<message>busy</message>\r\n</error>\r\n";
constexpr char s_cresponse_fail[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<error>\r\n<code>%s</code>\r\n"
    "<message>%s</message>\r\n</error>\r\n";

constexpr int32_t kCodeBusy = 100004;
constexpr uint32_t kPathSize = 256;
constexpr size_t kSpareRoom = 100;
static_assert(sizeof s_cresponse_fail - 4 <= kSpareRoom);  // the four are "%s%s"

constexpr char kTableDirectory[] = "global";
constexpr char kTableFile[] = "error_code_msg.xml";

using ResponseMemory = hearth::Owned<char, global_release_msg>;
using XmlTree = hearth::Owned<XML_Node, cl_xmlFreeNode>;

// Looks for the table once more with as many bytes as it turned out to need.
bool find_table_again(ResponseMemory *path, uint32_t length) {
    HEARTH_LOG(OSA_LOG_ERROR,
               "[Global][global_get_error_msg] Buffer size is not large enough to store "
               "message!\n");
    path->reset(static_cast<char *>(global_get_response_memory(length)));
    if (!*path ||
        cfg_get_config_path(kTableDirectory, kTableFile, path->get(), &length) != CFG_OK) {
        HEARTH_LOG(OSA_LOG_ERROR,
                   "[Global][global_get_error_msg] cfg_get_config_path failed again!\n");
        return false;
    }
    return true;
}

bool find_table(ResponseMemory *path) {
    uint32_t length = kPathSize;
    switch (cfg_get_config_path(kTableDirectory, kTableFile, path->get(), &length)) {
        case CFG_OK:
            return true;
        case CFG_TOO_SMALL:
            return find_table_again(path, length);
        default:
            HEARTH_LOG(OSA_LOG_ERROR,
                       "[Global][global_get_error_msg]GLOBAL_LANGRULE PROFILE don't exist,\n");
            return false;
    }
}

// The message of a code, owned by the tree; empty if the table doesn't have it.
const char *find_message(const char *path, const char *code, XmlTree *tree) {
    int32_t result = cl_xmlParseFile(path, tree->out());
    if (result != XML_RESULT_OK) {
        HEARTH_LOG(OSA_LOG_ERROR,
                   "[Global][global_get_error_msg] cl_xmlParseFile FAILED ,irelust = %d\n", result);
        return "";
    }
    for (const XML_Node *row = cl_xmlGetNodeFirstChild(tree->get()); row != nullptr;
         row = cl_xmlGetNodeNextSibling(row)) {
        const char *text = nullptr;
        if (cl_xmlGetAttr(row, nullptr, "code", &text) != XML_RESULT_OK || text == nullptr ||
            strcmp(text, code) != 0) {
            continue;
        }
        const char *message = nullptr;
        bool has_message = cl_xmlGetAttr(row, nullptr, "msg", &message) == XML_RESULT_OK;
        return has_message && message != nullptr ? message : "";
    }
    return "";
}

}  // namespace

extern "C" HEARTH_API void *global_get_response_memory(uint32_t size) {
    return size == 0 ? nullptr : calloc(1, size);
}

extern "C" HEARTH_API void global_release_msg(char *text) {
    if (text != s_cresponse_OK && text != s_cresponse_busy) {
        free(text);
    }
}

extern "C" HEARTH_API char *global_get_error_msg(int32_t code) {
    if (code == 0) {
        return s_cresponse_OK;
    }
    if (code == kCodeBusy) {
        return s_cresponse_busy;
    }
    // Longer numbers are cut: required.
    char code_text[9];
    hearth::format_text(code_text, sizeof code_text, "%d", code);
    XmlTree tree;
    const char *message = "";
    {
        ResponseMemory path(static_cast<char *>(global_get_response_memory(kPathSize)));
        if (!path) {
            HEARTH_LOG(OSA_LOG_ERROR,
                       "[Global][global_get_error_msg]global_get_response_memory failed!\n");
            return s_cresponse_busy;
        }
        if (find_table(&path)) {
            message = find_message(path.get(), code_text, &tree);
        }
    }
    size_t size = strlen(code_text) + strlen(message) + kSpareRoom;
    char *text = static_cast<char *>(calloc(1, size));
    if (text == nullptr) {
        return s_cresponse_busy;
    }
    hearth::format_text(text, size, s_cresponse_fail, code_text, message);
    return text;
}
