#pragma once

#include "foundation/Value.h"

#include <string>

namespace corvane {

// Menu-bar and dropdown texts of measured values; format choices are read from the
// preferences at each call.
// "Network_DataFormat", with bytes and bits swapped where `switchUnits` asks (formats 0 to 5).
int effectiveDataFormat(bool switchUnits);
// Formats 2, 3 and 5 count bits.
bool isBits(int format);
// The four unit words of rates from bytes (or bits) a second to giga.
const char* const* unitWords(int format);

std::string formattedBandwidth(bool switchUnits, double bytesPerSecond);
std::string formattedBandwidthFormatter(bool switchUnits, double bytesPerSecond);
std::string formattedDiskActivity(double bytesPerSecond);
std::string formattedSpace(double bytes);
std::string formattedMemory(double kilobytes);
std::string formattedFrequency(double megahertz);
std::string formattedPercentage(int decimals, double value);
std::string formattedWeatherPercentage(int decimals, double value);
std::string formattedNumber(double value);
std::string formattedMilliAmps(double value);
std::string formattedMilliAmpHours(double value);

std::string formattedTemperature(double celsius);
std::string temperatureValue(bool switchUnits, double celsius);
std::string temperatureUnit();
std::string degreesSymbol();

double celciusToFahrenheit(double x);
double fahrenheitToCelcius(double x);
double celciusToKelvin(double x);
double kelvinToCelcius(double x);

// The text of a value, trimmed of white space at both ends.
std::string stringFromValue(const Value& value);

void bandwidhFormatterKB();
void bandwidhFormatterMB();

} // namespace corvane
