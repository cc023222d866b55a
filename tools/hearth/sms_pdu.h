// Reads the PDU of a short message (3GPP TS 23.040) for display.
#pragma once

#include <string>

#include "tool.h"

namespace hearth::tool {

// Bytes of the TPDU, which a sending command tells: all but the service centre's address. Failure
// for a PDU that is shorter than its address says.
size_t tpdu_length(const std::string &pdu);

// "from" or "to", "time" of a delivered message, and "text"; of one in parts also "reference",
// "part" and "parts". Empty where the PDU has no such thing or makes no sense.
Json read_pdu(const std::string &pdu);

}  // namespace hearth::tool
