#include "status/TrayStyle.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>

namespace corvane {

namespace {

// Tray hosts that scale a pixmap to the panel's height and keep its aspect ratio: Waybar (its
// tray owns the watcher on sway, Hyprland and river), MATE's notification area (in the panel
// or as its own applet process) and Cinnamon's watcher.
constexpr std::array<std::string_view, 4> kWideHosts = {
    "waybar", "mate-panel", "notification-area-applet", "xapp-sn-watcher"};

std::string readFile(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace

TrayStyle trayStyleNamed(std::string_view text) {
    if (text == "wide")
        return TrayStyle::Wide;
    if (text == "compact")
        return TrayStyle::Compact;
    return TrayStyle::Auto;
}

std::optional<bool> hostBarIsDark(std::string_view hostProgram) {
    // Waybar's stock style is a dark bar, and it reads no colour scheme of the desktop.
    if (hostProgram == "waybar")
        return true;
    return std::nullopt;
}

PictureShape pictureShapeFor(TrayStyle style, std::string_view hostProgram) {
    switch (style) {
    case TrayStyle::Wide:
        return PictureShape::Wide;
    case TrayStyle::Compact:
        return PictureShape::Compact;
    case TrayStyle::Auto:
        break;
    }
    const bool wide =
        std::find(kWideHosts.begin(), kWideHosts.end(), hostProgram) != kWideHosts.end();
    return wide ? PictureShape::Wide : PictureShape::Compact;
}

std::string programNameOfProcess(const std::filesystem::path& procRoot, std::uint32_t pid) {
    const std::filesystem::path dir = procRoot / std::to_string(pid);
    std::string command = readFile(dir / "cmdline");
    command = command.substr(0, command.find('\0'));
    if (!command.empty())
        return std::filesystem::path(command).filename().string();
    // The kernel's short name, cut at 15 characters and ended by a newline.
    std::string comm = readFile(dir / "comm");
    if (const auto end = comm.find('\n'); end != std::string::npos)
        comm.resize(end);
    return comm;
}

} // namespace corvane
