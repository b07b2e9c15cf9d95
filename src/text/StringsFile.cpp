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
            case 'u':
                appendUtf8(out, unicodeEscape());
                break;
            case '0':
            case '1':
            case '2':
            case '3':
            case '4':
            case '5':
            case '6':
            case '7':
                --pos_;
                appendUtf8(out, octalEscape());
                break;
            default:
                out += e; // \" \\ and anything else stand for themselves
            }
        }
        return std::nullopt; // unterminated
    }

    // Up to `count` digits of the base at the reading position.
    std::optional<char32_t> digits(int count, int base) {
        char32_t value = 0;
        int read = 0;
        while (read < count && pos_ < s_.size()) {
            const char h = s_[pos_];
            int digit = -1;
            if (h >= '0' && h <= '9')
                digit = h - '0';
            else if (base == 16 && std::isxdigit(static_cast<unsigned char>(h)))
                digit = (h | 0x20) - 'a' + 10;
            if (digit < 0 || digit >= base)
                break;
            value = value * static_cast<char32_t>(base) + static_cast<char32_t>(digit);
            ++pos_;
            ++read;
        }
        return read ? std::optional<char32_t>(value) : std::nullopt;
    }

    // \Uxxxx, where characters beyond the first plane come as a pair of surrogates,
    // "\UD83D\UDE00"; a lone surrogate is no character.
    char32_t unicodeEscape() {
        const auto unit = digits(4, 16);
        if (!unit)
            return 0xFFFD;
        if (*unit < 0xD800 || *unit >= 0xE000)
            return *unit;
        if (*unit >= 0xDC00 || s_.size() - pos_ < 6 || s_[pos_] != '\\' ||
            (s_[pos_ + 1] | 0x20) != 'u')
            return 0xFFFD;
        const std::size_t mark = pos_;
        pos_ += 2;
        const auto low = digits(4, 16);
        if (!low || *low < 0xDC00 || *low >= 0xE000) {
            pos_ = mark;
            return 0xFFFD;
        }
        return 0x10000 + ((*unit - 0xD800) << 10) + (*low - 0xDC00);
    }

    // \ooo: up to three octal digits, a byte of Latin-1 as the tables were once written.
    char32_t octalEscape() { return digits(3, 8).value_or(0xFFFD); }

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
