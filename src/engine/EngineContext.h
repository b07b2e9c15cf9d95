#pragma once

#include "engine/SampleTiers.h"

namespace corvane {

class HistoryFiles;
class MainQueue;
class SleepWakeSource;

// What every collector of a process is built with.
struct EngineContext {
    // The queue the cycle and the delegate calls run on, with its clock.
    MainQueue& queue;
    // Tiers of this program's build: kSettingsTierCount or kLoggingTierCount. A build with more
    // than one tier logs: it keeps the history database and fills its tiers from the cycle.
    int tierCount = kSettingsTierCount;
    // Sleep and wake of the machine; nullptr where nothing tells.
    SleepWakeSource* sleepWake = nullptr;
    // A logging build's history files, shared by its collectors; nullptr: each opens its own.
    HistoryFiles* historyFiles = nullptr;
};

} // namespace corvane
