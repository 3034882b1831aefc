#ifndef V2XSHM_DRAW_SVGWRITER_H
#define V2XSHM_DRAW_SVGWRITER_H

#include <string>
#include <utility>
#include <vector>

// Writes SVG text: elements with attributes, numbers in one fixed form, and
// text escaped so that whatever a list holds (names and road-side texts as
// received) still gives well-formed XML.

// One attribute: name and value (the value is escaped on writing).
using SvgAttr = std::pair<std::string, std::string>;
using SvgAttrs = std::vector<SvgAttr>;

// A coordinate or length rounded to 0.1, "-0.0" written "0.0": the same
// bytes on every host for the same value.
std::string svgNum(double value);
// The same with `decimals` digits after the point (0 to 6).
std::string svgNum(double value, int decimals);
// Text made safe for XML character data and attribute values: & < > " '
// as entities, control characters and bytes that are not valid UTF-8 as '?'.
std::string svgEscape(const std::string& text);

class SvgWriter {
public:
    // Opens <svg> of the given size in pixels with extra attributes.
    SvgWriter(double width, double height, const SvgAttrs& attrs);
    // <tag attrs>; closed by close().
    void open(const std::string& tag, const SvgAttrs& attrs = {});
    void close();
    // <tag attrs/>.
    void empty(const std::string& tag, const SvgAttrs& attrs);
    // <tag attrs>text</tag>, the text escaped.
    void text(const std::string& tag, const SvgAttrs& attrs, const std::string& text);
    // Raw markup the caller has made safe (a style sheet, definitions).
    void raw(const std::string& markup);
    // Closes every element still open and returns the document.
    std::string finish();

private:
    void start(const std::string& tag, const SvgAttrs& attrs);
    std::string out_;
    std::vector<std::string> openTags_;
};

#endif
