#include "preferences/PreferenceDomain.h"

#include "foundation/AtomicFile.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "foundation/PropertyList.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <map>
#include <optional>
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

PreferenceDomain::OpenFile::~OpenFile() {
    if (fd_ >= 0)
        ::close(fd_);
}

PreferenceDomain::OpenFile& PreferenceDomain::OpenFile::operator=(OpenFile&& other) noexcept {
    if (this != &other) {
        if (fd_ >= 0)
            ::close(fd_);
        fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
}

PreferenceDomain::Identity PreferenceDomain::identityOf(const struct stat& st) {
    return Identity{st.st_dev,          st.st_ino,
                    st.st_size,         static_cast<long long>(st.st_mtim.tv_sec),
                    st.st_mtim.tv_nsec, static_cast<long long>(st.st_ctim.tv_sec),
                    st.st_ctim.tv_nsec};
}

PreferenceDomain::Identity PreferenceDomain::identityOnDisk() const {
    struct stat st {};
    if (::stat(file_.c_str(), &st) != 0)
        return Identity{};
    return identityOf(st);
}

namespace {

bool isMissing(int error) {
    return error == ENOENT || error == ENOTDIR;
}

// The whole content of an open file; false (errno set) when a read fails.
bool readAll(int fd, std::string& bytes) {
    char buffer[16384];
    while (true) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n == 0)
            return true;
        if (n > 0)
            bytes.append(buffer, static_cast<std::size_t>(n));
        else if (errno != EINTR)
            return false;
    }
}

// Like rename(), but fails with EEXIST rather than replace `to`.
bool renameWithoutReplacing(const char* from, const char* to) {
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    // File systems without the flag: a new link never replaces either.
    if (::link(from, to) != 0)
        return false;
    ::unlink(from);
    return true;
}

} // namespace

