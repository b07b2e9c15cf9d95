#include "drawing/CVBTimeMenuExtraView.h"

#include "clock/CVBDateAndTimeUtilities.h"
#include "clock/ClockTokens.h"
#include "drawing/Artwork.h"
#include "drawing/ModuleText.h"
#include "foundation/MainQueue.h"
#include "preferences/CVBPreferences.h"
#include "preferences/SystemFacts.h"
#include "sky/MoonPhase.h"
#include "sky/MoonPhaseImage.h"
#include "text/TextContext.h"

#include <algorithm>
#include <cairo.h>
#include <cmath>

namespace corvane {

namespace {

constexpr int kGap = 4;
constexpr int kClockIconWidth = 16;
constexpr int kCalendarWidth = 17;

struct CalendarColour {
    const char* icon;
    Color color;
};

const CalendarColour kCalendarColours[] = {
    {"___ICON__RED___", {1, 0.254, 0.254, 1}},
    {"___ICON__BLUE___", {0.098, 0.58, 0.941, 1}},
    // The stored name of the graphite colour is spelt so.
    {"___ICON__GEAPHITE___", {0.568, 0.639, 0.768, 1}},
    {"___ICON__GREEN___", {0.513, 0.8, 0.113, 1}},
    {"___ICON__ORANGE___", {1, 0.462, 0.168, 1}},
    {"___ICON__PINK___", {1, 0.305, 1, 1}},
    {"___ICON__BLACK___", {0.2, 0.2, 0.2, 1}},
    {"___ICON__TRANSPARENT___", {0, 0, 0, 0}},
};

const CalendarColour* calendarColour(const std::string& icon) {
    for (const CalendarColour& c : kCalendarColours)
        if (icon == c.icon)
            return &c;
    return nullptr;
}

} // namespace

// One drawing in progress: the picture of the minute (absent when it came from the cache),
// where the item starts, and where the next segment stands in draw order.
struct CVBTimeMenuExtraView::Frame {
    const TimeDrawing& data;
    int offset;
    std::unique_ptr<Image> image;
    std::unique_ptr<Surface> imageSurface;
    bool cached = false;
    std::size_t index = 0;
};

CVBTimeMenuExtraView::CVBTimeMenuExtraView(const DrawingContext& context, const Clock& clock)
    : CVBModuleView(context)
    , clock_(clock) {
    loadConfig();
    time_ = clock_.now();
}

CVBTimeMenuExtraView::~CVBTimeMenuExtraView() = default;

Value CVBTimeMenuExtraView::classConfig() {
    return Value::dict({
        {"time", ModuleText::style("Time_TextSize", "Time_TextColor", "Time_TextShadowColor",
                                   "Time_MenubarFontStyle")},
        {"time-small", ModuleText::style(nullptr, "Time_TextColor", "Time_TextShadowColor",
                                         "Time_MenubarFontStyle")},
        {"dark-clock", "menubar-clock-dark"},
        {"light-clock", "menubar-clock-light"},
    });
}

void CVBTimeMenuExtraView::loadConfig() {
    mergeConfig(classConfig());
}

void CVBTimeMenuExtraView::update() {
    time_ = fixedTime_.value_or(clock_.now());
    flashState_ = context().boolean("Time_MenubarFlashSeperators") ? 1 - flashState_ : 1;
}

double CVBTimeMenuExtraView::size() const {
    return std::max(1.0, lastWidth());
}

int CVBTimeMenuExtraView::drawAtOffset(int offset) {
    const double time = fixedTime_.value_or(time_);
    const int end =
        drawTimeAtOffset(offset, time, flashState_, context().object("Time_MenubarFormat"));
    return end - offset;
}

void CVBTimeMenuExtraView::setClockLocale(std::string localeId, std::string localZone) {
    localeOverride_ = std::move(localeId);
    localZone_ = std::move(localZone);
    utilities_.reset();
    compiled_.reset();
}

std::string CVBTimeMenuExtraView::localeId() const {
    if (!localeOverride_.empty())
        return localeOverride_;
    const TextContext text = context().text();
    const auto languages = text.translations.preferedLocalization(text.language());
    return CVBDateAndTimeUtilities::localeForLanguage(languages.empty() ? "" : languages.front(),
                                                      formatsLocaleId("LC_TIME"));
}

CVBDateAndTimeUtilities& CVBTimeMenuExtraView::utilities() {
    const std::string id = localeId();
    if (!utilities_ || id != utilitiesLocale_) {
        utilities_ = std::make_unique<CVBDateAndTimeUtilities>(
            id,
            [this](std::string_view key) {
                return HLVLocalizedString(context().text(), key, std::nullopt, "time");
            },
            localZone_);
        utilitiesLocale_ = id;
        compiled_.reset();
    }
    utilities_->setWeekNumberFormat(context().integer("Time_WeekNumberFormat"));
    return *utilities_;
}

void CVBTimeMenuExtraView::prepareTimeCache(const Value& locations) {
    const bool flashing = context().boolean("Time_MenubarFlashSeperators");
    ClockCompileOptions options{flashing, [this](std::string_view text, bool twoLines) {
                                    const TextAttributes& a =
                                        twoLines ? smallTextAttributes("time-small")
                                                 : textAttributes("time");
                                    return surface().measureText(text, a).width;
                                }};
    compiled_ = formattedLocations(locations, options);
    compiledFrom_ = locations;
    compiledFlashing_ = flashing;
    segmentOffsets_.clear();
    minuteImages_.clear();
    lastMinutes_ = -1;
}

// One view can draw for a light and a dark panel, and at two scales, within one minute (a
// preview does): each keeps its own picture.
std::string CVBTimeMenuExtraView::imageKey(int flash) const {
    return std::string("time-image-cache-") + (flash == 1 ? "on" : "off") +
           (isMenuDown ? "-down" : "") + (context().dark ? "-dark" : "") + "@" +
           std::to_string(context().scale);
}

int CVBTimeMenuExtraView::drawTimeAtOffset(int offset, double time, int flash,
                                           const Value& components) {
    return drawTimeAtOffset(offset, TimeDrawing{components, time, flash, false});
}

int CVBTimeMenuExtraView::drawTimeAtOffset(int offset, const TimeDrawing& data) {
    utilities();
    if (!compiled_ || compiledFrom_ != data.locations ||
        compiledFlashing_ != context().boolean("Time_MenubarFlashSeperators"))
        prepareTimeCache(data.locations);

    Frame frame{data, offset, nullptr, nullptr, false, 0};
    const std::string key = imageKey(data.flash);
    if (!data.noCache) {
        const auto minutes = static_cast<std::int64_t>(std::floor(data.time / 60));
        if (minutes != lastMinutes_) {
            minuteImages_.clear();
            lastMinutes_ = minutes;
        } else if (const auto found = minuteImages_.find(key); found != minuteImages_.end()) {
            surface().drawImage(*found->second, {static_cast<double>(offset), 0});
            frame.cached = true;
        }
    }
    if (!frame.cached) {
        const double width = data.noCache ? size() : extraWidth_;
        frame.image = std::make_unique<Image>(std::max(1.0, width), Surface::kStripHeight,
                                              surface().scaleFactor());
        frame.imageSurface = std::make_unique<Surface>(*frame.image);
        segmentOffsets_.clear();
    }

    int x = offset;
    bool first = true;
    for (const ClockLocation& location : compiled_->locations) {
        x = drawLocation(frame, location, first ? x : x + kGap);
        first = false;
    }
    if (frame.cached)
        return offset + static_cast<int>(minuteImages_[key]->size().width);

    const int width = x - offset;
    surface().drawImage(*frame.image, {static_cast<double>(offset), 0});
    if (!data.noCache && static_cast<int>(frame.image->size().width) == width)
        minuteImages_[key] = std::move(frame.image);
    extraWidth_ = std::max(1, width);
    return x;
}

int CVBTimeMenuExtraView::drawLocation(Frame& frame, const ClockLocation& location, int x) {
    if (location.twoLines) {
        for (const std::string& icon : location.icons) {
            if (x != frame.offset)
                x += kGap;
            if (!frame.cached) {
                segmentOffsets_.push_back(x - frame.offset);
                x += drawIcon(*frame.imageSurface, icon, x - frame.offset,
                              location.lines.empty() ? std::string() : location.lines[0].zone,
                              frame.data.time);
            }
            ++frame.index;
        }
    }
    int end = x;
    for (std::size_t line = 0; line < location.lines.size(); ++line) {
        int lineX = x;
        for (const ClockSegment& segment : location.lines[line].segments)
            lineX = drawSegment(frame, segment, location.lines[line].zone, static_cast<int>(line),
                                location.twoLines, lineX);
        end = std::max(end, lineX);
    }
    return end;
}

int CVBTimeMenuExtraView::drawSegment(Frame& frame, const ClockSegment& segment,
                                      const std::string& zone, int line, bool twoLines, int x) {
    const std::size_t index = frame.index++;
    if (frame.cached) {
        // Only the seconds change within a minute; they go where the full drawing put them.
        if (segment.kind == ClockSegment::Kind::Seconds && index < segmentOffsets_.size())
            drawText(frame, segment, zone, line, twoLines, frame.offset + segmentOffsets_[index]);
        return x;
    }
    if (segment.kind == ClockSegment::Kind::Icon) {
        if (x != frame.offset)
            x += kGap;
        segmentOffsets_.push_back(x - frame.offset);
        return x +
               drawIcon(*frame.imageSurface, segment.text, x - frame.offset, zone, frame.data.time);
    }
    segmentOffsets_.push_back(x - frame.offset);
    return x + drawText(frame, segment, zone, line, twoLines, x);
}

int CVBTimeMenuExtraView::drawText(Frame& frame, const ClockSegment& segment,
                                   const std::string& zone, int line, bool twoLines, int x) {
    const std::string text =
        segmentText(*utilities_, segment, zone, frame.data.time, frame.data.flash);
    const TextAttributes& a = twoLines ? smallTextAttributes("time-small") : textAttributes("time");
    const int stored = compiled_->separatorWidth(segment.text);
    const int width =
        stored >= 0 ? stored : static_cast<int>(std::ceil(surface().measureText(text, a).width));
    double y = 0;
    if (twoLines)
        y = line == 0 ? (a.condensed ? 8 : 10) : (a.condensed ? -1 : 1);
    else
        y = a.condensed
                ? CVBPreferences::verticalOffsetForCondensedFontSize(
                      static_cast<std::int64_t>(a.size))
                : CVBPreferences::verticalOffsetForFontSize(static_cast<std::int64_t>(a.size));
    const bool toScreen = segment.kind == ClockSegment::Kind::Seconds;
    Surface& on = toScreen ? surface() : *frame.imageSurface;
    const double at = toScreen ? x : x - frame.offset;
    on.drawText(text, {at, y, static_cast<double>(width), twoLines ? 12.0 : Surface::kStripHeight},
                a);
    ++segmentDraws_;
    return width;
}

int CVBTimeMenuExtraView::drawIcon(Surface& on, const std::string& icon, int x,
                                   const std::string& zone, double time) {
    ++segmentDraws_;
    auto& f = utilities_->formatters();
    const bool white = context().dark || isMenuDown;
    if (icon == "___ICON__CLOCK__") {
        drawClockAtOffset(
            on, x, f.field(time, zone, UCAL_HOUR_OF_DAY) + f.field(time, zone, UCAL_MINUTE) / 60.0,
            f.field(time, zone, UCAL_MINUTE));
        return kClockIconWidth;
    }
    if (icon == "___ICON__MOON__") {
        drawMoon(on, x, time);
        return kClockIconWidth;
    }
    if (calendarColour(icon)) {
        drawCalendarAtPoint(on, x, icon, f.field(time, zone, UCAL_DAY_OF_MONTH), white);
        return kCalendarWidth;
    }
    --segmentDraws_;
    return 0;
}

// Hands turn clockwise from twelve: -30 degrees an hour, -6 a minute, about the face's centre.
void CVBTimeMenuExtraView::drawClockAtOffset(Surface& on, int x, double hours, double minutes) {
    const bool white = context().dark || isMenuDown;
    const std::string face = config[white ? "light-clock" : "dark-clock"].stringValue();
    if (auto art = context().artwork->artwork().imageNamed(face, on.scaleFactor()))
        on.drawImage(*art, {static_cast<double>(x), 3});
    const Point centre{x + 8.0, 3 + 8.0};
    const Color hand = white ? Color::white() : context().foreground;
    const auto drawHand = [&](double degrees, double length, double width) {
        const double radians = (90.0 + degrees) * M_PI / 180.0;
        Path path;
        path.moveTo(centre).lineTo(
            {centre.x + length * std::cos(radians), centre.y + length * std::sin(radians)});
        on.strokePath(path, hand, width);
    };
    drawHand(-30.0 * hours, 3.8, 1.5);
    drawHand(-6.0 * minutes, 5.6, 1.0);
}

void CVBTimeMenuExtraView::drawCalendarAtPoint(Surface& on, int x, const std::string& icon, int day,
                                               bool white) {
    const bool transparent = icon == "___ICON__TRANSPARENT___";
    const std::string name = !transparent ? "menubar-date"
                             : white      ? "menubar-date-transparent-white"
                                          : "menubar-date-transparent";
    const double left = std::round(x);
    if (auto art = context().artwork->artwork().imageNamed(name, on.scaleFactor()))
        on.drawImage(*art, {left, 2});
    // The header: the top of the leaf above y + 13, in the icon's colour.
    if (!transparent) {
        const CalendarColour* colour = calendarColour(icon);
        on.save();
        on.clipToPath(Path::roundedRect({left + 0.5, 2.5, 16, 16}, 2.5, 2.5));
        on.fillRect({left, 2 + 13, 17, 4}, colour->color);
        on.restore();
    }
    TextAttributes a;
    a.family = TextAttributes::kCondensedFont;
    a.size = 9;
    a.weight = 700;
    a.alignment = TextAlignment::Centre;
    a.color = transparent ? (white ? Color::white() : Color::black()) : Color{0.15, 0.15, 0.15, 1};
    on.drawText(std::to_string(day), {left, 2.5, 17, 12}, a);
}

// The moon of the moment: a faint disc with its lit part over it, as the phase engine gives it.
void CVBTimeMenuExtraView::drawMoon(Surface& on, int x, double time) {
    const CurrentPhase phase = currentPhase(Date{time});
    const MoonPhaseImageLayout layout = currentSmallMoonImageLayout();
    const MoonPhaseGeometry g =
        moonPhaseGeometry(layout.size, layout.range, phase.age, phase.illumination, 0);
    const bool white = context().dark || isMenuDown;
    const Color lit = white ? Color::white() : context().foreground;
    const Rect disc{x + g.centre.x - g.clipRadius, 3 + g.centre.y - g.clipRadius, 2 * g.clipRadius,
                    2 * g.clipRadius};
    on.fillOval(disc, Color{lit.red, lit.green, lit.blue, 0.25});
    on.save();
    on.translate(x, 3);
    Path lighted = Path::oval(
        {g.centre.x - g.clipRadius, g.centre.y - g.clipRadius, 2 * g.clipRadius, 2 * g.clipRadius});
    lighted.moveTo({g.start.x, g.start.y})
        .curveTo({g.control1.x, g.control1.y}, {g.control2.x, g.control2.y},
                 {g.curveEnd.x, g.curveEnd.y})
        .lineTo({g.side1.x, g.side1.y})
        .lineTo({g.side2.x, g.side2.y})
        .close();
    on.clipToPath(Path::oval({g.centre.x - g.clipRadius, g.centre.y - g.clipRadius,
                              2 * g.clipRadius, 2 * g.clipRadius}));
    cairo_set_fill_rule(on.cairo(), CAIRO_FILL_RULE_EVEN_ODD);
    on.fillPath(lighted, lit);
    cairo_set_fill_rule(on.cairo(), CAIRO_FILL_RULE_WINDING);
    on.restore();
}

} // namespace corvane
