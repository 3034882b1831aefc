#ifndef V2XSHM_TESTS_DRAW_XMLCHECK_H
#define V2XSHM_TESTS_DRAW_XMLCHECK_H

#include <map>
#include <string>
#include <vector>

// A small strict XML reader for the pictures under test: what a browser's
// parser would refuse (an unclosed or crossed tag, an unquoted or repeated
// attribute, a raw '<' or '&', an unknown entity, bytes that are not UTF-8,
// more than one root) makes it fail with the reason. Elements come out in
// document order with their attributes and text, entities decoded. (No
// comments, CDATA or processing instructions: the pictures have none.)
struct XmlElement {
    std::string tag;
    std::map<std::string, std::string> attrs;
    std::string text;
    std::string attr(const std::string& name) const
    {
        auto it = attrs.find(name);
        return it == attrs.end() ? "" : it->second;
    }
};

bool parseXml(const std::string& doc, std::vector<XmlElement>* out, std::string* why);

#endif
