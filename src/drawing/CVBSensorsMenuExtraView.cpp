#include "drawing/CVBSensorsMenuExtraView.h"

#include "collectors/sensors/SensorsStatCollector.h"
#include "drawing/ModuleText.h"
#include "text/SensorFormatters.h"

#include <algorithm>

namespace corvane {

namespace {

enum Code : std::int64_t {
    kText = 0,
    kFan = 2,
    kStacked = 3,
    kLabel = 100,
    kSpacer = 101,
};

// Neither an empty nor an unreadable item may vanish from the panel.
constexpr int kMinimumWidth = 8;

} // namespace

CVBSensorsMenuExtraView::CVBSensorsMenuExtraView(const DrawingContext& context,
                                                 SensorsStatCollector& sensors)
    : CVBModuleView(context)
    , sensors_(sensors) {
    loadConfig();
}

Value CVBSensorsMenuExtraView::classConfig() {
    return Value::dict({
        {"sensor-text",
         ModuleText::style("Sensors_MenubarTextSize", "Sensors_MenubarTextColor",
                           "Sensors_MenubarTextShadowColor", "Sensors_MenubarFontStyle")},
        {"sensor-text-small",
         ModuleText::style(nullptr, "Sensors_MenubarTextColor", "Sensors_MenubarTextShadowColor",
                           "Sensors_StackedMenubarFontStyle", 0)},
    });
}

void CVBSensorsMenuExtraView::loadConfig() {
    mergeConfig(classConfig());
}

std::vector<CVBSensorsMenuExtraView::Shown> CVBSensorsMenuExtraView::menubarSensors() const {
    std::vector<Shown> shown;
    const bool drives = context().boolean("Disks_MonitorSMART");
    Value records = context().object("Sensors_MenubarItems");
    // Until the settings window seeds the list, the machine's default sensors stand in.
    if (records.arrayItems().empty()) {
        records = Value::array();
        for (const auto& sensor : sensors_.sensors())
            if (sensor->defaultSensor)
                records.append(Value::dict({{"key", sensor->key()}}));
    }
    for (const Value& record : records.arrayItems()) {
        auto item =
            std::dynamic_pointer_cast<SensorStatCollectorItem>(sensors_.itemWithKey(record["key"]));
        if (!item || (item->sensorType == 1 && !drives))
            continue;
        shown.push_back({std::move(item), record});
    }
    return shown;
}

void CVBSensorsMenuExtraView::resetSavedWidths() {
    std::vector<std::string> remembered;
    for (const auto& [key, value] : config.dictionaryItems())
        if (key.starts_with("text-attributes-sensor"))
            remembered.push_back(key);
    for (const auto& key : remembered)
        config.set(key, Value());
}

int CVBSensorsMenuExtraView::drawAtOffset(int offset) {
    if (!ready)
        return 0;
    const Value modes = context().modes("Sensors_MenubarMode");
    if (!modes.isArray())
        return kMinimumWidth;
    const auto shown = menubarSensors();
    int total = 0;
    for (const Value& entry : modes.arrayItems())
        total += drawEntry(entry, shown, offset + total);
    return std::max(itemWidth(total), kMinimumWidth);
}

int CVBSensorsMenuExtraView::drawEntry(const Value& entry, const std::vector<Shown>& shown,
                                       int offset) {
    switch (entry["key"].integerValue()) {
    case kText:
        return drawText(shown, offset);
    case kFan:
        return drawLabel("menubar-fan", "Sensors_Label", offset);
    case kStacked:
        return drawStacked(shown, offset);
    case kLabel:
        return drawLabel("menubar-label-sensors", "Sensors_Label", offset);
    case kSpacer:
        return static_cast<int>(entry["width"].integerValue());
    default:
        return 0;
    }
}

int CVBSensorsMenuExtraView::drawText(const std::vector<Shown>& shown, int offset) {
    const TextAttributes& attributes = textAttributes("sensor-text");
    const TextContext text = context().text();
    int x = offset;
    for (const auto& sensor : shown) {
        const std::string value =
            formattedMenubarSensor(text, sensor.item.get(), sensor.record, switchUnits);
        const double width = stableWidth("text-attributes-sensor-" + sensor.item->key() + "-width",
                                         value, attributes);
        x += drawLargeText(value, attributes, Rect{static_cast<double>(x), 0, width, 22});
    }
    return x - offset;
}

int CVBSensorsMenuExtraView::drawStacked(const std::vector<Shown>& shown, int offset) {
    const TextAttributes& attributes = smallTextAttributes("sensor-text-small");
    const TextContext text = context().text();
    struct Line {
        std::string value;
        double width;
    };
    std::vector<Line> lines;
    for (const auto& sensor : shown) {
        std::string value =
            formattedMenubarSensor(text, sensor.item.get(), sensor.record, switchUnits);
        const double width = stableWidth(
            "text-attributes-sensor-small-" + sensor.item->key() + "-width", value, attributes);
        lines.push_back({std::move(value), width});
    }
    int x = offset;
    for (std::size_t i = 0; i < lines.size(); i += 2) {
        const auto draw = [&](const Line& line, double y) {
            return drawSmallText(line.value, attributes,
                                 Rect{static_cast<double>(x), y, line.width, 12});
        };
        int advance = draw(lines[i], 10);
        if (i + 1 < lines.size())
            advance = std::max(advance, draw(lines[i + 1], 1));
        x += advance;
    }
    return x - offset;
}

} // namespace corvane
