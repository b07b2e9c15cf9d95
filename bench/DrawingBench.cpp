// The panel items are drawn every second: one frame of the processor and memory items on this
// machine's readings, and of the battery item on a recorded laptop, at scale 2, with the
// backgrounds, text styles and tinted artwork kept between frames.
#include "TemporaryPreferences.h"
#include "collectors/battery/BatteryStatCollectorLinux.h"
#include "collectors/cpu/CPUStatCollectorLinux.h"
#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "collectors/memory/MemoryStatCollectorLinux.h"
#include "drawing/Artwork.h"
#include "drawing/CVBBatteryMenuExtraView.h"
#include "drawing/CVBCPUMenuExtraView.h"
#include "drawing/CVBMemoryMenuExtraView.h"
#include "drawing/ItemRenderer.h"

#include <benchmark/benchmark.h>

namespace {

using namespace corvane;

// The installed temporary preferences as a light host at scale 2 sees them.
DrawingContext hostContext(CVBCache& artwork) {
    return DrawingContext::forHost(CVBPreferences::sharedPreferences(), artwork, 2.0);
}

Value modes(std::initializer_list<int> codes) {
    Value list = Value::array();
    for (int code : codes)
        list.append(Value::dict({{"key", code}}));
    return list;
}

// Draws the item's frames on one strip, as the panel host does.
void drawFrames(benchmark::State& state, CVBModuleView& view) {
    Image strip(400, Surface::kStripHeight, 2.0);
    Surface surface(strip);
    view.setSurface(&surface);
    for (auto _ : state)
        benchmark::DoNotOptimize(view.drawAtOffset(0));
    view.setSurface(nullptr);
}

struct Machine {
    bench::TemporaryPreferences preferences{"drawing"};
    EngineContext context{preferences.queue(), kSettingsTierCount, nullptr};
    CPUStatCollectorLinux cpu{context, SysRoot()};
    LoadStatCollectorLinux load{context, SysRoot()};
    MemoryStatCollectorLinux memory{context, SysRoot()};
    CVBCache artwork;
    DrawingContext drawing = hostContext(artwork);

    Machine() {
        cpu.setup();
        for (int i = 0; i < 3; ++i) {
            cpu.updateStats();
            load.updateStats();
            memory.updateStats();
        }
    }
    ~Machine() {
        cpu.cleanup();
        load.cleanup();
        memory.cleanup();
    }
};

void BM_CPUItemDefaults(benchmark::State& state) {
    Machine machine;
    CVBCPUMenuExtraView view(machine.drawing, machine.cpu, &machine.load);
    drawFrames(state, view);
}
BENCHMARK(BM_CPUItemDefaults);

// The default list (horizontal graph and time) for the laptop's battery, and the device list
// (picture and plain graph) for its wireless mouse.
void BM_BatteryItemDefaults(benchmark::State& state) {
    bench::TemporaryPreferences preferences{"drawing-battery"};
    const EngineContext context{preferences.queue(), kSettingsTierCount, nullptr};
    BatteryStatCollectorLinux battery{context,
                                      SysRoot(CVB_FIXTURES_DIR "/sysroot/laptop-discharging")};
    battery.updateStats();
    CVBCache artwork;
    CVBBatteryMenuExtraView view(hostContext(artwork), battery);
    drawFrames(state, view);
    battery.cleanup();
}
BENCHMARK(BM_BatteryItemDefaults);

// The history graph at its default width: 30 columns of three layers, as the processor item
// draws user, system and nice.
void BM_HistoryGraph30Columns(benchmark::State& state) {
    bench::TemporaryPreferences preferences{"drawing-history"};
    HistoryGraph graph;
    graph.width = 30;
    graph.colors = {Color::black(), Color::black(), Color::black()};
    for (int column = 0; column < 30; ++column)
        graph.samples.push_back(
            {0.1 + column % 7 * 0.1, 0.05 + column % 3 * 0.05, column % 2 * 0.02});
    CVBCache artwork;
    CVBModuleView view(hostContext(artwork));
    Image strip(60, Surface::kStripHeight, 2.0);
    Surface surface(strip);
    view.setSurface(&surface);
    for (auto _ : state)
        benchmark::DoNotOptimize(view.drawHistoryGraph(graph, 0));
    view.setSurface(nullptr);
}
BENCHMARK(BM_HistoryGraph30Columns);

void BM_CPUItemEveryElementPerCore(benchmark::State& state) {
    Machine machine;
    CVBSetBoolForKey(false, "CPU_MenubarCombineCores");
    CVBSetBoolForKey(true, "CPU_MenubarGraphBreakdowns");
    CVBSetObjectForKey(modes({100, 0, 1, 2, 3, 4, 6, 7, 13}), "CPU_MenubarMode");
    CVBCPUMenuExtraView view(machine.drawing, machine.cpu, &machine.load);
    drawFrames(state, view);
}
BENCHMARK(BM_CPUItemEveryElementPerCore);

void BM_MemoryItemEveryElement(benchmark::State& state) {
    Machine machine;
    CVBSetObjectForKey(modes({100, 0, 1, 2, 3, 6, 7, 8, 9}), "Memory_MenubarMode");
    CVBMemoryMenuExtraView view(machine.drawing, machine.memory);
    drawFrames(state, view);
}
BENCHMARK(BM_MemoryItemEveryElement);

// What `corvanebar render` does: measure, then draw on a picture of the item's width.
void BM_RenderCPUItemPicture(benchmark::State& state) {
    Machine machine;
    CVBCPUMenuExtraView view(machine.drawing, machine.cpu, &machine.load);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            ItemRenderer::render(view, machine.drawing, ItemRenderer::Background::Light));
}
BENCHMARK(BM_RenderCPUItemPicture);

} // namespace

BENCHMARK_MAIN();
