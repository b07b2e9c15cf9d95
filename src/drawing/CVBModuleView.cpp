#include "drawing/CVBModuleView.h"

#include "drawing/Artwork.h"
#include "drawing/GraphColors.h"
#include "drawing/ModuleText.h"
#include "preferences/CVBPreferences.h"

#include <algorithm>
#include <cmath>

namespace corvane {

namespace {

double finiteOr0(double v) {
    return std::isfinite(v) ? v : 0.0;
}

} // namespace

CVBModuleView::CVBModuleView(const DrawingContext& context)
    : context_(context) {}
CVBModuleView::~CVBModuleView() = default;

bool CVBModuleView::smallGraphs() const {
    return context_.integer("MenubarGraphSize") == 1;
}

int CVBModuleView::graphHeight() const {
    return smallGraphs() ? 16 : 18;
}
int CVBModuleView::graphOffset() const {
    return smallGraphs() ? 3 : 2;
}
int CVBModuleView::graphFillHeight() const {
    return smallGraphs() ? 14 : 16;
}

double CVBModuleView::alpha() const {
    const bool modern = context_.modern;
    if (context_.dark)
        return context_.number(modern ? "MenubarGraphOpacity-Dark-Modern"
                                      : "MenubarGraphOpacity-Dark");
    if (context_.integer("MenubarTheme") == 1)
        return 1.0;
    return context_.number(modern ? "MenubarGraphOpacity-Modern" : "MenubarGraphOpacity");
}

Color CVBModuleView::strokeColor() const {
    const bool dark = context_.dark;
    const bool modern = context_.modern;
    if (dark && !modern)
        return {1, 1, 1, 0.502};
    if (!dark && context_.integer("MenubarTheme") == 1)
        return Color::gray(0.1);
    if (!dark && !modern)
        return {0, 0, 0, 0.4};
    return context_.foreground;
}

void CVBModuleView::drawBackgroundPath(const Path& path, bool fill) {
    Surface& s = surface();
    s.save();
    s.clipToPath(path);
    if (!context_.dark && context_.integer("MenubarTheme") == 1) {
        // The shaded theme: a dark gradient and no outline.
        s.fillPathWithGradient(path, Color::gray(0.1), Color::gray(0.14), -90);
    } else {
        const Color stroke = strokeColor();
        if (fill)
            s.fillPath(path, stroke);
        s.strokePath(path, stroke, 1.6);
    }
    s.restore();
}

Color CVBModuleView::highlighted(const Color& color) const {
    if (context_.integer("MenubarTheme") == 0 && isMenuDown && !context_.modern)
        return Color::white();
    return color;
}

void CVBModuleView::historyBackground(Surface& s, double width) {
    Surface* previous = surface_;
    surface_ = &s;
    drawBackgroundPath(Path::roundedRect({0, static_cast<double>(graphOffset()), width,
                                          static_cast<double>(graphHeight())},
                                         1.5, 1.5),
                       false);
    surface_ = previous;
}

void CVBModuleView::pieBackground(Surface& s, double) {
    Surface* previous = surface_;
    surface_ = &s;
    const double h = graphHeight();
    drawBackgroundPath(Path::oval({0, static_cast<double>(graphOffset()), h, h}), false);
    surface_ = previous;
}

void CVBModuleView::circularBackground(Surface& s, double width) {
    pieBackground(s, width);
    const bool small = smallGraphs();
    Image hole(graphHeight(), Surface::kStripHeight, s.scaleFactor());
    const double d = small ? 8 : 10;
    Surface(hole).fillOval({4, small ? 7.0 : 6.0, d, d}, Color::black());
    s.drawImage(hole, {0, 0}, 1.0, Compositing::DestinationOut);
}

const Image& CVBModuleView::background(const std::string& key, double width,
                                       void (CVBModuleView::*make)(Surface&, double)) {
    const bool keep = !config.contains("disable-background-cache");
    if (keep) {
        if (auto it = imageCache_.find(key); it != imageCache_.end())
            return *it->second;
    }
    auto image = std::make_shared<Image>(width, Surface::kStripHeight, surface().scaleFactor());
    {
        Surface s(*image);
        (this->*make)(s, width);
    }
    if (keep)
        return *(imageCache_[key] = image);
    uncached_ = image;
    return *uncached_;
}

void CVBModuleView::drawBackground(const std::string& key, double width, int offset,
                                   void (CVBModuleView::*make)(Surface&, double)) {
    const Image& image = background(key, width, make);
    surface().drawImage(image, {static_cast<double>(offset), 0}, alpha());
}

int CVBModuleView::drawHistoryGraph(const HistoryGraph& graph, int offset) {
    const int width = std::clamp(graph.width, 1, kMaximumColumns);
    if (graph.showBackground)
        drawBackground("background-cache-history-" + std::to_string(width), width, offset,
                       &CVBModuleView::historyBackground);
    Surface& s = surface();
    for (std::size_t layer = 0; layer < graph.colors.size(); ++layer) {
        const bool flip = layer < graph.flip.size() && graph.flip[layer];
        double y = graphOffset() + 1;
        double h = graphFillHeight();
        if (layer < graph.frames.size()) {
            y = graph.frames[layer].y;
            h = graph.frames[layer].height;
        }
        s.save();
        s.clipToRect({offset + 1.0, y, width - 2.0, h});
        const double baseline = static_cast<float>(flip ? y + h : y);
        Path path;
        path.moveTo({offset + 1.0, y});
        int column = 0;
        for (int j = width - 2; j >= 0; --j, ++column) {
            const bool exists = j < static_cast<int>(graph.samples.size()) &&
                                layer < graph.samples[static_cast<std::size_t>(j)].size();
            const double value = exists ? graph.samples[static_cast<std::size_t>(j)][layer] : 0.0;
            double v = h * finiteOr0(value);
            // A sample of zero still shows as one point.
            if (v < 1 && exists)
                v = 1;
            path.lineTo({offset + 1.0 + column, flip ? baseline - v : baseline + v});
        }
        path.lineTo({static_cast<double>(offset + width), baseline})
            .lineTo({offset + 1.0, baseline})
            .close();
        const Color color = highlighted(graph.colors[layer]);
        if (graph.strokeOnly)
            s.strokePath(path, color, 1.0);
        else
            s.fillPath(path, color);
        s.restore();
    }
    return graph.width + 4;
}

int CVBModuleView::drawVerticalGraphWithPecentage(double percentage, const Color& color,
                                                  int offset) {
    return drawVerticalGraphWithComponents({{color, percentage}}, offset);
}

int CVBModuleView::drawVerticalGraphWithComponents(const std::vector<GraphComponent>& components,
                                                   int offset) {
    drawBackground("background-cache-vertical", 9, offset, &CVBModuleView::historyBackground);
    Surface& s = surface();
    s.save();
    s.clipToRect({offset + 1.0, graphOffset() + 1.0, 7, static_cast<double>(graphFillHeight())});
    for (const auto& c : components) {
        const double p = finiteOr0(c.percentage);
        double height = std::floor(static_cast<float>(graphFillHeight()) * static_cast<float>(p));
        if (height == 0 && p > 0)
            height = 1;
        s.fillRect({offset + 1.0, graphOffset() + 1.0, 7, height}, highlighted(c.color));
    }
    s.restore();
    return 13;
}

int CVBModuleView::drawCombinedVerticalGraph(const std::vector<std::vector<GraphComponent>>& cores,
                                             int offset) {
    const int n = static_cast<int>(cores.size());
    const int width = 6 * n + 1;
    drawBackground("background-cache-history-" + std::to_string(width), width, offset,
                   &CVBModuleView::historyBackground);
    const bool small = smallGraphs();
    const double fill = small ? 14 : 16;
    for (int c = 0; c < n; ++c) {
        for (const auto& component : cores[static_cast<std::size_t>(c)]) {
            const double p = finiteOr0(component.percentage);
            double height = std::floor(static_cast<float>(fill) * static_cast<float>(p));
            if (height == 0 && p > 0)
                height = 1;
            surface().fillRect({offset + 1.0 + 6 * c, small ? 4.0 : 3.0, 5, height},
                               highlighted(component.color));
        }
    }
    return 6 * n + 5;
}

int CVBModuleView::drawPieGraphWithPecentage(double percentage, const Color& color, int offset) {
    return drawPieGraphWithComponents({{color, percentage}}, offset);
}

int CVBModuleView::drawPieGraphWithComponents(const std::vector<GraphComponent>& components,
                                              int offset) {
    drawBackground("background-cache-pie", graphHeight(), offset, &CVBModuleView::pieBackground);
    const bool sixteen = graphHeight() == 16;
    const Point centre{offset + (sixteen ? 8.0 : 9.0), 11};
    const double radius = sixteen ? 7 : 8;
    for (const auto& c : components) {
        const double p = finiteOr0(c.percentage);
        const double a = std::min(std::ceil(p * 360), 359.0);
        if (a <= 0)
            continue;
        // A wedge from twelve o'clock growing clockwise; a full value leaves a sliver. The arc
        // is drawn in steps of at most 3 degrees, finer than a pixel at this radius.
        Path wedge;
        const int steps = std::max(2, static_cast<int>(std::ceil(a / 3)));
        wedge.moveTo(centre);
        for (int i = 0; i <= steps; ++i) {
            const double degrees = 90 - a * i / steps;
            const double radians = degrees * M_PI / 180;
            wedge.lineTo(
                {centre.x + radius * std::cos(radians), centre.y + radius * std::sin(radians)});
        }
        wedge.close();
        surface().fillPath(wedge, highlighted(c.color));
    }
    return graphHeight() + 4;
}

int CVBModuleView::drawCircularGraphWithComponents(const std::vector<GraphComponent>& components,
                                                   int offset) {
    drawBackground("background-cache-circular", graphHeight(), offset,
                   &CVBModuleView::circularBackground);
    const double h = graphHeight();
    Image ring(h, h, surface().scaleFactor());
    {
        Surface s(ring);
        for (const auto& c : components) {
            const double p = finiteOr0(c.percentage);
            s.save();
            s.translate(0, h);
            s.scale(1, -1);
            s.translate(h / 2, h / 2);
            s.rotate(-0.785 * 180 / M_PI);
            s.translate(-h / 2, -h / 2);
            // The dash's length is the arc: 50 points go once round the ring.
            s.strokePath(Path::oval({2, 2, graphFillHeight() - 2.0, graphFillHeight() - 2.0}),
                         highlighted(c.color), 2.0, {p * 50, 400}, 1.0);
            s.restore();
        }
    }
    surface().drawImage(ring, {static_cast<double>(offset), h == 16 ? 3.0 : 2.0});
    return graphHeight() + 4;
}

int CVBModuleView::drawDot(bool filled, const Color& color, Point at, bool) {
    const Path dot = Path::oval({at.x, at.y + 1, 7, 7});
    if (filled)
        surface().fillPath(dot, highlighted(color));
    else
        drawBackgroundPath(dot, false);
    return 11;
}

int CVBModuleView::drawArrow(bool filled, int direction, const Color& color, Point at, bool) {
    Path arrow;
    if (direction == 1)
        arrow.moveTo({at.x, at.y + 1}).lineTo({at.x + 3.5, at.y + 8}).lineTo({at.x + 7, at.y + 1});
    else
        arrow.moveTo({at.x, at.y + 8}).lineTo({at.x + 3.5, at.y + 1}).lineTo({at.x + 7, at.y + 8});
    arrow.close();
    if (filled)
        surface().fillPath(arrow, highlighted(color));
    else
        drawBackgroundPath(arrow, false);
    return 11;
}

namespace {

// The condensed offsets and the taller box of small condensed text make up for a condensed
// face whose vertical metrics differ from the regular face's. Ours has the regular face's
// metrics, so it stands where regular text does; the other placement lifts it up to 4 points
// and cuts its top at sizes 15 and 16.
double verticalOffset(const TextAttributes& a) {
    return CVBPreferences::verticalOffsetForFontSize(static_cast<std::int64_t>(a.size));
}

} // namespace

int CVBModuleView::sizeLargeText(std::string_view text, const TextAttributes& attributes) const {
    return static_cast<int>(std::ceil(laidOutText_.width(text, attributes, surface())));
}

int CVBModuleView::sizeSmallText(std::string_view text, const TextAttributes& attributes) const {
    return sizeLargeText(text, attributes);
}

int CVBModuleView::drawLargeText(std::string_view text, const TextAttributes& attributes,
                                 int offset) {
    const int width = sizeLargeText(text, attributes);
    laidOutText_.draw(text,
                      {static_cast<double>(offset), verticalOffset(attributes),
                       static_cast<double>(width), Surface::kStripHeight},
                      attributes, surface());
    return width + 4;
}

int CVBModuleView::drawLargeText(std::string_view text, const TextAttributes& attributes,
                                 const Rect& rect) {
    laidOutText_.draw(text, {rect.x, verticalOffset(attributes), rect.width, Surface::kStripHeight},
                      attributes, surface());
    return static_cast<int>(rect.width) + 4;
}

int CVBModuleView::drawSmallText(std::string_view text, const TextAttributes& attributes,
                                 Point at) {
    const int width = sizeSmallText(text, attributes);
    drawSmallText(text, attributes, Rect{at.x, at.y, static_cast<double>(width), 12});
    return width + 4;
}

int CVBModuleView::drawSmallText(std::string_view text, const TextAttributes& attributes,
                                 const Rect& frame) {
    laidOutText_.draw(text, Rect{frame.x, frame.y, frame.width, 12}, attributes, surface());
    return static_cast<int>(frame.width) + 4;
}

double CVBModuleView::stableWidth(const std::string& key, std::string_view text,
                                  const TextAttributes& attributes) {
    const double widest = std::max(config[key].doubleValue(),
                                   std::ceil(laidOutText_.width(text, attributes, surface())));
    config.set(key, widest);
    return widest;
}

int CVBModuleView::drawLabel(const std::string& image, const std::string& colorKey, int offset) {
    const auto tinted = tintedArtwork(image, context_.dark ? colorKey + "-Dark" : colorKey);
    if (!tinted)
        return 0;
    surface().drawImage(*tinted, {static_cast<double>(offset), 2});
    return static_cast<int>(tinted->size().width + 5);
}

struct CVBModuleView::BatteryShape {
    Size image;
    bool vertical;
    double longestFill; // the fill's extent at 100 percent
    const char* name;
    int width;
};

int CVBModuleView::drawBatteryVerticalGraph(double percentage, const std::string& colorKey,
                                            std::int64_t state, int offset) {
    static const BatteryShape shape{{18, 26}, true, 14, "menubar-battery-vertical", 22};
    return drawBatteryGraph(shape, percentage, colorKey, state, offset);
}

int CVBModuleView::drawBatteryHorizontalGraph(double percentage, const std::string& colorKey,
                                              std::int64_t state, int offset) {
    static const BatteryShape shape{{26, 18}, false, 19, "menubar-battery-horizontal", 30};
    return drawBatteryGraph(shape, percentage, colorKey, state, offset);
}

namespace {

// The symbol a battery's state puts over its fill; none while it simply drains.
const char* stateSymbol(std::int64_t state) {
    switch (state) {
    case 0:
        return "-charged";
    case 1:
        return "-charging";
    case 3:
    case 5:
        return "-paused";
    default:
        return nullptr;
    }
}

} // namespace

int CVBModuleView::drawBatteryGraph(const BatteryShape& shape, double percentage,
                                    const std::string& colorKey, std::int64_t state, int offset) {
    const double scale = surface().scaleFactor();
    const double extent = std::clamp(std::floor(static_cast<float>(finiteOr0(percentage)) / 100.0F *
                                                static_cast<float>(shape.longestFill)),
                                     1.0F, static_cast<float>(shape.longestFill));
    Color fill = colorKey.empty() ? context_.foreground : context_.color(colorKey);
    if (selectedLook())
        fill = Color::white();
    Image picture(shape.image.width, shape.image.height, scale);
    {
        Surface s(picture);
        const Rect level = shape.vertical ? Rect{2, 2, 8, extent} : Rect{2, 5, extent, 8};
        const Path body = Path::roundedRect(level, 1, 1);
        s.save();
        s.clipToPath(body);
        s.fillPath(body, fill);
        s.restore();
        const char* symbol = colorKey.empty() || context_.boolean("Battery_ColorGraphShowIcons")
                                 ? stateSymbol(state)
                                 : nullptr;
        std::string outline = shape.name;
        if (symbol) {
            outline += symbol;
            if (auto mask = context_.artwork->artwork().imageNamed(outline + "-mask", scale))
                s.drawImage(*mask, {0, 0}, 1.0, Compositing::DestinationOut);
        }
        if (auto art = tintedArtwork(outline))
            s.drawImage(*art, {0, 0});
    }
    surface().drawImage(picture, {static_cast<double>(offset), 2});
    return shape.width;
}

int CVBModuleView::drawBatteryStandardVerticalGraph(const std::string& colorKey, double value,
                                                    int offset) {
    return drawVerticalGraphWithPecentage(value, fillColorForGraph2(context_, colorKey, -1),
                                          offset);
}

bool CVBModuleView::selectedLook() const {
    return isMenuDown && !context_.modern;
}

const TextAttributes& CVBModuleView::cachedAttributes(const std::string& key,
                                                      const std::string& style,
                                                      TextAttributes (*build)(const DrawingContext&,
                                                                              const Value&, bool)) {
    const bool selected = selectedLook();
    const std::string cacheKey = key + (selected ? "-selected-" : "-") + style;
    auto it = textCache_.find(cacheKey);
    if (it == textCache_.end())
        it = textCache_.emplace(cacheKey, build(context_, config[style], selected)).first;
    return it->second;
}

const TextAttributes& CVBModuleView::textAttributes(const std::string& style) {
    return cachedAttributes("text-attributes", style, &ModuleText::textAttributes);
}

const TextAttributes& CVBModuleView::smallTextAttributes(const std::string& style) {
    return cachedAttributes("small-text-attributes", style, &ModuleText::smallTextAttributes);
}

const TextAttributes& CVBModuleView::percentageAttributes(const std::string& style) {
    return cachedAttributes("percentage-attributes", style, &ModuleText::percentageAttributes);
}

void CVBModuleView::mergeConfig(const Value& table) {
    for (const auto& [key, value] : table.dictionaryItems()) {
        if (!config.contains(key))
            config.set(key, value);
    }
}

void CVBModuleView::setContext(const DrawingContext& context) {
    // Text styles and backgrounds made for another look or settings are in the wrong colours.
    const bool changed = context.dark != context_.dark || context.modern != context_.modern ||
                         context.foreground != context_.foreground ||
                         context.preferences != context_.preferences;
    context_ = context;
    if (changed)
        resetCache();
}

std::shared_ptr<const Image> CVBModuleView::tintedArtwork(const std::string& name,
                                                          const std::string& colorKey) {
    Color tint = context_.foreground;
    if (!colorKey.empty() && !context_.object(colorKey).isNull())
        tint = context_.color(colorKey);
    if (isMenuDown && !context_.modern)
        tint = Color::white();
    return context_.artwork->tintedImage(name, tint, surface().scaleFactor());
}

void CVBModuleView::resetCache() {
    imageCache_.clear();
    uncached_.reset();
    textCache_.clear();
    laidOutText_.clear();
}

} // namespace corvane
