#pragma once

#include "drawing/Image.h"

#include <filesystem>
#include <memory>
#include <string>

namespace corvane {

// librsvg, loaded the first time a picture is drawn from an SVG file. Most panels never draw
// one, and the library with what it brings (libxml2 among others) holds about eight megabytes
// of resident memory from the moment it is loaded.
class SvgLibrary {
public:
    // Nothing, and one log line, when the library cannot be loaded.
    static std::unique_ptr<SvgLibrary> load();
    ~SvgLibrary();
    SvgLibrary(const SvgLibrary&) = delete;
    SvgLibrary& operator=(const SvgLibrary&) = delete;

    // The file drawn at its own size times `scale`; nothing with the reason in `why`.
    std::shared_ptr<const Image> render(const std::filesystem::path& file, double scale,
                                        std::string& why) const;

private:
    struct Functions;
    SvgLibrary(void* handle, std::unique_ptr<Functions> functions);

    void* handle_;
    std::unique_ptr<Functions> functions_;
};

} // namespace corvane
