#pragma once

#include "foundation/Value.h"
#include "text/SensorItem.h"
#include "text/TextContext.h"

#include <string>

namespace corvane {

// Dropdown and menu-bar texts of a sensor by its type; a missing item reads "-".
std::string formattedSensor(const TextContext& text, const SensorItem* item);
std::string formattedSensor2(const TextContext& text, const SensorItem* item, double value);
// `record` is the menu-bar element: optional "decimals" and "suffix".
std::string formattedMenubarSensor(const TextContext& text, const SensorItem* item,
                                   const Value& record, bool switchUnits);
int decimalLevelForSensor(const SensorItem* item);

} // namespace corvane
