#include "collectors/weather/ForecastRecord.h"

namespace corvane {} // namespace corvane
