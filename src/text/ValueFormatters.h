#pragma once

#include "foundation/Value.h"

#include <string>

namespace corvane {

// Menu-bar and dropdown texts of measured values; format choices are read from the
// preferences at each call.
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
