#pragma once

#include <cairo.h>
#include <memory>
#include <pango/pangocairo.h>

namespace corvane {

// Owners of the Cairo and Pango objects that are no GObjects, each freed by its own release
// function; GObjects and errors have theirs in foundation/GLibHandles.h.
template <class T, void (*Release)(T*)>
struct ReleaseWith {
    void operator()(T* object) const noexcept {
        if (object)
            Release(object);
    }
};

template <class T, void (*Release)(T*)>
using Owned = std::unique_ptr<T, ReleaseWith<T, Release>>;

using CairoContext = Owned<cairo_t, cairo_destroy>;
using CairoSurface = Owned<cairo_surface_t, cairo_surface_destroy>;
using CairoPattern = Owned<cairo_pattern_t, cairo_pattern_destroy>;
using CairoFontOptions = Owned<cairo_font_options_t, cairo_font_options_destroy>;
using PangoFontDescriptionPtr = Owned<PangoFontDescription, pango_font_description_free>;
using PangoAttrListPtr = Owned<PangoAttrList, pango_attr_list_unref>;

} // namespace corvane
