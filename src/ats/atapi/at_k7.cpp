#include "hearth/at_k7.h"

#include "base/text.h"
#include "hearth/at_lib.h"
#include "hearth/osa_pthread.h"

int32_t AT_imsi(at_text_reply *record) {
    if (record == nullptr) {
        return -1;
    }
    at_server_msg message{};
    message.mtype = osa_pthread_getid();
    message.timeout = 30;
    hearth::copy_text(message.report, "AT+CIMI");
    if (GetDataFromAtServer(&message) != 0 || message.Ret_val != AT_RET_SUCCESS) {
        return -1;
    }
    record->err = AT_ERR_NONE;
    hearth::copy_text(record->text, message.report);
    return 0;
}
