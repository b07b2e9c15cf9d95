#include "drawing/SvgLibrary.h"

#include "drawing/GraphicsHandles.h"
#include "foundation/GLibHandles.h"
#include "foundation/Log.h"

#include <dlfcn.h>
#include <librsvg/rsvg.h>

namespace corvane {

namespace {

constexpr const char* kLibraryName = "librsvg-2.so.2";

// The function of that name, or null.
template <class Function>
void resolve(void* handle, Function& function, const char* name) {
    function = reinterpret_cast<Function>(::dlsym(handle, name));
}

} // namespace

struct SvgLibrary::Functions {
    decltype(&rsvg_handle_new_from_file) newFromFile = nullptr;
    decltype(&rsvg_handle_get_intrinsic_size_in_pixels) intrinsicSize = nullptr;
    decltype(&rsvg_handle_render_document) renderDocument = nullptr;
};

std::unique_ptr<SvgLibrary> SvgLibrary::load() {
    // Never unloaded: the library registers types with GObject that outlive it.
    void* handle = ::dlopen(kLibraryName, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (!handle) {
        CVBLog("Artwork: %s cannot be loaded (%s); SVG pictures are not drawn", kLibraryName,
               ::dlerror());
        return nullptr;
    }
    auto functions = std::make_unique<Functions>();
    resolve(handle, functions->newFromFile, "rsvg_handle_new_from_file");
    resolve(handle, functions->intrinsicSize, "rsvg_handle_get_intrinsic_size_in_pixels");
    resolve(handle, functions->renderDocument, "rsvg_handle_render_document");
    if (!functions->newFromFile || !functions->intrinsicSize || !functions->renderDocument) {
        CVBLog("Artwork: %s lacks the functions needed; SVG pictures are not drawn", kLibraryName);
        ::dlclose(handle);
        return nullptr;
    }
    return std::unique_ptr<SvgLibrary>(new SvgLibrary(handle, std::move(functions)));
}

SvgLibrary::SvgLibrary(void* handle, std::unique_ptr<Functions> functions)
    : handle_(handle)
    , functions_(std::move(functions)) {}

SvgLibrary::~SvgLibrary() {
    ::dlclose(handle_);
}

std::shared_ptr<const Image> SvgLibrary::render(const std::filesystem::path& file, double scale,
                                                std::string& why) const {
    GErrorHolder error;
    const auto handle =
        GObjectRef<RsvgHandle>::adopt(functions_->newFromFile(file.c_str(), error.out()));
    if (!handle) {
        why = error.message();
        return nullptr;
    }
    gdouble width = 0;
    gdouble height = 0;
    if (!functions_->intrinsicSize(handle.get(), &width, &height)) {
        why = "no size";
        return nullptr;
    }
    auto rendered = std::make_shared<Image>(width, height, scale);
    const CairoContext cr(cairo_create(rendered->cairoSurface()));
    const RsvgRectangle viewport{0, 0, width * scale, height * scale};
    if (!functions_->renderDocument(handle.get(), cr.get(), &viewport, error.out())) {
        why = error.message();
        return nullptr;
    }
    return rendered;
}

} // namespace corvane
