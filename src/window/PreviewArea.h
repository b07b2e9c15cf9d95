#pragma once

#include "drawing/Image.h"
#include "engine/EngineContext.h"
#include "shell/SectionItems.h"

#include <gtkmm.h>
#include <optional>
#include <string>

namespace corvane {

class CVBCache;
class CVBPreferences;

// A section's panel item as the panel will show it, on a light and on a dark panel side by
// side, drawn by the same view as the panel's from this machine's collectors. It reads them
// and draws again each second while it is on screen, and not at all otherwise.
class PreviewArea : public Gtk::DrawingArea {
public:
    static constexpr int kGap = 12;
    static constexpr int kPadding = 6;

    PreviewArea(const std::string& section, CVBPreferences& preferences, CVBCache& artwork,
                const EngineContext& engine);
    ~PreviewArea() override;

    bool hasItem() const { return item_.has_value(); }
    // The item on one look at a scale: what `paint` puts on screen, pixel for pixel.
    std::optional<Image> picture(bool dark, double scale);
    // Both looks, the light one at the left edge, each centred in the height; the area's
    // size follows the pictures' widths.
    void paint(cairo_t* cairo, double scale);
    // One reading of the collectors and a redraw.
    void tick();

private:
    void startTicking();
    void stopTicking();

    CVBPreferences& preferences_;
    CVBCache& artwork_;
    std::optional<SectionItem> item_;
    sigc::connection timer_;
};

} // namespace corvane
