// Table-driven tests of the AT command functions. An AtStandIn takes the place of the channel:
// it keeps what was sent and answers in process.
//
//     TEST(AtNetwork, Members) {
//         AtStandIn modem;
//         check_member(modem, MemberCase<at_creg_info>{
//             .name = "AT_Creg query",
//             .call = [](at_creg_info *record) { return AT_Creg(0, record); },
//             .sent = {.command = "AT+CREG?", .match = "+CREG:"},
//             .reply = "+CREG: 2,1,\"1A2B\",\"3C4D\"",
//             .expected = {2, 1, "1A2B", "3C4D", -2},
//             .refusal = OnRefusal::kMap,
//             .err = offsetof(at_creg_info, err)});
//     }
//
// check_member() tries the good reply, a reply that cannot be parsed, Ret_val 3, 4, 5 and 0, a
// failed channel and a null record.
#pragma once

#include <gtest/gtest.h>
#include <stdint.h>
#include <string.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "hearth/at_lib.h"

namespace hearth::test {

class AtStandIn {
  public:
    struct Answer {
        int32_t ret_val;
        std::string report;
        // Of the channel; not 0: the message is left as a failed wait leaves it.
        int32_t result = 0;
        // What `report_len` tells; by default the bytes of the report.
        std::optional<uint32_t> report_len{};
    };

    AtStandIn();
    AtStandIn(const AtStandIn &) = delete;
    AtStandIn &operator=(const AtStandIn &) = delete;
    ~AtStandIn();

    // Forgets what was sent. The requests that follow get these answers, the last one again and
    // again; without any the channel fails.
    void answer(std::vector<Answer> answers);

    const std::vector<at_server_msg> &requests() const;
    std::vector<std::string> commands() const;
};

// What a request looks like.
struct Sent {
    std::string command;
    std::string match;
    int32_t timeout = 30;
    int32_t req_class = 0;
    int32_t req_param = 0;
    int32_t multi_line = 0;
    bool as_process = false;
};

void expect_sent(const at_server_msg &message, const Sent &sent);

enum class OnRefusal { kFail, kMap, kMapAndFail, kIgnore };

constexpr size_t kNoErrField = static_cast<size_t>(-1);

template <typename Record>
struct MemberCase {
    const char *name;
    std::function<int32_t(Record *)> call;
    Sent sent;
    std::string reply;  // good reply
    Record input{};     // record before the call
    Record expected{};  // and after the good reply
    OnRefusal refusal = OnRefusal::kFail;
    size_t err = kNoErrField;  // offset of `err`
    bool parses = true;        // a reply that cannot be parsed gives -1
    bool err_before_list = false;
    bool null_record = true;  // null is refused
};

// The same without the type of the record.
struct ErasedCase {
    const char *name;
    std::function<int32_t(void *)> call;
    Sent sent;
    std::string reply;
    std::string input;
    std::string expected;
    OnRefusal refusal;
    size_t err;
    bool parses;
    bool err_before_list;
    bool null_record;
};

void check_erased(AtStandIn &modem, const ErasedCase &row);

template <typename Record>
void check_member(AtStandIn &modem, const MemberCase<Record> &row) {
    // The bytes between fields hold whatever the compiler left there.
    auto bytes = [](Record record) {
#if __has_builtin(__builtin_clear_padding)
        __builtin_clear_padding(&record);
#endif
        return std::string(reinterpret_cast<const char *>(&record), sizeof record);
    };
    check_erased(
        modem, {row.name, [&row](void *record) { return row.call(static_cast<Record *>(record)); },
                row.sent, row.reply, bytes(row.input), bytes(row.expected), row.refusal, row.err,
                row.parses, row.err_before_list, row.null_record});
}

}  // namespace hearth::test
