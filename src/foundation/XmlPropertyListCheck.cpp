#include "foundation/XmlPropertyListCheck.h"

#include "foundation/GLibHandles.h"
#include "foundation/TextParsing.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

namespace {

// Within 64 bits signed as well: libplist would read a larger value as another number.
bool isInteger(std::string_view text) {
    text = trimmed(text);
    const bool negative = !text.empty() && text.front() == '-';
    if (!text.empty() && (text.front() == '-' || text.front() == '+'))
        text.remove_prefix(1);
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        text.remove_prefix(2);
        base = 16;
    }
    std::uint64_t magnitude = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), magnitude, base);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size())
        return false;
    const std::uint64_t limit = std::uint64_t{1} << 63;
    return negative ? magnitude <= limit : magnitude < limit;
}

bool isReal(std::string_view text) {
    text = trimmed(text);
    if (!text.empty() && (text.front() == '-' || text.front() == '+'))
        text.remove_prefix(1);
    if (text == "nan" || text == "inf" || text == "infinity")
        return true;
    return parseDouble(text).has_value();
}

// "2026-11-22T08:15:00Z", the only form the format writes.
bool isDate(std::string_view text) {
    text = trimmed(text);
    static constexpr std::string_view kShape = "dddd-dd-ddTdd:dd:ddZ";
    if (text.size() != kShape.size())
        return false;
    for (std::size_t i = 0; i < kShape.size(); ++i) {
        const bool digit = text[i] >= '0' && text[i] <= '9';
        if (kShape[i] == 'd' ? !digit : text[i] != kShape[i])
            return false;
    }
    return true;
}

bool isBase64(std::string_view text) {
    std::size_t significant = 0;
    for (char c : text) {
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r')
            continue;
        const bool alphabet = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                              (c >= '0' && c <= '9') || c == '+' || c == '/' || c == '=';
        if (!alphabet)
            return false;
        ++significant;
    }
    return significant % 4 == 0;
}

struct Frame {
    std::string element;
    std::string text;
    bool expectingValue = false; // in a dict: a key was read, its value must follow
};

struct Checker {
    std::vector<Frame> stack;
    std::optional<std::string> problem;
    bool sawRoot = false;

    void fail(std::string why) {
        if (!problem)
            problem = std::move(why);
    }

    void start(const char* name) {
        const std::string element = name;
        if (stack.empty()) {
            if (element != "plist")
                fail("root element is <" + element + ">, not <plist>");
        } else {
            Frame& parent = stack.back();
            const bool inDict = parent.element == "dict";
            if (parent.element == "plist") {
                if (sawRoot)
                    fail("more than one value under <plist>");
                sawRoot = true;
            } else if (inDict) {
                if (element == "key" && parent.expectingValue)
                    fail("key without a value in <dict>");
                if (element != "key" && !parent.expectingValue)
                    fail("<" + element + "> in <dict> without a key");
                parent.expectingValue = element == "key";
            } else if (parent.element != "array") {
                fail("<" + element + "> inside <" + parent.element + ">");
            }
            if (element == "key" && !inDict)
                fail("<key> outside a <dict>");
        }
        static const char* const kKnown[] = {"plist", "dict", "array", "key",  "string", "integer",
                                             "real",  "true", "false", "date", "data"};
        bool known = false;
        for (const char* k : kKnown)
            known = known || element == k;
        if (!known)
            fail("unknown element <" + element + ">");
        stack.push_back(Frame{element, {}, false});
    }

    void end() {
        if (stack.empty())
            return;
        const Frame frame = std::move(stack.back());
        stack.pop_back();
        const auto& e = frame.element;
        if (e == "integer" && !isInteger(frame.text))
            fail("<integer> holds \"" + frame.text + "\", no 64-bit whole number");
        else if (e == "real" && !isReal(frame.text))
            fail("<real> holds \"" + frame.text + "\"");
        else if (e == "date" && !isDate(frame.text))
            fail("<date> holds \"" + frame.text + "\"");
        else if (e == "data" && !isBase64(frame.text))
            fail("<data> is not Base64");
        else if (e == "dict" && frame.expectingValue)
            fail("key without a value at the end of <dict>");
    }

    void text(std::string_view t) {
        if (!stack.empty())
            stack.back().text.append(t);
    }
};

} // namespace

std::optional<std::string> xmlPropertyListProblem(std::string_view xml) {
    // XML holds no NUL; the markup parser passes one on inside text, and the property-list
    // reader then stops at it and asserts.
    if (const auto nul = xml.find('\0'); nul != std::string_view::npos)
        return "malformed XML: a NUL byte at offset " + std::to_string(nul);
    Checker checker;
    GMarkupParser parser{};
    parser.start_element = [](GMarkupParseContext*, const gchar* name, const gchar**, const gchar**,
                              gpointer data,
                              GError**) { static_cast<Checker*>(data)->start(name); };
    parser.end_element = [](GMarkupParseContext*, const gchar*, gpointer data, GError**) {
        static_cast<Checker*>(data)->end();
    };
    parser.text = [](GMarkupParseContext*, const gchar* text, gsize length, gpointer data,
                     GError**) {
        static_cast<Checker*>(data)->text(std::string_view(text, length));
    };

    const std::unique_ptr<GMarkupParseContext, decltype(&g_markup_parse_context_free)> context(
        g_markup_parse_context_new(&parser, G_MARKUP_DEFAULT_FLAGS, &checker, nullptr),
        g_markup_parse_context_free);
    GErrorHolder error;
    const bool parsed =
        g_markup_parse_context_parse(context.get(), xml.data(), static_cast<gssize>(xml.size()),
                                     error.out()) &&
        g_markup_parse_context_end_parse(context.get(), error.out());
    if (!parsed)
        checker.fail(std::string("malformed XML: ") + error.message());
    if (!checker.problem && !checker.sawRoot)
        checker.fail("no value under <plist>");
    return checker.problem;
}

} // namespace corvane
