#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace corvane {

// A section as the status program knows it: the number that stands for its panel item in
// "StatusItems-Order", the name of its item, and the notification its settings travel with.
struct StatusSection {
    std::int64_t key;
    std::string_view name;         // "cpu", as the commands and the panel front ends name it
    std::string_view title;        // "CPU", the item's title before translation
    std::string_view notification; // "CorvaneBarCPUPreferencesChanged"
};

// Every section with a panel item, whether or not this build draws it.
std::span<const StatusSection> statusSections();
const StatusSection* statusSectionForKey(std::int64_t key);
const StatusSection* statusSectionNamed(std::string_view name);
// The section whose settings the notification announces; nothing for other names.
const StatusSection* statusSectionForNotification(std::string_view notification);

// The items to show for the stored order: the sections this build draws, in that order, each
// once. Keys of other sections (and the -1 that can lead the list) are passed over.
std::vector<const StatusSection*> enabledSections(const std::vector<std::int64_t>& order);

} // namespace corvane
