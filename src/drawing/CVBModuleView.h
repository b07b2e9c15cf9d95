#pragma once

#include "drawing/DrawingContext.h"
#include "drawing/Image.h"
#include "drawing/Path.h"
#include "drawing/Surface.h"
#include "drawing/TextAttributes.h"
#include "drawing/TextCache.h"
#include "foundation/Color.h"
#include "foundation/Value.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// One layer of a graph: its colour and its share from 0 to 1.
struct GraphComponent {
    Color color;
    double percentage = 0;
};

// What a history graph draws: columns of samples, newest first, one value 0 to 1 per layer.
struct HistoryGraph {
    int width = 0;
    std::vector<Color> colors;
    std::vector<std::vector<double>> samples;
    bool showBackground = true;
    std::vector<bool> flip;   // per layer; empty means none flipped
    std::vector<Rect> frames; // per layer; only y and height count; empty means the box
    bool strokeOnly = false;
};

// The base of the views that draw a panel item. Each drawing operation starts at an integer x
// offset and answers the width it used; an item's width is their sum.
class CVBModuleView {
public:
    static constexpr int kMaximumColumns = 602;

    // The context it reads its settings from until the host gives another.
    explicit CVBModuleView(const DrawingContext& context);
    virtual ~CVBModuleView();
    CVBModuleView(const CVBModuleView&) = delete;
    CVBModuleView& operator=(const CVBModuleView&) = delete;

    // The surface the next operations draw on; the host sets it before each draw.
    void setSurface(Surface* surface) { surface_ = surface; }
    Surface& surface() const { return *surface_; }
    // The host's context for the next frame; a change of look starts the caches afresh.
    void setContext(const DrawingContext& context);
    const DrawingContext& context() const { return context_; }
    // Points the last whole drawing took, so that the next picture is made at that size; 0
    // before the first.
    double lastWidth() const { return lastWidth_; }
    void setLastWidth(double width) { lastWidth_ = width; }

    virtual void loadConfig() {}
    virtual void update() {}
    virtual int drawAtOffset(int offset) { return offset * 0; }
    virtual double size() const { return 1.0; }

    // Graph geometry: "MenubarGraphSize" 1 is the small set.
    int graphHeight() const;
    int graphOffset() const;
    int graphFillHeight() const;
    // The opacity of graph backgrounds, by panel and theme.
    double alpha() const;
    Color strokeColor() const;
    // A graph's empty box in the panel's colour; with `fill`, filled in the stroke colour.
    void drawBackgroundPath(const Path& path, bool fill);

    int drawHistoryGraph(const HistoryGraph& graph, int offset);
    int drawCombinedVerticalGraph(const std::vector<std::vector<GraphComponent>>& cores,
                                  int offset);
    int drawVerticalGraphWithPecentage(double percentage, const Color& color, int offset);
    int drawVerticalGraphWithComponents(const std::vector<GraphComponent>& components, int offset);
    int drawPieGraphWithPecentage(double percentage, const Color& color, int offset);
    int drawPieGraphWithComponents(const std::vector<GraphComponent>& components, int offset);
    int drawCircularGraphWithComponents(const std::vector<GraphComponent>& components, int offset);
    int drawDot(bool filled, const Color& color, Point at, bool flatten);
    // Direction 1 points up, anything else down.
    int drawArrow(bool filled, int direction, const Color& color, Point at, bool flatten);

    // A tinted picture from the artwork at (offset, 2); answers its width + 5.
    int drawLabel(const std::string& image, const std::string& colorKey, int offset);

    // Text in the strip: large text in a rectangle 22 high at the offset its size needs,
    // small text in one 12 high; the condensed face stands as the regular one does. Each
    // answers its width + 4.
    int drawLargeText(std::string_view text, const TextAttributes& attributes, int offset);
    int drawLargeText(std::string_view text, const TextAttributes& attributes, const Rect& rect);
    int drawSmallText(std::string_view text, const TextAttributes& attributes, Point at);
    int drawSmallText(std::string_view text, const TextAttributes& attributes, const Rect& frame);
    int sizeLargeText(std::string_view text, const TextAttributes& attributes) const;
    int sizeSmallText(std::string_view text, const TextAttributes& attributes) const;
    // The widest width measured so far under the key, this text's included, so that a value
    // changing each second does not make the item jitter. It never shrinks until removed.
    double stableWidth(const std::string& key, std::string_view text,
                       const TextAttributes& attributes);

    // Battery outlines over a fill of `percentage` (0 to 100) in the colour of `colorKey` (empty:
    // the panel's colour); the state's symbol is cut out of the fill where icons show.
    int drawBatteryVerticalGraph(double percentage, const std::string& colorKey, std::int64_t state,
                                 int offset);
    int drawBatteryHorizontalGraph(double percentage, const std::string& colorKey,
                                   std::int64_t state, int offset);
    // The plain vertical graph of a fraction in the stored colour of the key.
    int drawBatteryStandardVerticalGraph(const std::string& colorKey, double value, int offset);

    // The attributes of a text style of `config`, built once and kept until resetCache.
    const TextAttributes& textAttributes(const std::string& style);
    const TextAttributes& smallTextAttributes(const std::string& style);
    const TextAttributes& percentageAttributes(const std::string& style);

    void resetCache();

    bool switchUnits = false;
    bool ready = false;
    bool isMenuDown = false;
    Value config = Value::dict();

protected:
    // Adds a view class's own styles and settings to `config`, keeping what is there.
    void mergeConfig(const Value& table);
    // The item's width from the sum of its elements: the gap after the last one goes.
    static int itemWidth(int total) { return total > 0 ? total - 4 : total; }
    // Texts of the selected look are kept apart from the plain ones.
    bool selectedLook() const;

    // The colour a graph fills with: white while the menu is open in the older look.
    Color highlighted(const Color& color) const;
    // Artwork in the stored colour of `colorKey`, else the host's foreground.
    std::shared_ptr<const Image> tintedArtwork(const std::string& name,
                                               const std::string& colorKey = {});
    // A stored background picture, made on first use unless the config forbids keeping it.
    const Image& background(const std::string& key, double width,
                            void (CVBModuleView::*make)(Surface&, double));

private:
    void historyBackground(Surface& s, double width);
    void pieBackground(Surface& s, double width);
    void circularBackground(Surface& s, double width);
    void drawBackground(const std::string& key, double width, int offset,
                        void (CVBModuleView::*make)(Surface&, double));
    struct BatteryShape;
    int drawBatteryGraph(const BatteryShape& shape, double percentage, const std::string& colorKey,
                         std::int64_t state, int offset);
    const TextAttributes& cachedAttributes(const std::string& key, const std::string& style,
                                           TextAttributes (*build)(const DrawingContext&,
                                                                   const Value&, bool));
    bool smallGraphs() const;

    DrawingContext context_;
    double lastWidth_ = 0;
    Surface* surface_ = nullptr;
    std::map<std::string, std::shared_ptr<Image>> imageCache_;
    std::shared_ptr<Image> uncached_;
    std::map<std::string, TextAttributes> textCache_;
    mutable TextCache laidOutText_;
};

} // namespace corvane
