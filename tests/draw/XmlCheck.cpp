#include "XmlCheck.h"

#include <cctype>
#include <cstdlib>

namespace {

bool validUtf8(const std::string& s)
{
    for (size_t i = 0; i < s.size();) {
        unsigned char c = (unsigned char)s[i];
        size_t n = c < 0x80 ? 1 : (c >> 5) == 6 && c >= 0xC2 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
        if (n == 0 || i + n > s.size()) {
            return false;
        }
        for (size_t k = 1; k < n; ++k) {
            if (((unsigned char)s[i + k] & 0xC0) != 0x80) {
                return false;
            }
        }
        i += n;
    }
    return true;
}

// Decodes the entities of character data; false on a raw '<' or an unknown entity.
bool decode(const std::string& raw, std::string* out, std::string* why)
{
    static const std::map<std::string, std::string> NAMED = {
        {"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}};
    out->clear();
    for (size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] == '<') {
            *why = "raw '<' in text";
            return false;
        }
        if (raw[i] != '&') {
            *out += raw[i];
            continue;
        }
        size_t end = raw.find(';', i);
        if (end == std::string::npos) {
            *why = "unterminated entity";
            return false;
        }
        std::string name = raw.substr(i + 1, end - i - 1);
        if (NAMED.count(name)) {
            *out += NAMED.at(name);
        } else if (name.size() > 1 && name[0] == '#' && isdigit((unsigned char)name[1])) {
            *out += (char)strtol(name.c_str() + 1, nullptr, 10);  // ASCII is all the pictures use
        } else {
            *why = "unknown entity &" + name + ";";
            return false;
        }
        i = end;
    }
    return true;
}

bool isNameChar(char c)
{
    return isalnum((unsigned char)c) || c == '-' || c == '_' || c == ':' || c == '.';
}

}  // namespace

bool parseXml(const std::string& doc, std::vector<XmlElement>* out, std::string* why)
{
    out->clear();
    if (!validUtf8(doc)) {
        *why = "not UTF-8";
        return false;
    }
    std::vector<size_t> open;  // indexes into *out
    bool rootSeen = false;
    size_t i = 0;
    if (doc.compare(0, 5, "<?xml") == 0) {
        i = doc.find("?>");
        if (i == std::string::npos) {
            *why = "unterminated declaration";
            return false;
        }
        i += 2;
    }
    while (i < doc.size()) {
        size_t lt = doc.find('<', i);
        std::string text, raw = doc.substr(i, (lt == std::string::npos ? doc.size() : lt) - i);
        if (!decode(raw, &text, why)) {
            return false;
        }
        if (open.empty() && text.find_first_not_of(" \n\t\r") != std::string::npos) {
            *why = "text outside the root";
            return false;
        }
        if (!open.empty()) {
            (*out)[open.back()].text += text;
        }
        if (lt == std::string::npos) {
            break;
        }
        i = lt + 1;
        if (doc.compare(i, 3, "!--") == 0) {
            i = doc.find("-->", i);
            if (i == std::string::npos) {
                *why = "unterminated comment";
                return false;
            }
            i += 3;
            continue;
        }
        bool closing = i < doc.size() && doc[i] == '/';
        i += closing ? 1 : 0;
        size_t start = i;
        while (i < doc.size() && isNameChar(doc[i])) {
            ++i;
        }
        std::string tag = doc.substr(start, i - start);
        if (tag.empty()) {
            *why = "a tag without a name";
            return false;
        }
        if (closing) {
            if (open.empty() || (*out)[open.back()].tag != tag || i >= doc.size() || doc[i] != '>') {
                *why = "</" + tag + "> does not close the open element";
                return false;
            }
            open.pop_back();
            ++i;
            continue;
        }
        if (open.empty() && rootSeen) {
            *why = "a second root element <" + tag + ">";
            return false;
        }
        rootSeen = true;
        XmlElement e;
        e.tag = tag;
        e.depth = (int)open.size();
        for (;;) {
            while (i < doc.size() && isspace((unsigned char)doc[i])) {
                ++i;
            }
            if (i >= doc.size()) {
                *why = "unterminated tag <" + tag;
                return false;
            }
            if (doc[i] == '>' || doc.compare(i, 2, "/>") == 0) {
                break;
            }
            start = i;
            while (i < doc.size() && isNameChar(doc[i])) {
                ++i;
            }
            std::string name = doc.substr(start, i - start);
            if (name.empty() || doc.compare(i, 2, "=\"") != 0) {
                *why = "attribute of <" + tag + "> not name=\"value\"";
                return false;
            }
            size_t end = doc.find('"', i + 2);
            std::string value;
            if (end == std::string::npos || !decode(doc.substr(i + 2, end - i - 2), &value, why)) {
                *why = "bad value of " + name + " in <" + tag + ">";
                return false;
            }
            if (!e.attrs.emplace(name, value).second) {
                *why = "attribute " + name + " repeated in <" + tag + ">";
                return false;
            }
            i = end + 1;
        }
        out->push_back(e);
        if (doc[i] == '>') {
            open.push_back(out->size() - 1);
            i += 1;
        } else {
            i += 2;
        }
    }
    if (!open.empty() || !rootSeen) {
        *why = open.empty() ? "no root element" : "<" + (*out)[open.back()].tag + "> not closed";
        return false;
    }
    return true;
}
