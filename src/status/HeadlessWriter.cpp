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

namespace {

// What the JSON tells of an item besides its picture's size.
PanelItem textsOf(const PanelItem& item) {
    PanelItem texts;
    texts.title = item.title;
    texts.label = item.label;
    texts.labelGuide = item.labelGuide;
    texts.tooltip = item.tooltip;
    texts.accessibleDescription = item.accessibleDescription;
    texts.dropdown = item.dropdown;
    return texts;
}

bool sameTexts(const PanelItem& texts, const PanelItem& item) {
    return texts.title == item.title && texts.label == item.label &&
           texts.labelGuide == item.labelGuide && texts.tooltip == item.tooltip &&
           texts.accessibleDescription == item.accessibleDescription &&
           texts.dropdown == item.dropdown;
}

} // namespace

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
    texts_.erase(id);
}

bool HeadlessWriter::write(const std::string& name, std::string_view bytes) {
    auto& file = files_[name];
    if (!file)
        file = std::make_unique<FrequentlyWrittenFile>(directory_ / name);
    return file->write(bytes);
}

// An item that holds still is neither encoded nor written again: its files keep the time of the
// frame that last changed it.
bool HeadlessWriter::writeItem(const PanelItem& item, double time) {
    bool ok = true;
    bool changed = false;
    if (const auto written = pictures_.find(item.id);
        written == pictures_.end() || !(written->second == item.picture)) {
        changed = true;
        const auto png = pngBytes(item.picture);
        ok = write(item.id + ".png",
                   std::string_view(reinterpret_cast<const char*>(png.data()), png.size()));
        if (ok)
            pictures_[item.id] = item.picture;
    }
    auto last = texts_.find(item.id);
    if (changed || last == texts_.end() || !sameTexts(last->second, item)) {
        const bool written = write(item.id + ".json", toJson(describe(item, time), 2) + "\n");
        if (written)
            texts_.insert_or_assign(item.id, textsOf(item));
        else if (last != texts_.end())
            texts_.erase(last);
        ok &= written;
    }
    return ok;
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
        failed |= !writeItem(item, time);
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
