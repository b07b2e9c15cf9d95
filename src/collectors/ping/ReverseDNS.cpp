#include "collectors/ping/ReverseDNS.h"

#include "collectors/ping/PingPacket.h"

#include <arpa/nameser.h>
#include <cstdlib>
#include <resolv.h>

namespace corvane {

namespace {

// A resolver state of its own, so that no other thread's settings change under us.
class ResolverState {
public:
    ResolverState() { ready_ = ::res_ninit(&state_) == 0; }
    ~ResolverState() {
        if (ready_)
            ::res_nclose(&state_);
    }
    ResolverState(const ResolverState&) = delete;
    ResolverState& operator=(const ResolverState&) = delete;

    bool ready() const { return ready_; }
    res_state get() { return &state_; }

    // Only this server: the IPv6 servers read from resolv.conf would be asked first otherwise.
    void useOnly(const sockaddr_in& server) {
        for (auto& extra : state_._u._ext.nsaddrs) {
            std::free(extra);
            extra = nullptr;
        }
        state_.nscount = 1;
        state_.nsaddr_list[0] = server;
    }

private:
    struct __res_state state_ {};
    bool ready_ = false;
};

} // namespace

std::optional<std::string> reverseDNS(const std::string& address,
                                      const std::optional<sockaddr_in>& nameServer) {
    ResolverState resolver;
    if (!resolver.ready())
        return std::nullopt;
    if (nameServer)
        resolver.useOnly(*nameServer);
    unsigned char answer[1500];
    const int length = ::res_nsearch(resolver.get(), ping::makeDNSLookupString(address).c_str(),
                                     ns_c_in, ns_t_ptr, answer, sizeof answer);
    if (length < 1)
        return std::nullopt;
    ns_msg message;
    ns_rr record;
    if (::ns_initparse(answer, length, &message) != 0 ||
        ::ns_parserr(&message, ns_s_an, 0, &record) != 0 || ns_rr_type(record) != ns_t_ptr)
        return std::nullopt;
    char name[NS_MAXDNAME];
    if (::ns_name_uncompress(ns_msg_base(message), ns_msg_end(message), ns_rr_rdata(record), name,
                             sizeof name) < 0)
        return std::nullopt;
    return std::string(name);
}

} // namespace corvane
