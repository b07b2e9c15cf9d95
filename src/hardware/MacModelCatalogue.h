#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace corvane {

struct FanRow {
    std::string_view key;
    std::string_view name;
    int low = 0; // rpm; 0 where the figure is not known
    int high = 0;
};

enum MacModelFlag : unsigned {
    kUsesSyncedFans = 1u << 0,
    kTemperatureBug = 1u << 1,
    kUseArmSensors = 1u << 2,
    kHideIntergratedGraphics = 1u << 3,
    kIgnoreGraphicsControl = 1u << 4,
    kDisableFanControl = 1u << 5,
    kM2ProMaxRows = 1u << 6,    // core rows chosen by the core count
    kCoreAverageOf18 = 1u << 7, // "CPU Core Average" over the ten listed core keys
};

// One model of the catalogue. Only the figures known for a model are filled: for most models
// the screen size, memory limits, slots, icon and default keys are not known and stay 0 or "";
// their sensor rows come from the keys the machine's controller lists.
struct MacModel {
    std::string_view className;  // the identifier with "," as "_": "MacPro7_1"
    std::string_view identifier; // what the model answers, a neighbour's text for a few
    std::string_view name;
    double screenSize = 0;
    double maximumMemory = 0; // megabytes
    int memorySlots = 0;
    std::string_view icon;
    std::array<std::string_view, 2> defaultSensorKeys{};
    std::string_view cpuTemperatureSensor;
    unsigned flags = 0;
    std::span<const FanRow> fans;

    bool has(MacModelFlag flag) const { return (flags & flag) != 0; }
};

struct SensorKeyName {
    std::string_view key;
    std::string_view name; // the name most models give the key
};

std::span<const MacModel> macModels();
const MacModel* macModelForClass(std::string_view className);

// The sensor keys the catalogue knows, ordered by key.
std::span<const SensorKeyName> sensorVocabulary();
// "" for a key outside the vocabulary.
std::string_view vocabularyName(std::string_view key);

// A fan's label from the name it reports; the raw name when there is no label for it.
std::string nameForFan(std::string_view raw);

// "MacBookPro11,3" → "MacBook Pro", "Macmini8,1" → "Mac mini"; "Unknown" for anything else.
std::string familyName(std::string_view identifier);

} // namespace corvane
