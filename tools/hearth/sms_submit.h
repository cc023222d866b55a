// Makes the PDUs of a message that is to be sent (3GPP TS 23.040).
#pragma once

#include <string>
#include <vector>

namespace hearth::tool {

struct Submission {
    const char *alphabet;           // "GSM 7-bit" or "UCS-2"
    std::vector<std::string> pdus;  // hexadecimal, without a service centre's address
};

// The text in septets where the default alphabet holds it, else in UCS-2; cut into parts with a
// header that joins them where one message cannot hold it. `reference` is the same in all parts.
// Failure for a text that no form holds or that needs more than 255 parts.
Submission submission(const std::string &number, const std::string &text, uint8_t reference);

}  // namespace hearth::tool
