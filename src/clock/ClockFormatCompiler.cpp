#include "clock/ClockFormatCompiler.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace corvane {

namespace {

constexpr int kMaximumLines = 2;

bool startsWith(std::string_view s, std::string_view prefix) {
    return s.substr(0, prefix.size()) == prefix;
}

void replaceAll(std::string& s, std::string_view from, std::string_view to) {
    for (std::size_t at = s.find(from); at != std::string::npos; at = s.find(from, at + to.size()))
        s.replace(at, from.size(), to);
}

bool hasLetter(std::string_view s) {
    return std::any_of(s.begin(), s.end(), [](unsigned char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    });
}

// Literal text of a component: the inside of a quoted one, or a component without pattern
// letters (the stored defaults write the separator ":" bare; ICU reads it as literal anyway).
std::optional<std::string> literalText(std::string_view component) {
    if (component.size() >= 2 && component.front() == '\'' && component.back() == '\'')
        return std::string(component.substr(1, component.size() - 2));
    if (!component.empty() && component.front() != '\'' && !hasLetter(component))
        return std::string(component);
    return std::nullopt;
}

// Walks one line's components with the pattern buffer of the rules.
class LineCompiler {
public:
    LineCompiler(const ClockCompileOptions& options, bool twoLines, CompiledClock& clock,
                 ClockLocation& location)
        : options_(options)
        , twoLines_(twoLines)
        , clock_(clock)
        , location_(location) {}

    std::vector<ClockSegment> compile(const Value& components) {
        bool hasMinutes = false;
        for (const Value& c : components.arrayItems())
            hasMinutes = hasMinutes || c.stringValue() == "m" || c.stringValue() == "mm";
        hasMinutes_ = hasMinutes;
        for (const Value& c : components.arrayItems())
            add(c.stringValue());
        flush();
        for (ClockSegment& s : segments_)
            if (s.kind == ClockSegment::Kind::Pattern)
                replaceAll(s.text, "''", "");
        std::erase_if(segments_, [](const ClockSegment& s) { return s.text.empty(); });
        return std::move(segments_);
    }

private:
    void add(const std::string& c) {
        if (c.empty())
            return;
        if (c == "ss") {
            flush();
            segments_.push_back({ClockSegment::Kind::Seconds, c});
        } else if (c == "w") {
            buffer_ += "'__WEEKNUMBER__'";
        } else if (isClockToken(c)) {
            buffer_ += "'" + c + "'";
        } else if (isClockIcon(c)) {
            if (twoLines_) {
                location_.icons.push_back(c);
            } else {
                flush();
                segments_.push_back({ClockSegment::Kind::Icon, c});
            }
        } else if (auto literal = literalText(c)) {
            addLiteral(*literal);
        } else {
            addField(c);
        }
    }

    void addLiteral(std::string text) {
        if (options_.flashSeparators && (text == ":" || text == ".")) {
            std::string segment = "'" + text + "'";
            if (!buffer_.empty() &&
                std::string_view("Hhm").find(buffer_.back()) != std::string::npos) {
                segment = text == ":" ? "'__COLON__'" : "'__DOT__'";
                const double width = options_.measure ? options_.measure(text, twoLines_) : 0;
                clock_.separatorWidths[segment] = static_cast<int>(std::ceil(width));
            }
            flush();
            segments_.push_back({ClockSegment::Kind::Pattern, segment});
            return;
        }
        replaceAll(text, "'", "__SQ__");
        buffer_ += "'" + text + "'";
    }

    void addField(const std::string& field) {
        if (!hasMinutes_ && (field == "h" || field == "hh" || field == "HH")) {
            if (hourSeen_) {
                appendField("mm");
                return;
            }
            hourSeen_ = true;
        }
        if (field == "aaa")
            buffer_ += "'__AMPM_LOWER__'";
        else if (field == "aa")
            buffer_ += "'__AMPM_UPPER__'";
        else if (field == "a")
            buffer_ += "'__AMPM_DEFAULT__'";
        else
            appendField(field);
    }

    // Two fields of one letter side by side would read as one longer field.
    void appendField(const std::string& field) {
        if (!buffer_.empty() && buffer_.back() == field.front()) {
            replaceAll(buffer_, "''", "");
            flush();
        }
        buffer_ += field;
    }

    void flush() {
        if (!buffer_.empty())
            segments_.push_back({ClockSegment::Kind::Pattern, std::move(buffer_)});
        buffer_.clear();
    }

    const ClockCompileOptions& options_;
    bool twoLines_;
    CompiledClock& clock_;
    ClockLocation& location_;
    bool hasMinutes_ = false;
    bool hourSeen_ = false;
    std::string buffer_;
    std::vector<ClockSegment> segments_;
};

} // namespace

bool isClockIcon(std::string_view component) {
    return startsWith(component, "___ICON");
}

bool isClockToken(std::string_view component) {
    static constexpr std::string_view kTokens[] = {"__DAY_MTWRFSU__", "__RELATIVE_DAY__",
                                                   "__RELATIVE_OFFSET__", "__DAY_SUFFIX__",
                                                   "__DAY_SUFFIX_UPPER__"};
    return startsWith(component, "FUZZY") ||
           std::find(std::begin(kTokens), std::end(kTokens), component) != std::end(kTokens);
}

int CompiledClock::separatorWidth(std::string_view segment) const {
    const auto found = separatorWidths.find(segment);
    return found == separatorWidths.end() ? -1 : found->second;
}

CompiledClock formattedLocations(const Value& locations, const ClockCompileOptions& options) {
    CompiledClock clock;
    for (const Value& record : locations.arrayItems()) {
        if (!record.isDictionary())
            continue;
        ClockLocation location;
        location.twoLines = record["lines"].integerValue() == 2;
        const auto& formats = record["format"].arrayItems();
        const std::size_t count =
            std::min<std::size_t>(formats.size(), location.twoLines ? kMaximumLines : 1);
        for (std::size_t line = 0; line < count; ++line) {
            LineCompiler compiler(options, location.twoLines, clock, location);
            const char* zoneKey = line == 0 ? "timezone" : "timezone-2";
            location.lines.push_back(
                {record[zoneKey].stringValue(), compiler.compile(formats[line])});
        }
        clock.locations.push_back(std::move(location));
    }
    return clock;
}

} // namespace corvane
