#pragma once

#include "clock/ClockFormatCompiler.h"
#include "drawing/CVBModuleView.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace corvane {

class CVBDateAndTimeUtilities;
class Clock;

// The menu-bar clock: each location of "Time_MenubarFormat" as one or two lines of dates,
// texts and icons. Everything but the seconds is drawn once a minute into a picture that the
// other ticks of that minute reuse.
class CVBTimeMenuExtraView : public CVBModuleView {
public:
    // The clock is not owned and must outlive the view.
    CVBTimeMenuExtraView(const DrawingContext& context, const Clock& clock);
    ~CVBTimeMenuExtraView() override;

    static Value classConfig();
    void loadConfig() override;
    // Takes the present time and toggles the flashing separators.
    void update() override;
    int drawAtOffset(int offset) override;
    double size() const override;

    // What one drawing shows: the locations, Unix seconds, the separators' flash state.
    // Without the cache everything is drawn afresh on a picture of the view's width.
    struct TimeDrawing {
        Value locations;
        double time = 0;
        int flash = 1;
        bool noCache = false;
    };
    int drawTimeAtOffset(int offset, double time, int flash, const Value& components);
    int drawTimeAtOffset(int offset, const TimeDrawing& data);
    void prepareTimeCache(const Value& locations);

    // The locale and zone the clock reads dates in; empty ids follow the language choice, the
    // formats region and the system's zone.
    void setClockLocale(std::string localeId, std::string localZone = {});
    // Shows this moment instead of the clock's, for previews and the command line.
    void setFixedTime(std::optional<double> time) { fixedTime_ = time; }
    CVBDateAndTimeUtilities& utilities();
    const CompiledClock* compiledClock() const { return compiled_ ? &*compiled_ : nullptr; }
    // Texts and icons drawn since the view was made: a tick within a cached minute adds only
    // its seconds.
    std::uint64_t segmentDrawCount() const { return segmentDraws_; }

    // Icons: 16 points for the clock and moon, 17 for a calendar, 0 for anything else.
    int drawIcon(Surface& on, const std::string& icon, int x, const std::string& zone, double time);

private:
    struct Frame;
    int drawLocation(Frame& frame, const ClockLocation& location, int x);
    int drawSegment(Frame& frame, const ClockSegment& segment, const std::string& zone, int line,
                    bool twoLines, int x);
    int drawText(Frame& frame, const ClockSegment& segment, const std::string& zone, int line,
                 bool twoLines, int x);
    void drawClockAtOffset(Surface& on, int x, double hours, double minutes);
    void drawCalendarAtPoint(Surface& on, int x, const std::string& icon, int day, bool white);
    void drawMoon(Surface& on, int x, double time);
    std::string localeId() const;
    std::string imageKey(int flash) const;

    const Clock& clock_;
    double time_ = 0;
    int flashState_ = 1;
    std::optional<double> fixedTime_;
    std::string localeOverride_;
    std::string localZone_;
    std::string utilitiesLocale_;
    std::unique_ptr<CVBDateAndTimeUtilities> utilities_;

    // The compiled clock and what it was compiled from: a change of format or of flashing
    // compiles again.
    std::optional<CompiledClock> compiled_;
    Value compiledFrom_;
    bool compiledFlashing_ = false;
    // Offsets of the segments in draw order from the item's start, for seconds drawn in place.
    std::vector<int> segmentOffsets_;
    std::map<std::string, std::shared_ptr<Image>> minuteImages_;
    std::int64_t lastMinutes_ = -1;
    int extraWidth_ = 1;
    std::uint64_t segmentDraws_ = 0;
};

} // namespace corvane
