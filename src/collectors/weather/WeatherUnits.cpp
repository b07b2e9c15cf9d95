#include "collectors/weather/WeatherUnits.h"

namespace corvane {} // namespace corvane
