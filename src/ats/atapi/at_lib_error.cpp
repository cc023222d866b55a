// From a modem's error line to an error id.
#include <string.h>

#include <iterator>

#include "base/number.h"
#include "hearth/at_lib.h"
#include "hearth/at_utils.h"

namespace {

constexpr int32_t kErrorCodeType = 3;

struct CmeRow {
    const char *code;
    const char *message;
};

// The codes of +CME ERROR with the modem's words for them, in search order.
constexpr CmeRow cme_table[] = {
    {"0", "phone failure"},
    {"1", "no connection to phone"},
    {"2", "phone adaptor link reserved"},
    {"3", "operation not allowed"},
    {"4", "operation not supported"},
    {"5", "PH-SIM PIN required"},
    {"6", "PH-FSIM PIN required"},
    {"7", "PH-FSIM PUK required"},
    {"10", "SIM not inserted"},
    {"11", "SIM PIN required"},
    {"12", "SIM PUK required"},
    {"17", "SIM PIN2 required"},
    {"18", "SIM PUK2 required"},
    {"13", "SIM failure"},
    {"14", "SIM busy"},
    {"15", "SIM wrong"},
    {"269", "SIM2 not inserted"},
    {"265", "SIM2 PIN required"},
    {"266", "SIM2 PUK required"},
    {"267", "SIM2 PIN2 required"},
    {"268", "SIM2 PUK2 required"},
    {"270", "SIM2 failure"},
    {"271", "SIM2 busy"},
    {"272", "SIM2 wrong"},
    {"16", "incorrect password"},
    {"20", "memory full"},
    {"21", "invalid index"},
    {"22", "not found"},
    {"23", "memory failure"},
    {"24", "text string too long"},
    {"25", "invalid characters in text string"},
    {"26", "dial string too long"},
    {"27", "invalid characters in dial string"},
    {"30", "no network service"},
    {"31", "network timeout"},
    {"32", "network not allowed - emergency calls only"},
    {"40", "network personalization PIN required"},
    {"41", "network personalization PUK required"},
    {"42", "network subset personalization PIN required"},
    {"43", "network subset personalization PUK required"},
    {"44", "service provider personalization PIN required"},
    {"45", "service provider personalization PUK required"},
    {"46", "corporate personalization PIN required"},
    {"47", "corporate personalization PUK required"},
    {"100", "unknown"},
    {"103", "Illegal MESSAGE"},
    {"106", "Illegal ME"},
    {"107", "GPRS services not allowed"},
    {"111", "PLMN not allowed"},
    {"112", "Location area not allowed"},
    {"113", "Roaming not allowed in this location area"},
    {"132", "service option not supported"},
    {"133", "requested service option not subscribed"},
    {"134", "service option temporarily out of order"},
    {"148", "unspecified GPRS error"},
    {"149", "PDP authentication failure"},
    {"150", "invalid mobile class"},
    {"257", "network rejected request"},
    {"258", "retry operation"},
    {"259", "invalid deflected to number"},
    {"260", "deflected to own number"},
    {"261", "unknown subscriber"},
    {"262", "service not available"},
    {"263", "unknown class specified"},
    {"264", "unknown network message"},
    {"275", "invalid parameter combination"},
    {"273", "minimum TFTs per PDP address violated"},
    {"274", "TFT precedence index not unique"},
    {"65280", "call index error"},
    {"65281", "Call state error"},
    {"65282", "System state error"},
    {"65284", "SPN file wrong"},
    {"65285", "SPN file access denied"},
    {"65286", "SPN file not exist"},
    // The trailing blank is required, although a text that was trimmed never equals it.
    {"65287", "another SPN query operation still not finished "},
    {"65288", "NV item inactive"},
    {"65535", nullptr},
};
static_assert(std::size(cme_table) == 77 && cme_table[76].message == nullptr);

int32_t id_of_cme(int32_t code) {
    switch (code) {
        case 10:
        case 13:
            return AT_ERR_SIM_FAILURE;
        case 11:
            return AT_ERR_SIM_PIN;
        case 12:
            return AT_ERR_SIM_PUK;
        case 16:
        case 30:
            return AT_ERR_REJECTED;
        default:
            return AT_ERR_OTHER;
    }
}

int32_t id_of_cms(int32_t code) {
    switch (code) {
        case 310:
        case 313:
            return AT_ERR_SIM_FAILURE;
        case 311:
            return AT_ERR_SIM_PIN;
        case 316:
            return AT_ERR_SIM_PUK;
        default:
            return AT_ERR_OTHER;
    }
}

}  // namespace

int32_t cms_to_id(const char *text, at_error_code *code) {
    if (text == nullptr || code == nullptr) {
        return -1;
    }
    code->type = kErrorCodeType;
    code->cms = 0;
    if (test_str_num(text) != 0) {
        return -1;
    }
    code->cms = hearth::to_int32(text);
    return 0;
}

int32_t cme_to_id(const char *text, at_error_code *code) {
    if (text == nullptr || code == nullptr) {
        return -1;
    }
    code->type = kErrorCodeType;
    code->cme = -1;
    if (test_str_num(text) == 0) {
        code->cme = hearth::to_int32(text);
        return 0;
    }
    for (const CmeRow *row = cme_table; row->message != nullptr; row++) {
        if (strcmp(row->message, text) == 0) {
            code->cme = hearth::to_int32(row->code);
            return 0;
        }
    }
    return -1;
}

int32_t Error_str_to_id(char *text) {
    char *colon = text == nullptr ? nullptr : strchr(text, ':');
    if (colon == nullptr) {
        return AT_ERR_NO_ERROR_LINE;
    }
    *colon = '\0';
    const char *reason = split_space(colon + 1, ' ');
    at_error_code code{};
    if (strstr(text, "+CME") != nullptr) {
        return cme_to_id(reason, &code) == 0 ? id_of_cme(code.cme) : AT_ERR_NO_ERROR_LINE;
    }
    if (strstr(text, "+CMS") != nullptr) {
        return cms_to_id(reason, &code) == 0 ? id_of_cms(code.cms) : AT_ERR_NO_ERROR_LINE;
    }
    return AT_ERR_NO_ERROR_LINE;
}
