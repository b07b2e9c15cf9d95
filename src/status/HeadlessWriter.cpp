#include "status/HeadlessWriter.h"

#include "foundation/AtomicFile.h"
#include "foundation/Json.h"
#include "foundation/Log.h"
#include "status/PixelConversion.h"

#include <algorithm>

namespace corvane {

namespace {

const char* rowType(DropdownRow::Kind kind) {
    switch (kind) {
    case DropdownRow::Kind::Header:
        return "header";
    case DropdownRow::Kind::Separator:
        return "separator";
    case DropdownRow::Kind::Picture:
        return "picture";
    case DropdownRow::Kind::Action:
        return "action";
    case DropdownRow::Kind::Text:
        break;
    }
    return "text";
}

Value describeRow(const DropdownRow& row) {
    Value entry = Value::dict({{"type", rowType(row.kind)}, {"text", row.text}});
    if (row.kind == DropdownRow::Kind::Action) {
        entry.set("action", row.action);
        entry.set("enabled", row.enabled);
    }
    if (row.kind == DropdownRow::Kind::Picture) {
        entry.set("width", row.picture.width());
        entry.set("height", row.picture.height());
    }
    return entry;
}

} // namespace

HeadlessWriter::HeadlessWriter(std::filesystem::path directory, std::function<double()> time)
    : directory_(std::move(directory))
    , time_(std::move(time)) {}

Value HeadlessWriter::describe(const PanelItem& item, double time) {
    Value rows = Value::array();
    for (const auto& row : item.dropdown.rows)
        rows.append(describeRow(row));
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
