#pragma once

#include "foundation/Value.h"

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace corvane {

// One preference domain: an XML property list of key to value that several processes read and
// write at once.
//
// Writes are per key. `synchronize` takes an exclusive lock on "<file>.lock", reads the file
// again, applies only the keys this process changed since its last synchronize, and replaces
// the file atomically, so two processes writing different keys lose nothing. Reads answer from
// memory and reload the file when its identity (inode, size, change time) differs from what
// was read. A file that cannot be read as a dictionary is moved aside to
// "<file>.corrupt-<time>" and the domain starts empty: nothing is silently overwritten.
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
    // Records a change for the next synchronize; null removes the key.
    void setValue(std::string_view key, Value value);
    // Writes this process's pending changes and picks up those of other processes.
    bool synchronize();
    std::vector<std::string> copyKeyList();
    // Every stored key and value as one dictionary.
    Value copyAll();
    // Removes every key at the next synchronize.
    void removeAll();

private:
    struct Identity {
        ino_t inode = 0;
        off_t size = -1;
        long long changeSeconds = 0;
        long changeNanoseconds = 0;
        bool operator==(const Identity&) const = default;
    };

    class FileLock;

    Identity identityOnDisk() const;
    void reloadIfChanged();
    // Reads the file under the lock; a damaged file is moved aside and reads as empty.
    Value readFileLocked();
    Value withPendingChanges(Value base) const;

    std::string name_;
    std::filesystem::path file_;
    std::mutex mutex_;
    Value stored_ = Value::dict();
    Identity loaded_;
    bool everLoaded_ = false;
    // Changes not yet written: key to new value, null for a removal.
    std::map<std::string, Value, std::less<>> pending_;
    bool removeAllPending_ = false;
};

} // namespace corvane
