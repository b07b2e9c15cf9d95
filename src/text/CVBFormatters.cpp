#include "text/CVBFormatters.h"

#include "foundation/Log.h"
#include "preferences/SystemFacts.h"

#include <cmath>
#include <unicode/dcfmtsym.h>
#include <unicode/decimfmt.h>
#include <unicode/locid.h>
#include <unicode/numfmt.h>
#include <unicode/unistr.h>
#include <vector>

namespace corvane {

namespace {
std::unique_ptr<CVBFormatters>& instance() {
    static std::unique_ptr<CVBFormatters> shared;
    return shared;
}
} // namespace

bool isShowable(double value) {
    constexpr double kLimit = 9223372036854775808.0; // 2^63
    return std::isfinite(value) && value > -kLimit && value < kLimit;
}

struct CVBFormatters::Impl {
    std::unique_ptr<icu::NumberFormat> decimal;
    std::unique_ptr<icu::DecimalFormat> pattern;
    // Whole numbers up to 1000 as the decimal formatter writes them without fractions: the
    // panel's percentages, asked for every second, each formatted by ICU once.
    std::vector<std::string> wholeNumbers = std::vector<std::string>(1001);

    static std::string format(icu::NumberFormat* f, double v) {
        if (!isShowable(v))
            return kNoValueText;
        if (!f)
            return std::to_string(v);
        icu::UnicodeString out;
        f->format(v, out);
        std::string utf8;
        out.toUTF8String(utf8);
        return utf8;
    }
};

// Numbers follow the formats region the desktop set (LC_NUMERIC), which may differ from the
// language of the messages that ICU's default locale follows.
CVBFormatters::CVBFormatters()
    : CVBFormatters(formatsLocaleId("LC_NUMERIC")) {}

CVBFormatters::CVBFormatters(const std::string& localeId)
    : impl_(std::make_unique<Impl>()) {
    const icu::Locale locale(localeId.c_str());
    UErrorCode status = U_ZERO_ERROR;
    impl_->decimal.reset(icu::NumberFormat::createInstance(locale, status));
    if (U_FAILURE(status)) {
        CVBLog("Number formatter unavailable: %s", u_errorName(status));
        impl_->decimal.reset();
    }
    status = U_ZERO_ERROR;
    auto pattern = std::make_unique<icu::DecimalFormat>(
        icu::UnicodeString("#,##0"), new icu::DecimalFormatSymbols(locale, status), status);
    if (U_SUCCESS(status))
        impl_->pattern = std::move(pattern);
}

CVBFormatters::~CVBFormatters() = default;

CVBFormatters& CVBFormatters::sharedFormatter() {
    auto& shared = instance();
    if (!shared)
        shared = std::make_unique<CVBFormatters>();
    return *shared;
}

void CVBFormatters::cleanup() {
    instance().reset();
}

void CVBFormatters::setFractionDigits(int minimum, int maximum) {
    if (!impl_->decimal)
        return;
    // Raise the maximum first: ICU clamps the minimum to the current maximum.
    impl_->decimal->setMaximumFractionDigits(maximum);
    impl_->decimal->setMinimumFractionDigits(minimum);
}

std::string CVBFormatters::stringFromDouble0(double value) {
    // ICU rounds half to even, as nearbyint does in the default rounding mode; a negative zero
    // keeps its sign in ICU's output, so it is left to ICU.
    const double whole = std::isfinite(value) ? std::nearbyint(value) : -1;
    const bool cached = whole >= 0 && whole <= 1000 && !std::signbit(whole);
    if (cached && !impl_->wholeNumbers[static_cast<std::size_t>(whole)].empty())
        return impl_->wholeNumbers[static_cast<std::size_t>(whole)];
    setFractionDigits(0, 0);
    std::string text = stringFromDouble(value);
    if (cached)
        impl_->wholeNumbers[static_cast<std::size_t>(whole)] = text;
    return text;
}
std::string CVBFormatters::stringFromDouble1(double value) {
    setFractionDigits(1, 1);
    return stringFromDouble(value);
}
std::string CVBFormatters::stringFromDouble2(double value) {
    setFractionDigits(2, 2);
    return stringFromDouble(value);
}
std::string CVBFormatters::stringFromDouble(double value) {
    return Impl::format(impl_->decimal.get(), value);
}
std::string CVBFormatters::formattedNumber(double value) {
    return Impl::format(impl_->pattern.get(), value);
}

} // namespace corvane
