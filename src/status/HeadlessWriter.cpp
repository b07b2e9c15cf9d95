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
    Value rows = Value::array();
    for (const auto& row : item.dropdown.rows)
        rows.append(describedRow(row));
    return Value::dict({{"id", item.id},
                        {"title", item.title},
                        {"label", item.label},
                        {"label-guide", item.labelGuide},
                        {"tooltip", item.tooltip},
                        {"accessible-description", item.accessibleDescription},
                        {"width", item.picture.width()},
                        {"height", item.picture.height()},
                        {"time", time},
                        {"dropdown", rows}});
}

void HeadlessWriter::show(const std::vector<PanelItem>& items) {
    std::error_code error;
    std::filesystem::create_directories(directory_, error);
    const double time = time_();
    bool failed = false;
    std::vector<std::string> shown;
    for (const auto& item : items) {
        const auto png = pngBytes(item.picture);
        const std::string json = toJson(describe(item, time), 2) + "\n";
        const std::string picture(png.begin(), png.end());
        failed |=
            !writeFileAtomically(directory_ / (item.id + ".png"), picture, Durability::Visible);
        failed |= !writeFileAtomically(directory_ / (item.id + ".json"), json, Durability::Visible);
        shown.push_back(item.id);
    }
    for (const auto& id : shown_) {
        if (std::find(shown.begin(), shown.end(), id) != shown.end())
            continue;
        std::filesystem::remove(directory_ / (id + ".png"), error);
        std::filesystem::remove(directory_ / (id + ".json"), error);
    }
    shown_ = std::move(shown);
    ++frames_;
    if (failed && !warned_)
        CVBLog("Headless: cannot write the pictures to %s", directory_.c_str());
    warned_ = failed;
}

} // namespace corvane
