#include "SvgWriter.h"

#include <cmath>
#include <cstdio>

std::string svgNum(double value, int decimals)
{
    if (!std::isfinite(value)) {
        return "0";
    }
    if (decimals < 0 || decimals > 6) {
        decimals = 1;
    }
    char text[64];
    snprintf(text, sizeof text, "%.*f", decimals, value);
    std::string s = text;
    // -0.04 rounds to "-0.0": the sign of nothing would differ between hosts.
    if (s[0] == '-' && s.find_first_not_of("-0.") == std::string::npos) {
        s.erase(0, 1);
    }
    return s;
}

std::string svgNum(double value)
{
    return svgNum(value, 1);
}

namespace {

// Length of the valid UTF-8 sequence at text[i], or 0 when there is none.
size_t utf8Length(const std::string& text, size_t i)
{
    unsigned char c = (unsigned char)text[i];
    size_t n = c < 0x80                  ? 1
               : (c >= 0xC2 && c <= 0xDF) ? 2
               : (c >= 0xE0 && c <= 0xEF) ? 3
               : (c >= 0xF0 && c <= 0xF4) ? 4
                                          : 0;
    if (n == 0 || i + n > text.size()) {
        return 0;
    }
    for (size_t k = 1; k < n; ++k) {
        if (((unsigned char)text[i + k] & 0xC0) != 0x80) {
            return 0;
        }
    }
    unsigned char c1 = (unsigned char)text[i + 1 < text.size() ? i + 1 : i];
    // Overlong forms, surrogates and code points past U+10FFFF.
    if ((c == 0xE0 && c1 < 0xA0) || (c == 0xED && c1 >= 0xA0) || (c == 0xF0 && c1 < 0x90) ||
        (c == 0xF4 && c1 >= 0x90)) {
        return 0;
    }
    return n;
}

}  // namespace

std::string svgEscape(const std::string& text)
{
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        unsigned char c = (unsigned char)text[i];
        size_t n = utf8Length(text, i);
        if (n == 0 || (n == 1 && c < 0x20) || c == 0x7F) {
            out += '?';
            i += 1;
            continue;
        }
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&#39;"; break;
        default: out.append(text, i, n);
        }
        i += n;
    }
    return out;
}

SvgWriter::SvgWriter(double width, double height, const SvgAttrs& attrs)
{
    out_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    SvgAttrs all = {{"xmlns", "http://www.w3.org/2000/svg"},
                    {"width", svgNum(width, 0)},
                    {"height", svgNum(height, 0)},
                    {"viewBox", "0 0 " + svgNum(width, 0) + " " + svgNum(height, 0)}};
    all.insert(all.end(), attrs.begin(), attrs.end());
    open("svg", all);
}

void SvgWriter::start(const std::string& tag, const SvgAttrs& attrs)
{
    out_.append(openTags_.size() * 1, ' ');
    out_ += '<';
    out_ += tag;
    for (const SvgAttr& a : attrs) {
        out_ += ' ';
        out_ += a.first;
        out_ += "=\"";
        out_ += svgEscape(a.second);
        out_ += '"';
    }
}

void SvgWriter::open(const std::string& tag, const SvgAttrs& attrs)
{
    start(tag, attrs);
    out_ += ">\n";
    openTags_.push_back(tag);
}

void SvgWriter::close()
{
    if (openTags_.empty()) {
        return;
    }
    out_.append((openTags_.size() - 1) * 1, ' ');
    out_ += "</" + openTags_.back() + ">\n";
    openTags_.pop_back();
}

void SvgWriter::empty(const std::string& tag, const SvgAttrs& attrs)
{
    start(tag, attrs);
    out_ += "/>\n";
}

void SvgWriter::text(const std::string& tag, const SvgAttrs& attrs, const std::string& text)
{
    start(tag, attrs);
    out_ += '>';
    out_ += svgEscape(text);
    out_ += "</" + tag + ">\n";
}

void SvgWriter::raw(const std::string& markup)
{
    out_ += markup;
}

std::string SvgWriter::finish()
{
    while (!openTags_.empty()) {
        close();
    }
    return out_;
}
