#include "drawing/CVBSensorsMenuExtraView.h"

#include "collectors/sensors/SensorsStatCollector.h"
#include "drawing/GraphColors.h"
#include "drawing/ModuleText.h"
#include "text/SensorFormatters.h"

#include <algorithm>
#include <cmath>

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

HistoryGraph CVBSensorsMenuExtraView::dropdownHistory(int tier, int columns,
                                                      std::int64_t perColumn) const {
    HistoryGraph graph;
    graph.width = std::clamp(columns, 1, kMaximumColumns);
    graph.strokeOnly = true;
    perColumn = std::max<std::int64_t>(1, perColumn);
    auto shown = menubarSensors();
    if (shown.size() > kGraphedSensors)
        shown.resize(kGraphedSensors);
    std::vector<std::vector<double>> lines; // by sensor, newest first
    for (const auto& [item, record] : shown) {
        std::vector<double> line;
        for (int column = 0; column < graph.width; ++column) {
            double sum = 0;
            std::int64_t counted = 0;
            for (std::int64_t i = column * perColumn; i < (column + 1) * perColumn; ++i) {
                const statsample s = item->sampleAtIndex(i, tier);
                if (s.sampleID == 0 || !s.values)
                    break;
                if (s.empty || !std::isfinite(s.values[0]))
                    continue;
                sum += s.values[0];
                ++counted;
            }
            if (counted == 0)
                break;
            line.push_back(sum / static_cast<double>(counted));
        }
        double low = item->low, high = item->high;
        if (!item->hasFixedLimits && !line.empty()) {
            const auto [least, most] = std::minmax_element(line.begin(), line.end());
            low = *least;
            high = *most;
        }
        for (double& value : line)
            value = high > low ? std::clamp((value - low) / (high - low), 0.0, 1.0) : 0.5;
        lines.push_back(std::move(line));
        graph.colors.push_back(
            fillColorForGraph2(context(), {}, static_cast<std::int64_t>(graph.colors.size())));
    }
    std::size_t length = 0;
    for (const auto& line : lines)
        length = std::max(length, line.size());
    for (std::size_t column = 0; column < length; ++column) {
        std::vector<double> values;
        for (const auto& line : lines)
            values.push_back(column < line.size() ? line[column] : 0);
        graph.samples.push_back(std::move(values));
    }
    return graph;
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
