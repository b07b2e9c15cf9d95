#include "preferences/PreferenceDomain.h"

#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "foundation/PropertyList.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <map>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {

// An exclusive flock on "<file>.lock" for the life of the object. The lock file itself never
// holds data, so it is never replaced and every process locks the same inode.
class PreferenceDomain::FileLock {
public:
    explicit FileLock(const std::filesystem::path& file) {
        std::error_code error;
        std::filesystem::create_directories(file.parent_path(), error);
        const auto path = file.string() + ".lock";
        fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (fd_ < 0) {
            CVBLog("Preferences: cannot open lock %s: %s", path.c_str(), std::strerror(errno));
            return;
        }
        while (::flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    ~FileLock() {
        if (fd_ >= 0)
            ::close(fd_); // releases the lock
    }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

private:
    int fd_ = -1;
};

namespace {

std::mutex& registryMutex() {
    static std::mutex m;
    return m;
}

std::map<std::string, std::shared_ptr<PreferenceDomain>>& registry() {
    static std::map<std::string, std::shared_ptr<PreferenceDomain>> domains;
    return domains;
}

} // namespace

PreferenceDomain::PreferenceDomain(std::string name, std::filesystem::path file)
    : name_(std::move(name))
    , file_(std::move(file)) {}

PreferenceDomain::~PreferenceDomain() = default;

std::shared_ptr<PreferenceDomain> PreferenceDomain::named(const std::string& name) {
    std::lock_guard lock(registryMutex());
    auto& slot = registry()[name];
    if (!slot)
        slot =
            std::make_shared<PreferenceDomain>(name, Paths::configDirectory() / (name + ".plist"));
    return slot;
}

void PreferenceDomain::forgetAll() {
    std::lock_guard lock(registryMutex());
    registry().clear();
}

PreferenceDomain::Identity PreferenceDomain::identityOnDisk() const {
    struct stat st {};
    if (::stat(file_.c_str(), &st) != 0)
        return Identity{};
    return Identity{st.st_ino, st.st_size, static_cast<long long>(st.st_ctim.tv_sec),
                    st.st_ctim.tv_nsec};
}

Value PreferenceDomain::readFileLocked() {
    std::error_code error;
    if (!std::filesystem::exists(file_, error))
        return Value::dict();
    Value content = readPropertyListFile(file_, Value::Kind::Dictionary);
    if (content.isDictionary())
        return content;
    // Keep the damaged file for the user or for support; start this domain afresh.
    const auto aside = file_.string() + ".corrupt-" + std::to_string(std::time(nullptr));
    if (::rename(file_.c_str(), aside.c_str()) == 0)
        CVBLog("Preferences %s: the file could not be read; moved aside to %s", name_.c_str(),
               aside.c_str());
    else
        CVBLog("Preferences %s: the file could not be read nor moved aside: %s", name_.c_str(),
               std::strerror(errno));
    return Value::dict();
}

void PreferenceDomain::reloadIfChanged() {
    const Identity onDisk = identityOnDisk();
    if (everLoaded_ && onDisk == loaded_)
        return;
    FileLock lock(file_);
    stored_ = readFileLocked();
    loaded_ = identityOnDisk();
    everLoaded_ = true;
}

Value PreferenceDomain::withPendingChanges(Value base) const {
    if (removeAllPending_)
        base = Value::dict();
    for (const auto& [key, value] : pending_)
        base.set(key, value);
    return base;
}

Value PreferenceDomain::copyValue(std::string_view key) {
    std::lock_guard guard(mutex_);
    if (auto it = pending_.find(key); it != pending_.end())
        return it->second;
    if (removeAllPending_)
        return {};
    reloadIfChanged();
    return stored_[key];
}

void PreferenceDomain::setValue(std::string_view key, Value value) {
    std::lock_guard guard(mutex_);
    pending_.insert_or_assign(std::string(key), std::move(value));
}

void PreferenceDomain::removeAll() {
    std::lock_guard guard(mutex_);
    pending_.clear();
    removeAllPending_ = true;
}

bool PreferenceDomain::synchronize() {
    std::lock_guard guard(mutex_);
    FileLock lock(file_);
    Value current = readFileLocked();
    bool ok = true;
    if (!pending_.empty() || removeAllPending_) {
        current = withPendingChanges(std::move(current));
        ok = writePropertyListFile(file_, current, PropertyListFormat::XML);
        if (!ok)
            CVBLog("Preferences %s: changes kept in memory, the file could not be written",
                   name_.c_str());
    }
    if (ok) {
        pending_.clear();
        removeAllPending_ = false;
    }
    stored_ = withPendingChanges(std::move(current));
    loaded_ = identityOnDisk();
    everLoaded_ = true;
    return ok;
}

std::vector<std::string> PreferenceDomain::copyKeyList() {
    std::vector<std::string> keys;
    for (const auto& [key, value] : copyAll().dictionaryItems())
        keys.push_back(key);
    return keys;
}

Value PreferenceDomain::copyAll() {
    std::lock_guard guard(mutex_);
    reloadIfChanged();
    return withPendingChanges(stored_);
}

} // namespace corvane
