#include "shell/LayoutCatalogue.h"

#include "text/TextContext.h"

#include <algorithm>

namespace corvane {

namespace {

struct ElementRow {
    std::int64_t key;
    const char* className;
    const char* title; // English; the key of the "layout" table
};

struct SectionRow {
    const char* section;
    const char* title; // the key of the "prefs" table
    const char* drawingClass;
    const char* modeKey;
    const char* codeField;
    bool drawnHere;
    std::vector<std::int64_t> multiples;
    std::vector<ElementRow> elements;
    const char* labelImage; // null: the section's view draws no label
    const char* labelColor;
};

constexpr std::int64_t kNoCode = ExtraLayoutItem::kNoCode;

// The graphics elements can stand twice, once for processor and once for memory use.
const std::vector<SectionRow>& sectionRows() {
    static const std::vector<SectionRow> kRows = {
        {"cpu",
         "CPU & GPU",
         "CPUDrawing",
         "CPU_MenubarMode",
         "key",
         true,
         {9, 10, 11, LayoutCatalogue::kMenubarSpacerItem},
         {{0, "CPUHistoryGraph", "History Graph"},
          {1, "CPUVerticalGraph", "Vertical Graph"},
          {2, "CPUText", "Percentage"},
          {3, "CPUPieGraph", "Pie Graph"},
          {4, "CPULoadAverageText", "Load Average"},
          {5, "GPUActive", "GPU Icon"},
          {6, "CPUCombinedVerticalGraph", "Vertical Graph of All Cores"},
          {9, "GPUVerticalGraph", "GPU Vertical Graph"},
          {10, "GPUText", "GPU Percentage"},
          {11, "GPUHistoryGraph", "GPU History Graph"},
          {13, "CPUCircularGraph", "Circular Graph"}},
         "menubar-label-cpu",
         "CPU_Label"},
        {"memory",
         "Memory",
         "MemoryDrawing",
         "Memory_MenubarMode",
         "key",
         true,
         {LayoutCatalogue::kMenubarSpacerItem},
         {{0, "MemoryHistoryGraph", "History Graph"},
          {1, "MemoryVerticalGraph", "Vertical Graph"},
          {2, "MemoryText", "Percentage"},
          {3, "MemoryUsedFree", "Used and Free"},
          {6, "MemoryPieGraph", "Pie Graph"},
          {7, "MemoryPageDots", "Page Dots"},
          {8, "MemoryPageArrows", "Page Arrows"},
          {9, "MemoryCircularGraph", "Circular Graph"}},
         "menubar-label-memory",
         "Memory_Label"},
        {"disks",
         "Disks",
         "DiskDrawing",
         "Disks_MenubarMode",
         "key",
         true,
         {LayoutCatalogue::kMenubarSpacerItem},
         {{0, "DiskVerticalGraph", "Vertical Graph"},
          {1, "DiskText", "Percentage"},
          {2, "DiskUsedFree", "Used and Free"},
          {5, "DiskPieGraph", "Pie Graph"},
          {6, "DiskActivityDots", "Activity Dots"},
          {7, "DiskActivityArrows", "Activity Arrows"},
          {8, "DiskActivityHistoryGraph", "Activity History Graph"},
          {9, "DiskActivityText", "Activity Text"},
          {10, "DiskCircularGraph", "Circular Graph"}},
         "menubar-label-ssd",
         "Disks_Label"},
        {"network",
         "Network",
         "NetworkDrawing",
         "Network_MenubarMode",
         "key",
         true,
         {LayoutCatalogue::kMenubarSpacerItem},
         {{0, "NetworkText", "Bandwidth Text"},
          {1, "NetworkGraph", "History Graph"},
          {2, "NetworkDots", "Dots"},
          {3, "NetworkStatus", "Status"},
          {5, "NetworkArrows", "Arrows"},
          {7, "MenubarVPNIcon", "VPN Icon"}},
         "menubar-label-network",
         "Network_Label"},
        {"sensors",
         "Sensors",
         "SensorsDrawing",
         "Sensors_MenubarMode",
         "key",
         true,
         {LayoutCatalogue::kMenubarSpacerItem},
         {{0, "SensorsText", "Text"},
          {2, "SensorsIcon", "Fan Icon"},
          {3, "SensorsStackedText", "Stacked Text"}},
         "menubar-label-sensors",
         "Sensors_Label"},
        {"battery",
         "Battery & Power",
         "BatteryDrawing",
         "Battery_MenubarMode",
         "key",
         true,
         {LayoutCatalogue::kMenubarSpacerItem},
         {{0, "BatteryPercentageText", "Percentage"},
          {1, "BatteryTimeText", "Time"},
          {2, "BatteryMonoHorizontalGraph", "Horizontal Graph"},
          {3, "BatteryMonoVerticalGraph", "Vertical Graph"},
          {4, "BatteryColoredHorizontalGraph", "Colored Horizontal Graph"},
          {5, "BatteryColoredVerticalGraph", "Colored Vertical Graph"},
          {6, "BatteryStandard", "Standard Graph"},
          {7, "BatteryStackedText", "Stacked Text"},
          {8, "BatteryDeviceIcon", "Device Icon"},
          {kNoCode, "BatteryCombo", "Combined"}},
         "menubar-label-bat",
         "Battery_Label"},
        // Weather entries keep their code under "mode"; several texts show different values.
        {"weather",
         "Weather",
         "WeatherDrawing",
         "Weather_MenubarMode",
         "mode",
         true,
         {0, 3, LayoutCatalogue::kMenubarSpacerItem},
         {{0, "WeatherText", "Text"},
          {1, "WeatherIcon", "Icon"},
          {2, "WeatherIconMono", "Monochrome Icon"},
          {3, "WeatherStackedText", "Stacked Text"}},
         nullptr,
         nullptr},
    };
    return kRows;
}

// What a new element's entry holds besides its code.
Value elementSettings(std::string_view section, std::int64_t key) {
    if (section == "cpu" && (key == 9 || key == 10 || key == 11))
        return Value::dict({{"display", 1}}); // processor use; 0 is memory
    if (section == "weather" && key == 0)
        return Value::dict({{"display", 0}}); // the temperature
    if (section == "weather" && key == 3)
        return Value::dict({{"top", 7}, {"bottom", 6}}); // today's high over low
    return Value::dict();
}

ExtraLayoutItem labelItem(const SectionRow& row, const TextContext& text) {
    ExtraLayoutItem label(LayoutCatalogue::kItemLabel, "ItemLabel",
                          HLVLocalizedString(text, "Label", {}, "layout"));
    label.settings = Value::dict(
        {{"label", Value::dict({{"image", row.labelImage}, {"color", row.labelColor}})}});
    return label;
}

ExtraLayoutItem spacerItem(const TextContext& text) {
    ExtraLayoutItem spacer(LayoutCatalogue::kMenubarSpacerItem, "MenubarSpacerItem",
                           HLVLocalizedString(text, "Spacer", {}, "layout"));
    spacer.settings = Value::dict({{"width", LayoutCatalogue::kSpacerWidth}});
    spacer.resizable = true;
    spacer.copyOnMove = true;
    spacer.minimumWidth = LayoutCatalogue::kMinimumSpacerWidth;
    spacer.maximumWidth = LayoutCatalogue::kMaximumSpacerWidth;
    return spacer;
}

SectionLayout layoutOf(const SectionRow& row, const TextContext& text) {
    SectionLayout layout{row.section,      HLVLocalizedString(text, row.title, {}, "prefs"),
                         row.drawingClass, row.modeKey,
                         row.codeField,    row.drawnHere,
                         row.multiples,    {}};
    for (const auto& element : row.elements) {
        ExtraLayoutItem item(element.key, element.className,
                             HLVLocalizedString(text, element.title, {}, "layout"));
        item.settings = elementSettings(row.section, element.key);
        layout.items.push_back(std::move(item));
    }
    if (row.labelImage)
        layout.items.push_back(labelItem(row, text));
    layout.items.push_back(spacerItem(text));
    for (std::size_t i = 0; i < layout.items.size(); ++i)
        layout.items[i].defaultIndex = i;
    return layout;
}

} // namespace

ExtraLayoutItem::ExtraLayoutItem(std::int64_t code, std::string className_, std::string title_)
    : key(code)
    , itemKey(code == kNoCode ? std::string() : std::to_string(code))
    , className(std::move(className_))
    , title(std::move(title_)) {}

Value ExtraLayoutItem::entry(std::string_view codeField) const {
    Value entry = settings.isDictionary() ? settings : Value::dict();
    entry.set(codeField, Value(key));
    return entry;
}

const ExtraLayoutItem* SectionLayout::itemWithKey(std::int64_t key) const {
    if (key == ExtraLayoutItem::kNoCode)
        return nullptr;
    const auto found = std::find_if(items.begin(), items.end(),
                                    [key](const ExtraLayoutItem& item) { return item.key == key; });
    return found == items.end() ? nullptr : &*found;
}

bool SectionLayout::allowsMultiple(std::int64_t key) const {
    return std::find(allowedMultiples.begin(), allowedMultiples.end(), key) !=
           allowedMultiples.end();
}

std::vector<std::string> LayoutCatalogue::sectionNames() {
    std::vector<std::string> names;
    for (const auto& row : sectionRows())
        names.emplace_back(row.section);
    return names;
}

std::optional<SectionLayout> LayoutCatalogue::setupLayoutItems(std::string_view section,
                                                               const TextContext& text) {
    for (const auto& row : sectionRows()) {
        if (row.section == section)
            return layoutOf(row, text);
    }
    return std::nullopt;
}

} // namespace corvane
