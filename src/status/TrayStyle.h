#pragma once

#include "status/PanelItem.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// The user's choice in "Status_TrayStyle": "auto" lets the panel decide, "wide" and "compact"
// force one picture.
enum class TrayStyle { Auto, Wide, Compact };

// The stored text as a style; anything unknown is "auto".
TrayStyle trayStyleNamed(std::string_view text);

// Which picture a tray item sends. `hostProgram` is the name of the program that keeps the
// tray's item list (the owner of the watcher name), empty when unknown. Under "auto" only the
// panels known to keep a wide icon wide get the wide picture; the others shrink or square it,
// and one refuses non-square icons, so a square picture is the safe choice.
PictureShape pictureShapeFor(TrayStyle style, std::string_view hostProgram);

// Whether a tray host's bar is dark unless its user styles it; nothing when it follows the
// desktop or is unknown. Used only when neither the panel nor the desktop says.
std::optional<bool> hostBarIsDark(std::string_view hostProgram);

// The program name of a process, from its command line under `procRoot` (the first word, its
// directory dropped), or from "comm" when that is empty; empty when neither can be read.
std::string programNameOfProcess(const std::filesystem::path& procRoot, std::uint32_t pid);

} // namespace corvane
