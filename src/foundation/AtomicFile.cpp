#include "foundation/AtomicFile.h"

#include "foundation/Log.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {

bool writeFileAtomically(const std::filesystem::path& file, std::string_view bytes) {
    std::error_code error;
    if (file.has_parent_path())
        std::filesystem::create_directories(file.parent_path(), error);
    std::string temporary = file.string() + ".XXXXXX";
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) {
        CVBLog("Cannot write %s: no temporary file", file.c_str());
        return false;
    }
    bool ok = ::fchmod(fd, 0644) == 0;
    for (std::size_t done = 0; ok && done < bytes.size();) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        ok = n > 0;
        done += ok ? static_cast<std::size_t>(n) : 0;
    }
    ok = ok && ::fsync(fd) == 0;
    ok = (::close(fd) == 0) && ok;
    ok = ok && ::rename(temporary.c_str(), file.c_str()) == 0;
    if (!ok) {
        CVBLog("Cannot write %s: %s", file.c_str(), std::strerror(errno));
        ::unlink(temporary.c_str());
    }
    return ok;
}

std::optional<std::string> readFileContents(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::ostringstream content;
    content << in.rdbuf();
    if (in.bad())
        return std::nullopt;
    return std::move(content).str();
}

} // namespace corvane