// Reads without the lock: writers replace the file in one rename, so an open file is always
// one whole version.
PreferenceDomain::Snapshot PreferenceDomain::readFile() const {
    Snapshot snapshot;
    // O_NONBLOCK: something other than a plain file in its place must not hang the reader.
    snapshot.file = OpenFile(::open(file_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat st {};
    std::string bytes;
    if (snapshot.file.get() < 0) {
        if (!isMissing(errno)) {
            snapshot.outcome = Outcome::Unreadable;
            snapshot.error = errno;
        }
        return snapshot;
    }
    if (::fstat(snapshot.file.get(), &st) != 0 || !readAll(snapshot.file.get(), bytes)) {
        snapshot.outcome = Outcome::Unreadable;
        snapshot.error = errno;
        return snapshot;
    }
    if (!S_ISREG(st.st_mode)) {
        snapshot.outcome = Outcome::Unreadable;
        snapshot.error = S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
        return snapshot;
    }
    snapshot.identity = identityOf(st);
    snapshot.content =
        readPropertyList(bytes, file_.string(), Value::Kind::Dictionary, &snapshot.problem);
    if (!snapshot.content.isDictionary())
        snapshot.outcome = Outcome::Corrupt;
    else if (propertyListValueProblem(snapshot.content))
        snapshot.outcome = Outcome::Unwritable;
    else
        snapshot.outcome = Outcome::Loaded;
    return snapshot;
}

namespace {

// A key as a log line can show it.
std::string printable(std::string_view key) {
    std::string shown;
    for (char c : key.substr(0, 64))
        shown += c >= 0x20 && c < 0x7f ? c : '?';
    return shown;
}

} // namespace

PreferenceDomain::Snapshot PreferenceDomain::readRepairing(bool locked) {
    const auto needsRepair = [](Outcome outcome) {
        return outcome == Outcome::Corrupt || outcome == Outcome::Unwritable;
    };
    if (!temporariesChecked_) {
        // What a writer that died left behind; once a process, whatever it does first.
        removeStaleTemporaries(file_);
        temporariesChecked_ = true;
    }
    Snapshot snapshot = readFile();
    if (!needsRepair(snapshot.outcome))
        return snapshot;
    std::optional<FileLock> lock;
    if (!locked) {
        // Look again under the lock: a writer may have replaced the file meanwhile.
        lock.emplace(file_);
        snapshot = readFile();
        if (!needsRepair(snapshot.outcome))
            return snapshot;
    }
    const bool repaired = snapshot.outcome == Outcome::Corrupt ? moveAside(snapshot.problem)
                                                               : dropUnwritable(snapshot.content);
    if (repaired)
        return readFile();
    // What cannot be kept aside must not be written over either.
    Snapshot stuck;
    stuck.outcome = Outcome::Unreadable;
    stuck.error = errno;
    return stuck;
}

std::optional<std::string> PreferenceDomain::keepAside(bool inPlace) {
    // The file behind a link: the link stays where the user put it.
    const std::filesystem::path damaged = resolvedFile(file_);
    // Kept for the user or for support; the time alone may repeat within a second.
    const std::string base = damaged.string() + ".corrupt-" + std::to_string(std::time(nullptr));
    for (int n = 0; n < 1000; ++n) {
        const std::string aside = n == 0 ? base : base + "-" + std::to_string(n);
        std::error_code error;
        if (inPlace ? std::filesystem::copy_file(damaged, aside, error)
                    : renameWithoutReplacing(damaged.c_str(), aside.c_str()))
            return aside;
        if (inPlace)
            errno = error.value();
        if (errno != EEXIST)
            break;
    }
    return std::nullopt;
}

bool PreferenceDomain::moveAside(const std::string& problem) {
    const char* why = problem.empty() ? "no property-list dictionary" : problem.c_str();
    if (auto aside = keepAside(false)) {
        CVBLog("Preferences %s: %s did not read (%s); moved aside to %s, starting from the "
               "defaults",
               name_.c_str(), file_.c_str(), why, aside->c_str());
        setAside_ = std::move(aside);
        return true;
    }
    const int error = errno;
    CVBLog("Preferences %s: %s did not read (%s) and could not be moved aside: %s", name_.c_str(),
           file_.c_str(), why, std::strerror(error));
    errno = error;
    return false;
}

// Raw control characters from an earlier version, or broken text from a binary file: every
// other reader refuses such a file, and it could not be written again. The whole file is kept
// aside and only those entries leave the live one.
bool PreferenceDomain::dropUnwritable(const Value& content) {
    Value kept = Value::dict();
    std::string dropped;
    for (const auto& [key, value] : content.dictionaryItems()) {
        auto problem = propertyListTextProblem(key);
        if (problem)
            problem = "the key " + *problem;
        else
            problem = propertyListValueProblem(value);
        if (!problem) {
            kept.set(key, value);
            continue;
        }
        dropped += (dropped.empty() ? "" : "; ") + printable(key) + ": " + *problem;
    }
    auto aside = keepAside(true);
    if (!aside || !writePropertyListFile(file_, kept)) {
        const int error = errno;
        if (aside)
            ::unlink(aside->c_str());
        CVBLog("Preferences %s: %s holds text that other readers refuse (%s) and could not be "
               "repaired: %s",
               name_.c_str(), file_.c_str(), dropped.c_str(), std::strerror(error));
        errno = error;
        return false;
    }
    CVBLog("Preferences %s: %s held text that other readers refuse (%s); kept the file as %s "
           "and removed those settings",
           name_.c_str(), file_.c_str(), dropped.c_str(), aside->c_str());
    setAside_ = std::move(aside);
    return true;
}

void PreferenceDomain::adopt(Snapshot snapshot) {
    everLoaded_ = true;
    if (snapshot.outcome == Outcome::Unreadable) {
        if (!unreadable_)
            CVBLog("Preferences %s: %s cannot be read (%s); keeping the settings read before "
                   "and writing nothing over it",
                   name_.c_str(), file_.c_str(), std::strerror(snapshot.error));
        unreadable_ = true;
        return;
    }
    if (unreadable_)
        CVBLog("Preferences %s: the file can be read again", name_.c_str());
    unreadable_ = false;
    stored_ = snapshot.outcome == Outcome::Loaded ? std::move(snapshot.content) : Value::dict();
    loaded_ = snapshot.identity;
    loadedFile_ = std::move(snapshot.file);
}

void PreferenceDomain::reloadIfChanged() {
    if (everLoaded_ && !unreadable_ && identityOnDisk() == loaded_)
        return;
    adopt(readRepairing(false));
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

namespace {

// The store's gate for what a caller hands it: logged, so that a refusal is never silent.
bool acceptable(const std::string& domain, std::string_view key, const Value& value) {
    auto problem = invalidPreferenceKey(key);
    if (!problem)
        problem = invalidPreferenceText(value);
    if (!problem)
        return true;
    CVBLog("Preferences %s: not storing \"%s\": %s", domain.c_str(), printable(key).c_str(),
           problem->c_str());
    return false;
}

} // namespace

bool PreferenceDomain::setValue(std::string_view key, Value value) {
    if (!acceptable(name_, key, value))
        return false;
    std::lock_guard guard(mutex_);
    pending_.insert_or_assign(std::string(key), std::move(value));
    return true;
}

void PreferenceDomain::removeAll() {
    std::lock_guard guard(mutex_);
    pending_.clear();
    removeAllPending_ = true;
}

void PreferenceDomain::discardChanges() {
    std::lock_guard guard(mutex_);
    pending_.clear();
    removeAllPending_ = false;
}

bool PreferenceDomain::synchronize() {
    std::lock_guard guard(mutex_);
    if (pending_.empty() && !removeAllPending_) {
        // Nothing to write, so no lock: reading a domain leaves no lock file behind.
        reloadIfChanged();
        return !unreadable_;
    }
    FileLock lock(file_);
    return writePending(readRepairing(true));
}

bool PreferenceDomain::updateValue(std::string_view key,
                                   const std::function<Value(const Value& current)>& change) {
    if (!acceptable(name_, key, Value()))
        return false;
    std::lock_guard guard(mutex_);
    FileLock lock(file_);
    Snapshot current = readRepairing(true);
    if (current.outcome == Outcome::Unreadable) {
        adopt(std::move(current));
        CVBLog("Preferences %s: %.*s not changed, the file cannot be read", name_.c_str(),
               static_cast<int>(key.size()), key.data());
        return false;
    }
    // This process's own change not yet written counts as the current value.
    const Value changed = change(withPendingChanges(current.content)[key]);
    if (!acceptable(name_, key, changed))
        return false;
    std::optional<Value> before;
    if (auto it = pending_.find(key); it != pending_.end())
        before = it->second;
    pending_.insert_or_assign(std::string(key), changed);
    if (writePending(std::move(current)))
        return true;
    // Nothing changed: the key goes back to what was waiting for it, if anything.
    if (before)
        pending_.insert_or_assign(std::string(key), *before);
    else
        pending_.erase(pending_.find(key));
    return false;
}

bool PreferenceDomain::writePending(Snapshot current) {
    if (current.outcome == Outcome::Unreadable) {
        adopt(std::move(current));
        CVBLog("Preferences %s: changes kept in memory, the file cannot be read", name_.c_str());
        return false;
    }
    Value next = withPendingChanges(current.content);
    if (!writePropertyListFile(file_, next, PropertyListFormat::XML)) {
        CVBLog("Preferences %s: changes kept in memory, the file could not be written",
               name_.c_str());
        adopt(std::move(current));
        return false;
    }
    pending_.clear();
    removeAllPending_ = false;

    // Under the lock the file is still the one just written: hold it as the loaded version.
    Snapshot written;
    written.outcome = Outcome::Loaded;
    written.content = std::move(next);
    written.file = OpenFile(::open(file_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat st {};
    if (written.file.get() >= 0 && ::fstat(written.file.get(), &st) == 0)
        written.identity = identityOf(st);
    adopt(std::move(written));
    return true;
}

std::vector<std::string> PreferenceDomain::copyKeyList() {
    std::vector<std::string> keys;
    // Held by name: a range-for keeps only the last temporary alive, not the Value under it.
    const Value all = copyAll();
    for (const auto& [key, value] : all.dictionaryItems())
        keys.push_back(key);
    return keys;
}

Value PreferenceDomain::copyAll() {
    std::lock_guard guard(mutex_);
    reloadIfChanged();
    return withPendingChanges(stored_);
}

std::optional<std::filesystem::path> PreferenceDomain::setAsideCopy() const {
    std::lock_guard guard(mutex_);
    return setAside_;
}

std::optional<std::string> invalidPreferenceKey(std::string_view key) {
    if (key.empty())
        return std::string("the key is empty");
    if (auto problem = propertyListTextProblem(key))
        return "the key " + *problem;
    return std::nullopt;
}

std::optional<std::string> invalidPreferenceText(const Value& value) {
    return propertyListValueProblem(value);
}

} // namespace corvane
