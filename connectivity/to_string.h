// One-line renderings of values, for log lines and error texts. They have no quoting and cannot be parsed back. Values
// nested 10,000 deep are within an 8 MiB stack. [any thread]
#pragma once

#include <string>

#include "connectivity/data_t.h"

namespace com::tallowmere::connectivity10_15_4 {

class Message;

/// "(null)", "true", 12, text as it is, [a,b], name:{k:v}, [0x0A,0xFF], "(custom)". Doubles and decimals are written by
/// the host. Throws what iterators throw when a container changes meanwhile.
std::string to_string(const data_t& value);
std::string to_string(const list_t& list);
std::string to_string(const map_t& map);
std::string to_string(const buffer_t& buffer);

/// The metadata, " / ", and the payload.
std::string to_string(const Message& message);

}  // namespace com::tallowmere::connectivity10_15_4
