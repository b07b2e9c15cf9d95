#pragma once

#include "foundation/AtomicFile.h"
#include "foundation/Value.h"
#include "status/PanelItem.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace corvane {

// The items as files instead of on a panel: <dir>/<id>.png, the picture, and <dir>/<id>.json,
// its texts and, when its rows are kept live, its dropdown, each written whole (a reader never sees
// half a file). The files of an item that goes are removed.
class HeadlessWriter final : public PanelFrontEnd {
public:
    // `time` tells the second a frame stands for, written into the JSON of an item that changed.
    HeadlessWriter(std::filesystem::path directory, std::function<double()> time);
    ~HeadlessWriter() override;
    HeadlessWriter(const HeadlessWriter&) = delete;
    HeadlessWriter& operator=(const HeadlessWriter&) = delete;

    void show(const std::vector<PanelItem>& items) override;

    // The JSON side of an item: "id", "title", "label", "label-guide", "tooltip",
    // "accessible-description", "width", "height", "time" and "dropdown" (rows of "type",
    // "text" and, where they apply, "action", "enabled", "width", "height").
    static Value describe(const PanelItem& item, double time);
    // Frames written, for commands that stop after one.
    int frames() const { return frames_; }

private:
    void removeFiles(const std::string& id);
    bool write(const std::string& name, std::string_view bytes);
    bool writeItem(const PanelItem& item, double time);
    std::filesystem::path directory_;
    std::function<double()> time_;
    std::vector<std::string> shown_;
    std::unordered_map<std::string, PanelPicture> pictures_; // last written, by id
    std::unordered_map<std::string, PanelItem> texts_;       // last written, without pictures
    std::unordered_map<std::string, std::unique_ptr<FrequentlyWrittenFile>> files_; // by name
    int frames_ = 0;
    bool warned_ = false;
};

} // namespace corvane
