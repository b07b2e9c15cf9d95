#pragma once

#include <netinet/in.h>
#include <optional>
#include <string>

namespace corvane {

// The host name of an IPv4 address text through a PTR query, or nullopt. `nameServer`
// replaces the system's resolvers, so that tests ask a local responder.
std::optional<std::string> reverseDNS(const std::string& address,
                                      const std::optional<sockaddr_in>& nameServer = {});

} // namespace corvane
