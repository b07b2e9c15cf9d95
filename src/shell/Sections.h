#pragma once

// Every section class, for code that works with the registry's typed fields.
#include "shell/BatteryController.h"
#include "shell/CPUController.h"
#include "shell/CombinedController.h"
#include "shell/DisksController.h"
#include "shell/GeneralController.h"
#include "shell/MemoryController.h"
#include "shell/NetworkController.h"
#include "shell/NotificationsController.h"
#include "shell/OrderController.h"
#include "shell/SensorsController.h"
#include "shell/TimeController.h"
#include "shell/WeatherController.h"
