#include "status/HeadlessWriter.h"

#include "foundation/AtomicFile.h"
#include "foundation/Json.h"
#include "foundation/Log.h"
#include "status/PixelConversion.h"

#include <algorithm>

namespace corvane {

HeadlessWriter::HeadlessWriter(std::filesystem::path directory, std::function<double()> time)
    : directory_(std::move(directory))
    , time_(std::move(time)) {}

Value HeadlessWriter::describe(const PanelItem& item, double time) {
    Value described = Value::dict({{"id", item.id},
                                   {"title", item.title},
                                   {"label", item.label},
                                   {"label-guide", item.labelGuide},
                                   {"tooltip", item.tooltip},
                                   {"accessible-description", item.accessibleDescription},
                                   {"width", item.picture.width()},
                                   {"height", item.picture.height()},
                                   {"time", time}});
    // Rows are kept live only when asked for (--dropdowns).
    if (!item.dropdown.rows.empty()) {
        Value rows = Value::array();
        for (const auto& row : item.dropdown.rows)
            rows.append(describedRow(row));
        described.set("dropdown", rows);
    }
    return described;
}

HeadlessWriter::~HeadlessWriter() {
    // The frames stay for whoever reads them; the side files of the writes go.
    std::error_code error;
    for (const auto& [name, file] : files_)
        std::filesystem::remove(swapFileOf(directory_ / name), error);
}

void HeadlessWriter::removeFiles(const std::string& id) {
    for (const char* extension : {".png", ".json"}) {
        const std::string name = id + extension;
        if (const auto file = files_.find(name); file != files_.end()) {
            file->second->remove();
            files_.erase(file);
        }
    }
    pictures_.erase(id);
}

bool HeadlessWriter::write(const std::string& name, std::string_view bytes) {
    auto& file = files_[name];
    if (!file)
        file = std::make_unique<FrequentlyWrittenFile>(directory_ / name);
    return file->write(bytes);
}

void HeadlessWriter::show(const std::vector<PanelItem>& items) {
    // Made again after a write failed: someone may have removed it.
    if (frames_ == 0 || warned_) {
        std::error_code error;
        std::filesystem::create_directories(directory_, error);
    }
    const double time = time_();
    bool failed = false;
    std::vector<std::string> shown;
    for (const auto& item : items) {
        // A picture that holds still is neither encoded nor written again; the JSON is, as it
        // tells the frame's time.
        auto written = pictures_.find(item.id);
        if (written == pictures_.end() || !(written->second == item.picture)) {
            const auto png = pngBytes(item.picture);
            const bool ok =
                write(item.id + ".png",
                      std::string_view(reinterpret_cast<const char*>(png.data()), png.size()));
            failed |= !ok;
            if (ok)
                pictures_[item.id] = item.picture;
        }
        const std::string json = toJson(describe(item, time), 2) + "\n";
        failed |= !write(item.id + ".json", json);
        shown.push_back(item.id);
    }
    for (const auto& id : shown_) {
        if (std::find(shown.begin(), shown.end(), id) != shown.end())
            continue;
        removeFiles(id);
    }
    shown_ = std::move(shown);
    ++frames_;
    if (failed && !warned_)
        CVBLog("Headless: cannot write the pictures to %s", directory_.c_str());
    warned_ = failed;
}

} // namespace corvane
