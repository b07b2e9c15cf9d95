#pragma once

#include "foundation/Value.h"

#include <string>

namespace corvane {

// The text of a ping for people: a line per result and the closing summary. Average and loss
// are the caller's: total / received, and (sent - received) * 100 / sent in whole percent.
namespace ping {

// "64 bytes from 127.0.0.1: icmp_seq=1 ttl=64 time=0.052 ms" or "Request timeout for icmp_seq 3".
std::string resultLine(const Value& result);
// "4 packets transmitted, 3 packets received, 25% packet loss", then, with a reply,
// "round-trip min/avg/max = 0.041/0.052/0.070 ms".
std::string summaryLines(const Value& results);

} // namespace ping
} // namespace corvane
