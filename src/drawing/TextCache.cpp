#include "drawing/TextCache.h"

#include <charconv>

namespace corvane {

namespace {

void appendNumber(std::string& to, double value) {
    char buffer[32];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    to.append(buffer, end);
    to.push_back('\x1f');
}

void appendColor(std::string& to, const Color& c) {
    for (double channel : {c.red, c.green, c.blue, c.alpha})
        appendNumber(to, channel);
}

} // namespace

// Everything the layout of a measure depends on, and nothing it does not (colours, alignment).
void TextCache::keyOfLayout(std::string_view text, const TextAttributes& attributes) {
    key_.assign(text);
    key_.push_back('\x1f');
    key_.append(attributes.family);
    key_.push_back('\x1f');
    appendNumber(key_, attributes.size);
    appendNumber(key_, attributes.weight);
    appendNumber(key_, attributes.letterSpacing);
    key_.push_back(attributes.tabularDigits ? 't' : 'p');
}

double TextCache::width(std::string_view text, const TextAttributes& attributes,
                        const Surface& surface) {
    keyOfLayout(text, attributes);
    if (const auto found = widths_.find(key_); found != widths_.end())
        return found->second;
    if (widths_.size() >= kMostWidths)
        widths_.clear();
    const double measured = surface.measureText(text, attributes).width;
    widths_.emplace(key_, measured);
    return measured;
}

void TextCache::draw(std::string_view text, const Rect& in, const TextAttributes& attributes,
                     Surface& surface) {
    if (!surface.onWholePixels(in)) {
        surface.drawText(text, in, attributes);
        return;
    }
    keyOfLayout(text, attributes);
    appendNumber(key_, in.width);
    appendNumber(key_, surface.scaleFactor());
    appendNumber(key_, static_cast<double>(attributes.alignment));
    appendColor(key_, attributes.color);
    if (attributes.shadow)
        appendColor(key_, *attributes.shadow);
    auto found = pictures_.find(key_);
    if (found == pictures_.end()) {
        if (pictures_.size() >= kMostPictures)
            pictures_.clear();
        found = pictures_.emplace(key_, surface.textPicture(text, in.width, attributes)).first;
    }
    surface.drawTextPicture(found->second, in);
}

void TextCache::clear() {
    widths_.clear();
    pictures_.clear();
}

} // namespace corvane
