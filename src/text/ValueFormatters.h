#pragma once

#include "foundation/Value.h"
#include "text/TextContext.h"

#include <string>

namespace corvane {

// One number through a printf format ("%.1f"): the figure before a panel text's unit.
std::string printfNumber(const char* format, double value);

// Menu-bar and dropdown texts of measured values; format choices are read from the context's
// preferences at each call.
// "Network_DataFormat", with bytes and bits swapped where `switchUnits` asks (formats 0 to 5).
int effectiveDataFormat(const TextContext& text, bool switchUnits);
// Formats 2, 3 and 5 count bits.
bool isBits(int format);
// The four unit words of rates from bytes (or bits) a second to giga.
const char* const* unitWords(int format);

std::string formattedBandwidth(const TextContext& text, bool switchUnits, double bytesPerSecond);
std::string formattedBandwidthFormatter(const TextContext& text, bool switchUnits,
                                        double bytesPerSecond);
std::string formattedDiskActivity(const TextContext& text, double bytesPerSecond);
std::string formattedSpace(const TextContext& text, double bytes);
std::string formattedMemory(const TextContext& text, double kilobytes);
std::string formattedFrequency(const TextContext& text, double megahertz);
std::string formattedPercentage(const TextContext& text, int decimals, double value);
std::string formattedWeatherPercentage(const TextContext& text, int decimals, double value);
std::string formattedNumber(const TextContext& text, double value);
std::string formattedMilliAmps(const TextContext& text, double value);
std::string formattedMilliAmpHours(const TextContext& text, double value);

std::string formattedTemperature(const TextContext& text, double celsius);
std::string temperatureValue(const TextContext& text, bool switchUnits, double celsius);
std::string temperatureUnit(const TextContext& text);
std::string degreesSymbol();

double celciusToFahrenheit(double x);
double fahrenheitToCelcius(double x);
double celciusToKelvin(double x);
double kelvinToCelcius(double x);

// The text of a value, trimmed of white space at both ends.
std::string stringFromValue(const Value& value);

void bandwidhFormatterKB(const TextContext& text);
void bandwidhFormatterMB(const TextContext& text);

} // namespace corvane
