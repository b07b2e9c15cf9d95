#include "text/StringsFile.h"

#include "foundation/Log.h"

#include <cctype>
#include <fstream>
#include <optional>
#include <sstream>

namespace corvane {

namespace {

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

std::string utf16ToUtf8(std::string_view bytes, bool bigEndian) {
    std::string out;
    auto unitAt = [&](std::size_t i) -> char32_t {
        const auto a = static_cast<unsigned char>(bytes[i]);
        const auto b = static_cast<unsigned char>(bytes[i + 1]);
        return bigEndian ? static_cast<char32_t>(a << 8 | b) : static_cast<char32_t>(b << 8 | a);
    };
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        char32_t c = unitAt(i);
        if (c >= 0xD800 && c < 0xDC00 && i + 3 < bytes.size()) {
            const char32_t low = unitAt(i + 2);
            if (low >= 0xDC00 && low < 0xE000) {
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                i += 2;
            }
        }
        if (c >= 0xD800 && c < 0xE000)
            c = 0xFFFD; // lone surrogate
        appendUtf8(out, c);
    }
    return out;
}

class Parser {
public:
    explicit Parser(std::string_view text)
        : s_(text) {}

    StringTable parse() {
        StringTable table;
        while (true) {
            skipSpace();
            if (pos_ >= s_.size())
                return table;
            auto key = token();
            if (!key)
                return fail(table, "expected a key");
            skipSpace();
            std::string value = *key;
            if (peek() == '=') {
                ++pos_;
                skipSpace();
                auto text = token();
                if (!text)
                    return fail(table, "expected a text");
                value = *text;
                skipSpace();
            }
            if (peek() != ';')
                return fail(table, "expected ';'");
            ++pos_;
            table[*key] = std::move(value);
        }
    }

private:
    char peek() const { return pos_ < s_.size() ? s_[pos_] : '\0'; }

    StringTable& fail(StringTable& table, const char* what) {
        CVBLog("Strings table: %s at offset %zu", what, pos_);
        return table;
    }

    void skipSpace() {
        while (pos_ < s_.size()) {
            const char c = s_[pos_];
            if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
                ++pos_;
            } else if (s_.substr(pos_, 2) == "//") {
                const auto end = s_.find('\n', pos_);
                pos_ = end == std::string_view::npos ? s_.size() : end + 1;
            } else if (s_.substr(pos_, 2) == "/*") {
                const auto end = s_.find("*/", pos_ + 2);
                pos_ = end == std::string_view::npos ? s_.size() : end + 2;
            } else {
                return;
            }
        }
    }

    static bool bareChar(char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '.' || c == '-' || c == '$' || c == ':' || c == '/';
    }

    std::optional<std::string> token() {
        if (peek() != '"') {
            const auto start = pos_;
            while (pos_ < s_.size() && bareChar(s_[pos_]))
                ++pos_;
            if (pos_ == start)
                return std::nullopt;
            return std::string(s_.substr(start, pos_ - start));
        }
        ++pos_;
        std::string out;
        while (pos_ < s_.size()) {
            const char c = s_[pos_++];
            if (c == '"')
                return out;
            if (c != '\\') {
                out += c;
                continue;
            }
            if (pos_ >= s_.size())
                break;
            const char e = s_[pos_++];
            switch (e) {
            case 'n':
                out += '\n';
                break;
            case 't':
                out += '\t';
                break;
            case 'r':
                out += '\r';
                break;
            case 'U':
            case 'u': {
                char32_t c32 = 0;
                int digits = 0;
                while (digits < 4 && pos_ < s_.size() &&
                       std::isxdigit(static_cast<unsigned char>(s_[pos_]))) {
                    const char h = s_[pos_++];
                    c32 =
                        c32 * 16 + static_cast<char32_t>(std::isdigit(static_cast<unsigned char>(h))
                                                             ? h - '0'
                                                             : (h | 0x20) - 'a' + 10);
                    ++digits;
                }
                if (digits == 0 || (c32 >= 0xD800 && c32 < 0xE000))
                    c32 = 0xFFFD;
                appendUtf8(out, c32);
                break;
            }
            default:
                out += e; // \" \\ and anything else stand for themselves
            }
        }
        return std::nullopt; // unterminated
    }

    std::string_view s_;
    std::size_t pos_ = 0;
};

} // namespace

StringTable parseStringsTable(std::string_view bytes) {
    std::string converted;
    if (bytes.size() >= 2 && bytes[0] == '\xFF' && bytes[1] == '\xFE') {
        converted = utf16ToUtf8(bytes.substr(2), false);
    } else if (bytes.size() >= 2 && bytes[0] == '\xFE' && bytes[1] == '\xFF') {
        converted = utf16ToUtf8(bytes.substr(2), true);
    } else {
        if (bytes.substr(0, 3) == "\xEF\xBB\xBF")
            bytes.remove_prefix(3);
        converted.assign(bytes);
    }
    return Parser(converted).parse();
}

StringTable readStringsFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return {};
    std::ostringstream buffer;
    buffer << in.rdbuf();
    return parseStringsTable(buffer.str());
}

} // namespace corvane
