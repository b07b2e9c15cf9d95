#include "window/PageDescription.h"

#include <algorithm>

namespace corvane {

namespace {

using Kind = ControlDescription::Kind;

const std::vector<std::string> kFontStyles{"Regular", "Condensed", "Semibold"};
const std::vector<std::string> kTextSizes{"8", "9", "10", "11", "12", "13", "14", "15", "16"};
const std::vector<std::string> kGraphWidths{"16", "20", "24", "30", "36", "40", "50", "60", "80"};
const std::vector<std::string> kProcessCounts{"0", "1", "2", "3", "4", "5",
                                              "6", "7", "8", "9", "10"};
// The colours of the themed graphs, by the index the views read.
const std::vector<std::string> kSkinColors{"Blue",  "Orange", "Slate",   "Teal",
                                           "Pink",  "Purple", "Coral",   "Black",
                                           "White", "Yellow", "Sky blue"};

ControlDescription toggle(std::string key, std::string title) {
    return {Kind::Switch, std::move(key), std::move(title), {}};
}
ControlDescription choice(std::string key, std::string title, std::vector<std::string> choices) {
    return {Kind::Choice, std::move(key), std::move(title), std::move(choices)};
}
ControlDescription number(std::string key, std::string title, std::vector<std::string> choices) {
    return {Kind::Number, std::move(key), std::move(title), std::move(choices)};
}
ControlDescription color(std::string key, std::string title) {
    return {Kind::Color, std::move(key), std::move(title), {}};
}
ControlDescription opacity(std::string key, std::string title) {
    return {Kind::Opacity, std::move(key), std::move(title), {}};
}

// The rows every text element of a panel item has, for the keys that begin with `prefix`.
std::vector<ControlDescription> textRows(const std::string& prefix, const std::string& size) {
    return {number(prefix + size, "Text size", kTextSizes),
            choice(prefix + "MenubarFontStyle", "Font", kFontStyles)};
}

PageDescription general() {
    PageDescription page{"General", "", false, false, false, "", {}};
    page.groups = {
        {"Panel items",
         {choice("MenubarTheme", "Graph style", {"Plain", "Shaded"}),
          choice("MenubarTheme-Dark", "Graph style on a dark panel", {"Plain", "Shaded"}),
          choice("MenubarGraphSize", "Graph height", {"Regular", "Small"}),
          choice("MenubarSkinColor", "Graph colour", kSkinColors),
          choice("MenubarSkinColor-Light", "Graph colour on a light panel", kSkinColors),
          choice("MenubarSkinColor-Dark", "Graph colour on a dark panel", kSkinColors),
          toggle("Theme-SeperateStyles", "Separate styles for light and dark panels")}},
        {"Graph backgrounds",
         {opacity("MenubarGraphOpacity-Modern", "Opacity"),
          opacity("MenubarGraphOpacity-Dark-Modern", "Opacity on a dark panel"),
          opacity("MenubarGraphOpacity", "Opacity, older look"),
          opacity("MenubarGraphOpacity-Dark", "Opacity on a dark panel, older look")}},
        {"Dropdowns",
         {choice("DropdownTheme", "Theme", {"Light", "Light vibrant", "Plain", "Dark"}),
          choice("DropdownTheme-Light", "Theme with a light panel",
                 {"Light", "Light vibrant", "Plain", "Dark"}),
          choice("DropdownTheme-Dark", "Theme with a dark panel",
                 {"Light", "Light vibrant", "Plain", "Dark"}),
          toggle("DropdownGraphBackground", "Graph backgrounds")}},
        {"Behaviour",
         {toggle("ProcessesCombine", "Combine the processes of one application"),
          toggle("StatusItems-FixedPosition", "Keep the items in a fixed position"),
          toggle("StatusItems-OrderingDisabled", "Do not reorder the items"),
          number("TimerFrequency", "Update every (seconds)", {"1", "2", "3", "5"})}},
    };
    return page;
}

PageDescription cpu() {
    PageDescription page{"CPU", "cpu", true, true, false, "", {}};
    auto text = textRows("CPU_", "MenubarTextSize");
    text.push_back(color("CPU_MenubarTextColor", "Text colour"));
    text.push_back(color("CPU_MenubarTextShadowColor", "Text shadow"));
    text.push_back(color("CPU_Label", "Label colour"));
    auto load = textRows("Load_", "MenubarTextSize");
    load.push_back(color("Load_MenubarTextColor", "Text colour"));
    load.push_back(color("Load_MenubarTextShadowColor", "Text shadow"));
    load.push_back(color("Load_Label", "Label colour"));
    page.groups = {
        {"Graphs",
         {number("CPU_MenubarGraphWidth", "Graph width", kGraphWidths),
          toggle("CPU_MenubarGraphBreakdowns", "Show user and system separately"),
          color("CPU_MenubarGraphUser", "User"), color("CPU_MenubarGraphSystem", "System"),
          color("CPU_MenubarGraphOverall", "Overall"),
          toggle("CPU_CombineLogicalCores", "Combine logical cores"),
          toggle("CPU_MenubarCombineCores", "One graph for all cores"),
          toggle("CPU_MenubarSingleHistoryGraph", "One history graph"),
          toggle("CPU_MenubarGroupItems", "Group the elements of each core")}},
        {"Text", std::move(text)},
        {"Load average", std::move(load)},
        {"Dropdown", {number("CPU_ProcessCount", "Processes shown", kProcessCounts)}},
    };
    return page;
}

PageDescription memory() {
    PageDescription page{"Memory", "memory", true, true, false, "", {}};
    auto text = textRows("Memory_", "MenubarPercentageSize");
    text.push_back(color("Memory_MenubarPercentageColor", "Text colour"));
    text.push_back(color("Memory_MenubarPercentageShadowColor", "Text shadow"));
    text.push_back(color("Memory_Label", "Label colour"));
    page.groups = {
        {"Graphs",
         {number("Memory_MenubarGraphWidth", "Graph width", kGraphWidths),
          choice("Memory_DisplayFormat", "Show", {"Memory pressure", "Memory used"}),
          toggle("Memory_MenubarGraphBreakdowns", "Show the kinds of memory separately"),
          toggle("Memory_IgnoreInactive", "Count inactive memory as free"),
          color("Memory_MenubarGraphOverall", "Overall"),
          color("Memory_MenubarGraphWired", "Wired"), color("Memory_MenubarGraphActive", "Active"),
          color("Memory_MenubarGraphCompressed", "Compressed"),
          color("Memory_MenubarGraphInactive", "Inactive")}},
        {"Page activity",
         {color("Memory_MenubarDotPageIn", "Dot, pages in"),
          color("Memory_MenubarDotPageOut", "Dot, pages out"),
          toggle("Memory_MenubarDotFlatten", "Flat dots"),
          color("Memory_MenubarArrowPageIn", "Arrow, pages in"),
          color("Memory_MenubarArrowPageOut", "Arrow, pages out"),
          toggle("Memory_MenubarArrowFlatten", "Flat arrows")}},
        {"Text", std::move(text)},
        {"Used and free",
         {toggle("Memory_UFShowLabel", "Show labels"),
          choice("Memory_UFMenubarFontStyle", "Font", kFontStyles),
          color("Memory_UFUsedColor", "Used"), color("Memory_UFUsedShadowColor", "Used shadow"),
          color("Memory_UFFreeColor", "Free"), color("Memory_UFFreeShadowColor", "Free shadow")}},
        {"Dropdown", {number("Memory_ProcessCount", "Processes shown", kProcessCounts)}},
    };
    return page;
}

PageDescription disks() {
    PageDescription page{"Disks", "disks", true, true, false, "", {}};
    page.summary = "The panel item shows the boot volume unless other volumes are chosen below.";
    auto text = textRows("Disks_", "MenubarPercentageSize");
    text.push_back(color("Disks_MenubarPercentageColor", "Text colour"));
    text.push_back(color("Disks_MenubarPercentageShadowColor", "Text shadow"));
    text.push_back(color("Disks_Label", "Label colour"));
    page.groups = {
        {"Volumes",
         {toggle("Disks_MenubarGroupItems", "Show the elements of each volume together"),
          toggle("Disks_HidePurgable", "Count purgeable space as free")}},
        {"Text", std::move(text)},
        {"Used and free",
         {toggle("Disks_MenubarUFShowLabel", "Show labels"),
          choice("Disks_MenubarUFFontStyle", "Font", kFontStyles),
          color("Disks_MenubarUFUsedColor", "Used"),
          color("Disks_MenubarUFUsedShadowColor", "Used shadow"),
          color("Disks_MenubarUFFreeColor", "Free"),
          color("Disks_MenubarUFFreeShadowColor", "Free shadow")}},
        {"Activity",
         {number("Disks_MenubarGraphActivityWidth", "Graph width", kGraphWidths),
          choice(
              "Disks_ActivityGraphMode", "Graph",
              {"Read above, write below", "Write above, read below", "Both upright", "Overlaid"}),
          toggle("Disks_MenubarGraphActivityShowBackground", "Graph background"),
          color("Disks_MenubarGraphActivityRead", "Graph, read"),
          color("Disks_MenubarGraphActivityWrite", "Graph, write"),
          color("Disks_MenubarDotActivityRead", "Dot, read"),
          color("Disks_MenubarDotActivityWrite", "Dot, write"),
          color("Disks_MenubarArrowRead", "Arrow, read"),
          color("Disks_MenubarArrowWrite", "Arrow, write"),
          toggle("Disks_MenubarCombineActivity", "One activity for all disks")}},
        {"Read and write",
         {toggle("Disks_MenubarRWShowLabel", "Show labels"),
          choice("Disks_MenubarRWFontStyle", "Font", kFontStyles),
          color("Disks_MenubarRWReadColor", "Read"),
          color("Disks_MenubarRWReadShadwColor", "Read shadow"),
          color("Disks_MenubarRWWriteColor", "Write"),
          color("Disks_MenubarRWWriteShadowColor", "Write shadow")}},
        {"Dropdown",
         {toggle("Disks_ShowIcons", "Show icons"),
          toggle("Disks_DropdownShowAllActivity", "Show the activity of every disk"),
          toggle("Disks_DropdownCombineActivity", "One activity for all disks"),
          choice("Disks_DropdownActivityDisplayMode", "Activity", {"Rates", "Graph"}),
          toggle("Disks_SeperateFusion", "Show the members of a fused volume apart"),
          toggle("Disks_MonitorSMART", "Monitor drive health"),
          number("Disks_ProcessCount", "Processes shown", kProcessCounts)}},
    };
    return page;
}

PageDescription battery() {
    PageDescription page{"Battery", "battery", true, true, false, "", {}};
    page.groups = {
        {"Percentage and time",
         {number("Battery_PercentageSize", "Percentage size", kTextSizes),
          number("Battery_TimeSize", "Time size", kTextSizes),
          choice("Battery_MenubarFontStyle", "Font", kFontStyles),
          color("Battery_PercentageColor", "Percentage colour"),
          color("Battery_PercentageShadowColor", "Percentage shadow"),
          color("Battery_TimeColor", "Time colour"),
          color("Battery_TimeShadowColor", "Time shadow"), color("Battery_Label", "Label colour")}},
        {"Stacked text",
         {choice("Battery_StackerMenubarFontStyle", "Font", kFontStyles),
          toggle("Battery_StackedTextBold", "Bold"), color("Battery_StackedColor", "Colour"),
          color("Battery_StackedShadowColor", "Shadow")}},
        {"Graph colours",
         {color("Battery_ColorGraphCharged", "Charged"),
          color("Battery_ColorGraphCharging", "Charging"),
          color("Battery_ColorGraphNotCharging", "Not charging"),
          color("Battery_ColorGraphDraining", "Draining"), color("Battery_ColorGraphLow", "Low"),
          color("Battery_ColorGraphBluetooth", "Bluetooth device"),
          color("Battery_ColorGraphBluetoothhLow", "Bluetooth device, low"),
          color("Battery_ColorGraphAirpods", "Earbuds"),
          color("Battery_ColorGraphAirpodsLow", "Earbuds, low"),
          toggle("Battery_ColorGraphShowIcons", "Show the state's symbol")}},
        {"Devices",
         {toggle("Battery_MenubarCustomizeStates", "A layout for each state"),
          toggle("Battery_DisableBluetooth", "Ignore Bluetooth devices")}},
    };
    return page;
}

PageDescription sensors() {
    PageDescription page{"Sensors", "sensors", true, false, false, "", {}};
    page.groups = {
        {"Text",
         {number("Sensors_MenubarTextSize", "Text size", kTextSizes),
          choice("Sensors_MenubarFontStyle", "Font", kFontStyles),
          choice("Sensors_StackedMenubarFontStyle", "Font of stacked text", kFontStyles),
          color("Sensors_MenubarTextColor", "Colour"),
          color("Sensors_MenubarTextShadowColor", "Shadow"),
          color("Sensors_Label", "Label colour")}},
        {"Readings",
         {choice("Sensors_TemperatureMode", "Temperature", {"Celsius", "Fahrenheit", "Kelvin"}),
          toggle("Sensors_DisableIntelKext", "Leave out the processor and GPU frequencies")}},
    };
    return page;
}

PageDescription network() {
    PageDescription page{"Network", "network", true, true, false, "", {}};
    page.groups = {
        {"Rates",
         {choice("Network_DataFormat", "Units",
                 {"Bytes, from B/s", "Bytes, from KB/s", "Bits, from b/s", "Bits, from Kb/s",
                  "Bytes, from MB/s", "Bits, from Mb/s"}),
          choice("Network_MenubarUnitLevel", "Unit in the panel",
                 {"None", "One letter", "Short", "Whole"}),
          number("Network_DecimalLevelKB", "Decimals in kilobytes", {"0", "1", "2"}),
          number("Network_DecimalLevelMB", "Decimals from megabytes", {"0", "1", "2"})}},
        {"Text",
         {choice("Network_MenubarFontStyle", "Font", kFontStyles),
          color("Network_TextUploadColor", "Upload"),
          color("Network_TextUploadShadowColor", "Upload shadow"),
          color("Network_TextDownloadColor", "Download"),
          color("Network_TextDownloadShadowColor", "Download shadow"),
          color("Network_Label", "Label colour")}},
        {"Graph",
         {number("Network_GraphWidth", "Graph width", kGraphWidths),
          choice("Network_GraphMode", "Graph",
                 {"Growing from the edges", "Growing from the middle", "Both upright", "Overlaid"}),
          toggle("Network_GraphShowBackground", "Graph background"),
          color("Network_GraphUpload", "Upload"), color("Network_GraphDownload", "Download")}},
        {"Activity",
         {color("Network_DotUpload", "Upload"), color("Network_DotDownload", "Download"),
          toggle("Network_DotFlatten", "Flat dots and arrows")}},
        {"Status",
         {toggle("Network_StatusCheckInternet", "Show whether the internet answers"),
          toggle("Network_StatusCheckFlatten", "Flat status dot"),
          color("Network_StatusConnected", "Connected"),
          color("Network_StatusNoAddress", "No address"),
          color("Network_StatusNoInternet", "No internet"),
          color("Network_StatusNotConnected", "Not connected")}},
        {"Dropdown",
         {color("Network_DropdownGraphUpload", "Graph, upload"),
          color("Network_DropdownGraphDownload", "Graph, download"),
          toggle("Network_ShowBSD", "Show interface names")}},
        {"Addresses in the dropdown",
         {choice("Network_IPV4AddressMode", "IPv4 addresses",
                 {"Address", "Address and prefix length"}),
          choice("Network_IPV6AddressMode", "IPv6 addresses",
                 {"Address", "Address and prefix length"}),
          toggle("Network_IPV6Group", "Group IPv6 addresses by kind"),
          toggle("Network_IPV6ShowSecured", "Secured (stable, private) IPv6 addresses"),
          toggle("Network_IPV6ShowDynamic", "Dynamic (hardware-derived, DHCPv6) IPv6 addresses"),
          toggle("Network_IPV6ShowTemporary", "Temporary IPv6 addresses"),
          toggle("Network_IPV6ShowOther", "Other (link-local, static) IPv6 addresses"),
          toggle("Network_IPV6ShowDeprecated", "Deprecated IPv6 addresses")}},
    };
    return page;
}

PageDescription timePage() {
    PageDescription page{"Time", "time", false, true, false, "", {}};
    page.groups = {
        {"Text",
         {number("Time_TextSize", "Text size", kTextSizes), color("Time_TextColor", "Colour"),
          color("Time_TextShadowColor", "Shadow"),
          toggle("Time_MenubarFlashSeperators", "Flash the separators")}},
        {"Calendar",
         {toggle("Time_CalendarShowWeeks", "Show week numbers"),
          choice("Time_WeekNumberFormat", "Weeks",
                 {"From Sunday, the first holds 1 January", "From Monday, as ISO 8601 counts"})}},
        {"Dropdown", {toggle("Time_CLockSortCurrentLocationFirst", "Current location first")}},
    };
    return page;
}

PageDescription weather() {
    PageDescription page{"Weather", "weather", false, true, false, "", {}};
    page.summary = "The forecast is for the place chosen below, or for where this computer is.";
    const std::vector<std::string> region{"As the region"};
    const auto units = [&](std::vector<std::string> choices) {
        choices.insert(choices.begin(), region.begin(), region.end());
        return choices;
    };
    page.groups = {
        {"Units",
         {choice("Weather_TemperatureUnits", "Temperature", units({"Celsius", "Fahrenheit"})),
          choice("Weather_WindUnits", "Wind", units({"m/s", "km/h", "mph", "knots"})),
          choice("Weather_PressureUnits", "Pressure", units({"hPa", "mb", "inches"})),
          choice("Weather_VisibilityUnits", "Visibility", units({"km", "miles"})),
          choice("Weather_RainUnits", "Precipitation", units({"Metric", "Inches"})),
          choice("Weather_MenubarTemperatureUnitLevel", "Temperature in the panel",
                 {"Whole degrees", "One decimal"}),
          toggle("Weather_DropdownHideDecimals", "Whole degrees in the dropdown")}},
        {"Text",
         {number("Weather_MenubarTextSize", "Text size", kTextSizes),
          choice("Weather_MenubarFontStyle", "Font", kFontStyles),
          color("Weather_MenubarTextColor", "Colour"),
          color("Weather_MenubarTextShadowColor", "Shadow"),
          color("Weather_StackedColor", "Stacked text"),
          color("Weather_StackedShadowColor", "Stacked text shadow")}},
    };
    return page;
}

// The sections that can live inside the Combined item, by their keys.
GroupDescription members(const std::string& key, std::string title) {
    static const std::pair<std::int64_t, const char*> kSections[] = {
        {1, "CPU & GPU"}, {2, "Memory"},          {3, "Disks"}, {4, "Network"},
        {5, "Sensors"},   {6, "Battery & Power"}, {7, "Time"},  {9, "Weather"}};
    GroupDescription group{std::move(title), {}};
    for (const auto& [section, name] : kSections)
        group.rows.push_back({Kind::Member, key, name, {}, section});
    return group;
}

PageDescription combined() {
    PageDescription page{"Combined", "", false, true, false, "", {}};
    page.summary = "One panel item for several sections. Each section's own page sets how its "
                   "part looks.";
    page.groups = {members("CombinedMenubarDisplayMode", "In the panel item"),
                   members("CombinedDropdownDisplayMode", "In the dropdown")};
    return page;
}

PageDescription placeholder(const std::string& xibName, std::string summary) {
    PageDescription page{xibName, "", false, false, true, std::move(summary), {}};
    return page;
}

} // namespace

PageDescription pageDescriptionFor(const std::string& xibName) {
    if (xibName == "General")
        return general();
    if (xibName == "CPU")
        return cpu();
    if (xibName == "Memory")
        return memory();
    if (xibName == "Battery")
        return battery();
    if (xibName == "Combined")
        return combined();
    if (xibName == "Notifications")
        return placeholder(xibName, "Rules that tell you when a value crosses a limit: the "
                                    "battery running low, a disk filling up, a hot sensor.");
    if (xibName == "Weather")
        return weather();
    if (xibName == "Disks")
        return disks();
    if (xibName == "Network")
        return network();
    if (xibName == "Sensors")
        return sensors();
    if (xibName == "Time")
        return timePage();
    return placeholder(xibName, "");
}

std::vector<std::string> controlledKeys(const PageDescription& page, const Value& defaults) {
    std::vector<std::string> keys;
    for (const auto& group : page.groups) {
        for (const auto& row : group.rows) {
            if (std::find(keys.begin(), keys.end(), row.key) == keys.end())
                keys.push_back(row.key);
            if (row.kind == Kind::Color && defaults.contains(row.key + "-Dark"))
                keys.push_back(row.key + "-Dark");
        }
    }
    return keys;
}

std::vector<std::string> keysEditedElsewhere(const std::string& xibName) {
    if (xibName == "General")
        // The source list's switches, the Notifications page, the Combined page.
        return {"StatusItems-Order", "Notifications-Enabled", "Notifications-Items",
                "CombinedMenubarDisplayMode", "CombinedDropdownDisplayMode"};
    if (xibName == "CPU")
        // The element rows; the process format of a dropdown that does not show one yet.
        return {"CPU_MenubarMode", "CPU_AppFormat"};
    if (xibName == "Memory")
        return {"Memory_MenubarMode", "Memory_AppFormat"};
    if (xibName == "Disks")
        // The element rows, the dropdown's order, and the volumes the item and the dropdown
        // show.
        return {"Disks_MenubarMode",  "Disks_DropdownOrder", "Disks_DropdownOrderDisabled",
                "Disks_MenubarItems", "FilteringDisks",      "FilteringDiskActivity"};
    if (xibName == "Battery")
        // The element rows of the panel item, and of each state's own layout.
        return {"Battery_MenubarMode",         "Battery_MenubarModeCharged",
                "Battery_MenubarModeCharging", "Battery_MenubarModeNotCharging",
                "Battery_MenubarModeDraining", "Battery_MenubarModeBluetooth",
                "Battery_MenubarModeAirpods"};
    if (xibName == "Network")
        // The element rows, the dropdown's order, the interface counted, the hidden services
        // and the pinged address have editors of their own.
        return {
            "Network_MenubarMode",      "Network_DropdownOrder", "Network_DropdownOrderDisabled",
            "Network_PrimaryInterface", "FilteringNetwork",      "Network_StatusAddress"};
    if (xibName == "Time")
        // The panel clock's lines and the world clocks have editors of their own.
        return {"Time_MenubarFormat", "Time_Cities", "Time_CityNames"};
    if (xibName == "Sensors")
        // The element rows, and the sensor list: what the item and the dropdown show, and
        // the names given.
        return {"Sensors_MenubarMode", "Sensors_MenubarItems", "FilteringSensors", "Sensors_Names"};
    if (xibName == "Weather")
        // The element rows; the place and the provider, by the command line.
        return {"Weather_MenubarMode", "Weather_Locations", "Weather_ProviderKey",
                "Weather_AvailableProviders"};
    return {};
}

} // namespace corvane
