#pragma once

#include "foundation/Value.h"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace corvane {

// One preference domain: an XML property list of key to value that several processes read and
// write at once.
//
// Writes are per key. `synchronize` takes an exclusive lock on "<file>.lock", reads the file
// again, applies only the keys this process changed since its last synchronize, and replaces
// the file atomically, so two processes writing different keys lose nothing. Reads take no
// lock: they answer from memory and reload the file when its identity (device, inode, size,
// modification and change times) differs from what was read. The file last read is kept open,
// so its inode cannot be handed to a later replacement: a change is seen however coarse the
// file system's timestamps are.
//
// A file that is read whole but is no property-list dictionary is moved aside to
// "<file>.corrupt-<time>" (with "-<n>" added when that name is taken), the log says why it did
// not read, and the domain starts empty. A file that cannot be read at all is left in place:
// the domain keeps what it had and writes nothing over it until it can be read again.
//
// A settings file that is a symbolic link stays one: the file it points to is what is read,
// replaced and moved aside.
class PreferenceDomain {
public:
    PreferenceDomain(std::string name, std::filesystem::path file);
    ~PreferenceDomain();
    PreferenceDomain(const PreferenceDomain&) = delete;
    PreferenceDomain& operator=(const PreferenceDomain&) = delete;

    // The domain of that name under the configuration directory; one object per name in a
    // process, made on first use.
    static std::shared_ptr<PreferenceDomain> named(const std::string& name);
    // Drops the objects made by `named`, for tests that change the configuration directory.
    static void forgetAll();

    const std::string& name() const { return name_; }
    const std::filesystem::path& file() const { return file_; }

    // The stored value, or null. Pending changes of this process are seen at once.
    Value copyValue(std::string_view key);
    // Records a change for the next synchronize; null removes the key. A key or text that
    // invalidPreferenceKey or invalidPreferenceText refuses is logged and changes nothing (false).
    bool setValue(std::string_view key, Value value);
    // Reads the key as the file holds it now and stores what `change` makes of it, under the
    // file's lock, so that changes of one key by several processes never lose one another. The
    // current value is null when the key is absent; a null result removes the key. Pending
    // changes are written too. False, with nothing changed, when the result is refused or the
    // file cannot be written. `change` runs under the domain's locks: it must not use the domain.
    bool updateValue(std::string_view key,
                     const std::function<Value(const Value& current)>& change);
    // Writes this process's pending changes and picks up those of other processes. False when
    // the changes could not be written; they stay pending.
    bool synchronize();
    // Drops the changes not yet written, as if they had never been made.
    void discardChanges();
    std::vector<std::string> copyKeyList();
    // Every stored key and value as one dictionary.
    Value copyAll();
    // Removes every key at the next synchronize.
    void removeAll();

    // Where a damaged file of this domain was moved aside by this object, if it was.
    std::optional<std::filesystem::path> setAsideCopy() const;

private:
    struct Identity {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = -1;
        long long modifiedSeconds = 0;
        long modifiedNanoseconds = 0;
        long long changeSeconds = 0;
        long changeNanoseconds = 0;
        bool operator==(const Identity&) const = default;
    };
    // A file descriptor, closed with the object.
    class OpenFile {
    public:
        OpenFile() = default;
        explicit OpenFile(int fd)
            : fd_(fd) {}
        ~OpenFile();
        OpenFile(OpenFile&& other) noexcept
            : fd_(std::exchange(other.fd_, -1)) {}
        OpenFile& operator=(OpenFile&& other) noexcept;
        int get() const { return fd_; }

    private:
        int fd_ = -1;
    };
    // What one reading of the file found. Unwritable: a dictionary, but with text that no
    // XML reader accepts.
    enum class Outcome { Missing, Loaded, Corrupt, Unwritable, Unreadable };
    // One reading of the file: what was found, and the open file it came from.
    struct Snapshot {
        Outcome outcome = Outcome::Missing;
        Value content = Value::dict();
        OpenFile file;
        Identity identity;
        int error = 0;       // of an unreadable file
        std::string problem; // why a corrupt file did not read
    };

    class FileLock;

    static Identity identityOf(const struct stat& st);
    Identity identityOnDisk() const;
    Snapshot readFile() const;
    // Reads the file; under the lock (unless `locked` says the caller holds it) a corrupt one
    // is moved aside and reads as missing, and one with unwritable text is repaired.
    Snapshot readRepairing(bool locked);
    // Gives the file a free "<file>.corrupt-..." name, instead of its own or (`inPlace`) as a
    // copy; nothing (errno set) when it cannot.
    std::optional<std::string> keepAside(bool inPlace);
    bool moveAside(const std::string& problem);
    // Keeps a copy aside and writes the file again without the entries holding unwritable text.
    bool dropUnwritable(const Value& content);
    // Writes the pending changes over `current`, under the lock the caller holds.
    bool writePending(Snapshot current);
    // Takes a snapshot as what is stored; an unreadable one leaves everything as it was.
    void adopt(Snapshot snapshot);
    void reloadIfChanged();
    Value withPendingChanges(Value base) const;

    std::string name_;
    std::filesystem::path file_;
    mutable std::mutex mutex_;
    Value stored_ = Value::dict();
    Identity loaded_;
    // The file `stored_` was read from, held open so that its inode is not reused.
    OpenFile loadedFile_;
    bool everLoaded_ = false;
    // The file is there but could not be read: retried on each access, never written over.
    bool unreadable_ = false;
    // Changes not yet written: key to new value, null for a removal.
    std::map<std::string, Value, std::less<>> pending_;
    bool removeAllPending_ = false;
    std::optional<std::filesystem::path> setAside_;
    bool temporariesChecked_ = false;
};

// Why a key cannot be stored: it is empty, or is text that a settings file cannot hold.
std::optional<std::string> invalidPreferenceKey(std::string_view key);
// Why a value cannot be stored: some text in it (a string or a dictionary key, at any depth)
// is not valid UTF-8 or holds a character that a settings file cannot hold.
std::optional<std::string> invalidPreferenceText(const Value& value);

} // namespace corvane
