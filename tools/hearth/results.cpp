#include "results.h"

#include "hearth/at_lib.h"
#include "hearth/cl_text.h"
#include "hearth/config.h"
#include "hearth/gz.h"
#include "hearth/mdblite.h"
#include "hearth/notify.h"
#include "hearth/xml.h"

namespace hearth::tool {

namespace {

// A row that carries the number's own name.
#define ROW(name, text) \
    { name, #name, text }

constexpr Meaning kConfig[] = {
    ROW(CFG_OK, "found"),
    ROW(CFG_BAD_INPUT, "a required argument is missing"),
    ROW(CFG_NO_ITEM, "no layer holds this item"),
    ROW(CFG_TOO_SMALL, "the value does not fit its buffer"),
    ROW(CFG_NO_FILE, "there is no such directory or file"),
    ROW(CFG_INTERNAL, "memory or a path failed"),
    ROW(XML_RESULT_SYNTAX, "the file is not a document that the parser takes"),
    ROW(XML_RESULT_OPEN, "the file could not be opened"),
    ROW(XML_RESULT_WRITE, "the file was written short"),
    ROW(XML_RESULT_READ, "the file could not be read"),
};

constexpr Meaning kXml[] = {
    ROW(XML_RESULT_OK, "done"),
    ROW(XML_RESULT_PARAM, "unusable argument, or a node in the wrong state"),
    ROW(XML_RESULT_NO_MEMORY, "no memory"),
    ROW(XML_RESULT_EXISTS, "the element has this attribute already"),
    ROW(XML_RESULT_NOT_FOUND, "no such attribute or node"),
    ROW(XML_RESULT_SYNTAX, "not a document that the parser takes"),
    ROW(XML_RESULT_BAD_URL, "an index is 0 or stands in the wrong place"),
    ROW(XML_RESULT_OPEN, "the file could not be opened"),
    ROW(XML_RESULT_WRITE, "the file was written short"),
    ROW(XML_RESULT_READ, "the file could not be read"),
    ROW(XML_RESULT_UNKNOWN, "nothing is known of the cause"),
};

constexpr Meaning kTable[] = {
    ROW(MDBL_OK, "done"),
    ROW(MDBL_ERR_GENERAL, "a read or write failed, or the file is not a usable table"),
    ROW(MDBL_ERR_INDEX_NUMBER, "index number out of range"),
    ROW(MDBL_ERR_NO_MEMORY, "no memory"),
    ROW(MDBL_ERR_TABLE_FULL, "the table is full"),
    ROW(MDBL_ERR_EXISTS, "the table exists already"),
    ROW(MDBL_ERR_NO_FILE, "the file does not exist"),
    ROW(MDBL_ERR_RENAME, "the file could not take its name, or its size is unreadable"),
    ROW(MDBL_ERR_INDEX_EXISTS, "the index exists"),
    ROW(MDBL_ERR_PARAM, "size, count or length out of limits"),
    ROW(MDBL_MORE_TO_CACHE, "the end of the table is not yet in memory"),
    ROW(MDBL_ERR_NO_INDEX, "no such index"),
    ROW(MDBL_ERR_EMPTY, "the table is empty"),
    ROW(MDBL_ERR_NOT_FOUND, "no matching record"),
    ROW(MDBL_ERR_RS_EMPTY, "the record set is empty"),
    ROW(MDBL_ERR_BAD_MAGIC, "the file is no table"),
    ROW(MDBL_ERR_BAD_VERSION, "the table's version is not 1"),
};

constexpr Meaning kText[] = {
    ROW(CL_TEXT_OK, "done"),
    ROW(CL_TEXT_BAD_ARGUMENT, "the text is empty or not in this form"),
    ROW(CL_TEXT_NO_CHARACTER, "a septet without a character"),
    ROW(CL_TEXT_NOT_IN_ALPHABET, "a character that the alphabet lacks"),
    ROW(CL_TEXT_BAD_UTF8, "the text is not UTF-8"),
    ROW(CL_TEXT_NO_ROOM, "no room, or septets that end behind an escape"),
    ROW(CL_TEXT_NO_MEMORY, "no memory"),
    ROW(CL_TEXT_NOT_REPRESENTABLE, "the text does not fit this form"),
    ROW(CL_TEXT_NO_SEPTET, "a character without a septet, or a byte that is no septet"),
    ROW(CL_TEXT_BASE64_FAILED, "not Base64"),
};

constexpr Meaning kGz[] = {
    ROW(CL_GZ_OK, "done"),
    ROW(CL_GZ_FAILED, "a file could not be opened, read or written, or is damaged"),
    ROW(CL_GZ_STREAM, "bad argument"),
    ROW(CL_GZ_DATA, "the input is no zlib stream"),
    ROW(CL_GZ_MEMORY, "no memory"),
    ROW(CL_GZ_BUFFER, "no room"),
    ROW(CL_GZ_VERSION, "wrong version of zlib"),
};

constexpr Meaning kAt[] = {
    {0, "OK", "done"},
    {1, "NO_DATA", "the modem has no such value yet"},
    {-1, "FAILED",
     "the modem refused, did not answer in time, or gave a reply that cannot be read"},
};

constexpr Meaning kAtError[] = {
    ROW(AT_ERR_NONE, "no error"),
    ROW(AT_ERR_SIM_PIN, "the SIM waits for its PIN"),
    ROW(AT_ERR_SIM_PUK, "the SIM waits for its PUK"),
    ROW(AT_ERR_SIM_FAILURE, "the SIM is missing or failed"),
    ROW(AT_ERR_REJECTED, "wrong password, or no network service"),
    ROW(AT_ERR_OTHER, "some other modem error"),
    ROW(AT_ERR_NO_ERROR_LINE, "the modem's answer is no error line"),
};

constexpr Meaning kAtOutcome[] = {
    ROW(AT_RET_SUCCESS, "answered"),
    ROW(AT_RET_ERROR, "the modem refused"),
    ROW(AT_RET_REFUSED, "the modem refused"),
    ROW(AT_RET_FAILURE, "wrong password, or no network service"),
};

constexpr Meaning kBus[] = {
    {0, "OK", "done"},
    {-1, "FAILED", "sending failed, the time ran out, or the module died"},
    ROW(NOTIFY_NO_ANSWER, "no module with this id is on the bus"),
};

#undef ROW

}  // namespace

const Facility kConfigResults = {"config", kConfig};
const Facility kXmlResults = {"xml", kXml};
const Facility kTableResults = {"table", kTable};
const Facility kTextResults = {"text", kText};
const Facility kGzResults = {"gz", kGz};
const Facility kAtResults = {"at", kAt};
const Facility kAtErrors = {"at error id", kAtError};
const Facility kAtOutcomes = {"at outcome", kAtOutcome};
const Facility kBusResults = {"bus", kBus};

const Meaning *meaning_of(const Facility &facility, int64_t number) {
    for (const Meaning &row : facility.meanings) {
        if (row.number == number) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace hearth::tool
