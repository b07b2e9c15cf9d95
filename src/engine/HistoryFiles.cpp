#include "engine/HistoryFiles.h"

namespace corvane {

std::shared_ptr<HistoryDatabase> HistoryFiles::open(const std::filesystem::path& file) {
    const std::filesystem::path key = file.lexically_normal();
    if (auto known = files_[key].lock())
        return known;
    std::shared_ptr<HistoryDatabase> opened = HistoryDatabase::open(file);
    files_[key] = opened;
    return opened;
}

void HistoryFiles::beginBatch() {
    for (const auto& [file, database] : files_) {
        if (auto open = database.lock())
            open->beginBatch();
    }
}

void HistoryFiles::commitBatch() {
    for (const auto& [file, database] : files_) {
        if (auto open = database.lock())
            open->commitBatch();
    }
}

} // namespace corvane
