// The panel items are drawn every second: one frame of the processor and memory items on this
// machine's readings at scale 2, with the backgrounds and text styles kept between frames.
#include "TemporaryPreferences.h"
#include "collectors/cpu/CPUStatCollectorLinux.h"
#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "collectors/memory/MemoryStatCollectorLinux.h"
#include "drawing/CVBCPUMenuExtraView.h"
#include "drawing/CVBMemoryMenuExtraView.h"
#include "drawing/ItemRenderer.h"

#include <benchmark/benchmark.h>

namespace {

using namespace corvane;

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
    CVBCPUMenuExtraView view(machine.cpu, &machine.load);
    drawFrames(state, view);
}
BENCHMARK(BM_CPUItemDefaults);

void BM_CPUItemEveryElementPerCore(benchmark::State& state) {
    Machine machine;
    CVBSetBoolForKey(false, "CPU_MenubarCombineCores");
    CVBSetBoolForKey(true, "CPU_MenubarGraphBreakdowns");
    CVBSetObjectForKey(modes({100, 0, 1, 2, 3, 4, 6, 7, 13}), "CPU_MenubarMode");
    CVBCPUMenuExtraView view(machine.cpu, &machine.load);
    drawFrames(state, view);
}
BENCHMARK(BM_CPUItemEveryElementPerCore);

void BM_MemoryItemEveryElement(benchmark::State& state) {
    Machine machine;
    CVBSetObjectForKey(modes({100, 0, 1, 2, 3, 6, 7, 8, 9}), "Memory_MenubarMode");
    CVBMemoryMenuExtraView view(machine.memory);
    drawFrames(state, view);
}
BENCHMARK(BM_MemoryItemEveryElement);

// What `corvanebar render` does: measure, then draw on a picture of the item's width.
void BM_RenderCPUItemPicture(benchmark::State& state) {
    Machine machine;
    CVBCPUMenuExtraView view(machine.cpu, &machine.load);
    for (auto _ : state)
        benchmark::DoNotOptimize(ItemRenderer::render(view, 2, ItemRenderer::Background::Light));
}
BENCHMARK(BM_RenderCPUItemPicture);

} // namespace

BENCHMARK_MAIN();
