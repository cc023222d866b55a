// The counters of the data connection.
#pragma once

#include <string>

#include "sim_services.h"

namespace hearth::device {

Flow operator+(const Flow &a, const Flow &b);

// What the present or last connection has carried by now.
Flow last_flow(const Connection &connection);

// The report that the modem gives every two seconds when "^DSFLOWRPT=1" asked for it.
std::string flow_report(const Connection &connection);

}  // namespace hearth::device
