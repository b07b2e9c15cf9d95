// Sets up a private network namespace and runs a program in it. Started under `unshare -rnm`,
// because a threaded test process cannot unshare itself:
//
//   unshare -rnm net_namespace_runner [--veth NAME:ADDRESS/PREFIX,PEER[:ADDRESS/PREFIX]]...
//       [--neighbour DEVICE:ADDRESS:MAC]... [--route DEVICE:GATEWAY] [--blackhole PREFIX]...
//       [--closed-ping-range] [--drop-net-raw] -- PROGRAM [ARGUMENTS...]
//
// A sysfs of the namespace is mounted, the loopback comes up, ping sockets are opened to group 0
// (the only mapping a user namespace accepts), each veth pair is made with its addresses, and a
// neighbour entry is permanent, so that packets leave a device without any host behind it. Nothing
// leaves the namespace. `--closed-ping-range` keeps the range of a new namespace ("1 0": no
// unprivileged ping sockets); `--drop-net-raw` removes CAP_NET_RAW from the program (no raw
// sockets either). The runner refuses to work in a namespace that has routes already, such as
// the machine's own.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <linux/capability.h>
#include <string>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

bool run(std::vector<std::string> arguments) {
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        ::execvp(argv[0], argv.data());
        std::perror(argv[0]);
        ::_exit(127);
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) < 0 || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0) {
        std::string line;
        for (const auto& argument : arguments)
            line += argument + " ";
        std::fprintf(stderr, "namespace runner: failed: %s\n", line.c_str());
        return false;
    }
    return true;
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t at = text.find(separator); at != std::string::npos;
         at = text.find(separator, start)) {
        parts.push_back(text.substr(start, at - start));
        start = at + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

bool link(const std::string& device, const std::string& address) {
    std::vector<std::string> add{"ip", "address", "add", address, "dev", device};
    if (address.find(':') != std::string::npos)
        add.push_back("nodad"); // usable at once, without duplicate detection
    return (address.empty() || run(add)) && run({"ip", "link", "set", device, "up"});
}

// NAME:ADDRESS,PEER:ADDRESS; the addresses are optional.
bool veth(const std::string& option) {
    const auto ends = split(option, ',');
    if (ends.size() != 2)
        return false;
    const auto near = split(ends[0], ':');
    const auto far = split(ends[1], ':');
    if (!run({"ip", "link", "add", near[0], "type", "veth", "peer", "name", far[0]}))
        return false;
    // IPv6 addresses hold colons too: everything after the name is the address.
    const auto address = [](const std::string& end) {
        const auto colon = end.find(':');
        return colon == std::string::npos ? std::string() : end.substr(colon + 1);
    };
    return link(near[0], address(ends[0])) && link(far[0], address(ends[1]));
}

bool neighbour(const std::string& option) {
    // DEVICE:ADDRESS:MAC with a MAC of six colon-separated pairs at the end.
    const auto first = option.find(':');
    if (first == std::string::npos || option.size() < first + 19)
        return false;
    const std::string mac = option.substr(option.size() - 17);
    const std::string address = option.substr(first + 1, option.size() - 18 - first - 1);
    return run({"ip", "neigh", "add", address, "lladdr", mac, "dev", option.substr(0, first), "nud",
                "permanent"});
}

bool route(const std::string& option) {
    const auto colon = option.find(':');
    return colon != std::string::npos &&
           run({"ip", "route", "add", "default", "via", option.substr(colon + 1), "dev",
                option.substr(0, colon)});
}

bool blackhole(const std::string& prefix) {
    return run({"ip", "route", "add", "blackhole", prefix});
}

// A new network namespace has no routes and is not the one of PID 1.
bool isPrivateNamespace() {
    struct stat own {};
    struct stat first {};
    if (::stat("/proc/self/ns/net", &own) != 0)
        return false;
    if (::stat("/proc/1/ns/net", &first) == 0 && own.st_ino == first.st_ino &&
        own.st_dev == first.st_dev)
        return false;
    // No IPv4 route yet: the table holds at most its heading line.
    std::ifstream routes("/proc/self/net/route");
    for (std::string line; std::getline(routes, line);) {
        if (!line.starts_with("Iface"))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    // Checked before anything changes: run outside a new namespace, this would alter the machine.
    if (!isPrivateNamespace()) {
        std::fprintf(stderr, "namespace runner: refused: not in a new network namespace\n");
        return 125;
    }
    // /sys shows the devices of the namespace that mounted it: mount one of this namespace's.
    if (::mount("sysfs", "/sys", "sysfs", 0, nullptr) != 0) {
        std::perror("namespace runner: mount sysfs");
        return 125;
    }
    if (!run({"ip", "link", "set", "lo", "up"}))
        return 125;
    bool openPingRange = true;
    int at = 1;
    for (; at < argc && std::strcmp(argv[at], "--") != 0; at += 2) {
        if (std::strcmp(argv[at], "--closed-ping-range") == 0) {
            openPingRange = false;
            --at;
            continue;
        }
        if (std::strcmp(argv[at], "--drop-net-raw") == 0) {
            // Gone from the bounding set, the capability is not granted again at exec.
            if (::prctl(PR_CAPBSET_DROP, CAP_NET_RAW, 0, 0, 0) != 0) {
                std::perror("namespace runner: drop CAP_NET_RAW");
                return 125;
            }
            --at;
            continue;
        }
        if (at + 1 >= argc)
            return 125;
        const std::string option = argv[at];
        const std::string value = argv[at + 1];
        const bool done = option == "--veth"        ? veth(value)
                          : option == "--neighbour" ? neighbour(value)
                          : option == "--route"     ? route(value)
                          : option == "--blackhole" ? blackhole(value)
                                                    : false;
        if (!done) {
            std::fprintf(stderr, "namespace runner: cannot do %s %s\n", option.c_str(),
                         value.c_str());
            return 125;
        }
    }
    if (openPingRange)
        std::ofstream("/proc/sys/net/ipv4/ping_group_range") << "0 0\n";
    if (at + 1 >= argc) {
        std::fprintf(stderr, "namespace runner: no program after --\n");
        return 125;
    }
    ::execvp(argv[at + 1], argv + at + 1);
    std::perror(argv[at + 1]);
    return 127;
}
