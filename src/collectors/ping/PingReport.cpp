#include "collectors/ping/PingReport.h"

#include <cstdio>

namespace corvane::ping {

namespace {

std::string milliseconds(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", seconds * 1000.0);
    return text;
}

} // namespace

std::string resultLine(const Value& result) {
    const std::string sequence = std::to_string(result["sequence"].integerValue());
    if (result["timeout"].boolValue())
        return "Request timeout for icmp_seq " + sequence;
    return std::to_string(result["bytes"].integerValue()) + " bytes from " +
           result["address"].stringValue() + ": icmp_seq=" + sequence +
           " ttl=" + std::to_string(result["ttl"].integerValue()) +
           " time=" + milliseconds(result["time"].doubleValue()) + " ms";
}

std::string summaryLines(const Value& results) {
    const std::int64_t sent = results["sent"].integerValue();
    const std::int64_t received = results["received"].integerValue();
    const std::int64_t loss = sent > 0 ? (sent - received) * 100 / sent : 0;
    std::string text = std::to_string(sent) + " packets transmitted, " + std::to_string(received) +
                       " packets received, " + std::to_string(loss) + "% packet loss\n";
    if (received > 0) {
        const double average = results["totalTime"].doubleValue() / static_cast<double>(received);
        text += "round-trip min/avg/max = " + milliseconds(results["minimumTime"].doubleValue()) +
                "/" + milliseconds(average) + "/" +
                milliseconds(results["maximumTime"].doubleValue()) + " ms\n";
    }
    return text;
}

} // namespace corvane::ping
