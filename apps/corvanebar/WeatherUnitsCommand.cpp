#include "WeatherUnitsCommand.h"

void addWeatherUnitsCommands(CLI::App& weather, int& exitCode) {
    (void)weather;
    (void)exitCode;
}
