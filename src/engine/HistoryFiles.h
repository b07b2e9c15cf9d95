#pragma once

#include "engine/HistoryDatabase.h"

#include <filesystem>
#include <map>
#include <memory>

namespace corvane {

// The history files of a logging process, one connection a file for all its collectors. With a
// connection each, every collector's commit made the others read the whole schema again (a
// hundred tables and indexes), and each beat paid a transaction per collector.
class HistoryFiles {
public:
    // The open connection to `file`, or a new one; nothing when the file cannot be used.
    std::shared_ptr<HistoryDatabase> open(const std::filesystem::path& file);

    // One transaction over every open file for the writes of a whole beat.
    void beginBatch();
    void commitBatch();

private:
    std::map<std::filesystem::path, std::weak_ptr<HistoryDatabase>> files_;
};

} // namespace corvane
