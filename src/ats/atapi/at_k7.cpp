#include "hearth/at_k7.h"

#include "ats/atapi/at_exchange.h"
#include "base/text.h"

namespace {

using namespace hearth::at;

constexpr Member kImsi = member({.command = "AT+CIMI", .err = AT_ERR(at_text_reply)});

}  // namespace

int32_t AT_imsi(at_text_reply *record) {
    at_server_msg message;
    int32_t result = -1;
    if (record == nullptr || !ask(kImsi, &message, record, nullptr, &result)) {
        return result;
    }
    clear_err(kImsi, record);
    hearth::copy_text(record->text, message.report);
    return 0;
}
