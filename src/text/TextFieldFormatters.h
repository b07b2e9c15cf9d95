#pragma once

#include "foundation/Value.h"
#include "text/TextContext.h"

#include <string>
#include <string_view>

namespace corvane {

// What a settings field shows for its value, and the value it takes back from typed text.
class TextFieldFormatter {
public:
    virtual ~TextFieldFormatter() = default;
    virtual std::string stringForObjectValue(const Value& value) const = 0;
    // Always succeeds; the typed text as it stands unless the field says otherwise.
    virtual Value getObjectValue(std::string_view text) const { return Value(text); }
};

// Quota fields: "GB" when dataFormat is 1, else "MB", directly after the number.
class DataFormatter final : public TextFieldFormatter {
public:
    explicit DataFormatter(const TextContext& text)
        : text_(text) {}
    std::int64_t dataFormat = 0;
    std::string stringForObjectValue(const Value& value) const override;

private:
    TextContext text_;
};

class PercentageFormatter final : public TextFieldFormatter {
public:
    std::string stringForObjectValue(const Value& value) const override;
};

// Degrees with the letter of "Sensors_TemperatureMode".
class TemperatureFormatter final : public TextFieldFormatter {
public:
    explicit TemperatureFormatter(const TextContext& text)
        : text_(text) {}
    std::int64_t dataType = 0;
    std::string stringForObjectValue(const Value& value) const override;

private:
    TextContext text_;
};

// Seconds between 1 and 600.
class DurationFormatter final : public TextFieldFormatter {
public:
    std::string stringForObjectValue(const Value& value) const override;
    Value getObjectValue(std::string_view text) const override;
};

} // namespace corvane
