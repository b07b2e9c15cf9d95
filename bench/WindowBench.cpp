// The settings window's costs on this machine: the time from the program's start to the
// window's first frame, and what each page's preview costs every second it is shown (one
// reading of its collectors and both looks drawn, as the drawing area's draw does). It needs
// an X server and a session bus: it starts itself again under xvfb-run and dbus-run-session,
// with settings of its own, and draws with Cairo as the window's tests do.
#include "drawing/Image.h"
#include "preferences/CVBPreferences.h"
#include "shell/SectionManager.h"
#include "window/MainWindow.h"
#include "window/PreviewArea.h"
#include "window/WindowApplication.h"
#include "window/WindowPage.h"

#include <benchmark/benchmark.h>
#include <cairo.h>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <optional>
#include <sstream>
#include <unistd.h>
#include <vector>

namespace {

using namespace corvane;

constexpr const char* kSessionVariable = "CVB_BENCH_WINDOW_SESSION";

struct Run {
    WindowApplication* application = nullptr;
    std::optional<double> firstFrame; // seconds from the process's start
};

Run& run() {
    static Run instance;
    return instance;
}

// Seconds since this process started, as the kernel counts it (to a clock tick).
double secondsSinceStart() {
    std::ifstream stat("/proc/self/stat");
    std::string line;
    std::getline(stat, line);
    // The fields after the command's name, which ends with the last ')'.
    std::istringstream fields(line.substr(line.rfind(')') + 2));
    std::string field;
    for (int index = 3; index <= 22 && fields >> field; ++index) {
    }
    const double started = std::stod(field) / static_cast<double>(sysconf(_SC_CLK_TCK));
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9 - started;
}

void runUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!done() && std::chrono::steady_clock::now() < end)
        g_main_context_iteration(nullptr, FALSE);
}

void BM_FirstWindowFrame(benchmark::State& state) {
    for (auto _ : state)
        state.SetIterationTime(run().firstFrame.value_or(0));
    if (!run().firstFrame)
        state.SkipWithError("the window drew no frame");
}
BENCHMARK(BM_FirstWindowFrame)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// One second of a page's preview: its collectors read and both looks drawn.
void BM_PreviewSecond(benchmark::State& state, const char* section, const char* page) {
    WindowApplication& application = *run().application;
    application.showSection(section);
    runUntil([&] {
        WindowPage* shown = application.mainWindow()->currentPage();
        return shown && shown->name() == page && shown->widget().get_mapped();
    });
    WindowPage* shown = application.mainWindow()->currentPage();
    PreviewArea* preview = shown && shown->name() == page ? shown->preview() : nullptr;
    if (!preview) {
        state.SkipWithError("the page has no preview");
        return;
    }
    const double scale = preview->get_scale_factor();
    Image canvas(std::max(preview->get_width(), 1), std::max(preview->get_height(), 1), scale);
    cairo_t* cairo = cairo_create(canvas.cairoSurface());
    cairo_scale(cairo, scale, scale);
    for (auto _ : state) {
        preview->tick();
        preview->paint(cairo, scale);
    }
    cairo_destroy(cairo);
}
BENCHMARK_CAPTURE(BM_PreviewSecond, cpu, "cpu", "CPU")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_PreviewSecond, memory, "memory", "Memory")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_PreviewSecond, battery, "battery", "Battery")->Unit(benchmark::kMicrosecond);

// Notes the first frame, then runs the benchmarks in the window's main loop.
void firstFramePainted(GdkFrameClock* clock, gpointer application) {
    g_signal_handlers_disconnect_by_data(clock, application);
    run().firstFrame = secondsSinceStart();
    Glib::signal_idle().connect_once([application] {
        benchmark::RunSpecifiedBenchmarks();
        static_cast<WindowApplication*>(application)->quit();
    });
}

// Starts this program again on a private X server and bus; returns only if that fails.
int restartInSession(char** argv) {
    setenv(kSessionVariable, "1", 1);
    setenv("GSK_RENDERER", "cairo", 1);
    setenv("GDK_BACKEND", "x11", 1);
    unsetenv("WAYLAND_DISPLAY");
    std::vector<const char*> command{
        "dbus-run-session", "--", "xvfb-run", "-a", "-s", "-nolisten tcp -screen 0 1280x1024x24"};
    for (char** argument = argv; *argument; ++argument)
        command.push_back(*argument);
    command.push_back(nullptr);
    execvp(command[0], const_cast<char**>(command.data()));
    std::cerr << "window_bench: cannot start dbus-run-session and xvfb-run\n";
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (!std::getenv(kSessionVariable))
        return restartInSession(argv);
    benchmark::Initialize(&argc, argv);
    const auto home =
        std::filesystem::temp_directory_path() / ("cvb-bench-window-" + std::to_string(getpid()));
    setenv("XDG_CONFIG_HOME", (home / "config").c_str(), 1);
    setenv("XDG_STATE_HOME", (home / "state").c_str(), 1);
    CVBPreferences::installOnFirstUse(&CVBPreferences::systemEnvironment);

    auto application = WindowApplication::create({"cpu", "light", {}, {}});
    run().application = application.get();
    application->signal_activate().connect(
        [&] {
            GdkFrameClock* clock =
                gtk_widget_get_frame_clock(GTK_WIDGET(application->mainWindow()->gobj()));
            g_signal_connect(clock, "after-paint", G_CALLBACK(&firstFramePainted),
                             application.get());
        },
        true);
    const int status = application->runOrForward();
    run().application = nullptr;
    benchmark::Shutdown();
    CVBPreferences::cleanup();
    std::filesystem::remove_all(home);
    return status;
}
