#include "XmlCheck.h"

#include <cctype>
#include <cstdlib>

namespace {

bool validUtf8(const std::string& s)
{
    for (size_t i = 0; i < s.size();) {
        unsigned char c = (unsigned char)s[i];
        size_t n = c < 0x80 ? 1 : (c >> 5) == 6 && c >= 0xC2 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
        for (size_t k = 1; n != 0 && k < n; ++k) {
            n = i + k < s.size() && ((unsigned char)s[i + k] & 0xC0) == 0x80 ? n : 0;
        }
        if (n == 0) {
            return false;
        }
        i += n;
    }
    return true;
}

// Character data with its entities decoded; false on a raw '<' or an unknown entity.
bool decode(const std::string& raw, std::string* out)
{
    static const std::map<std::string, std::string> NAMED = {
        {"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}};
    out->clear();
    for (size_t i = 0; i < raw.size(); ++i) {
        size_t end = raw[i] == '&' ? raw.find(';', i) : i;
        if (raw[i] == '<' || end == std::string::npos) {
            return false;
        }
        std::string name = raw.substr(i + 1, end - i - 1);
        if (raw[i] != '&') {
            *out += raw[i];
        } else if (NAMED.count(name)) {
            *out += NAMED.at(name);
        } else if (name.size() > 1 && name[0] == '#' && isdigit((unsigned char)name[1])) {
            *out += (char)strtol(name.c_str() + 1, nullptr, 10);  // ASCII is all the pictures use
        } else {
            return false;
        }
        i = end;
    }
    return true;
}

size_t nameEnd(const std::string& doc, size_t i)
{
    while (i < doc.size() && (isalnum((unsigned char)doc[i]) || doc[i] == '-' || doc[i] == ':' || doc[i] == '_')) {
        ++i;
    }
    return i;
}

}  // namespace

bool parseXml(const std::string& doc, std::vector<XmlElement>* out, std::string* why)
{
    out->clear();
    std::vector<size_t> open;  // indexes into *out
    size_t declEnd = doc.compare(0, 5, "<?xml") == 0 ? doc.find("?>") : 0;
    size_t i = declEnd == 0 ? 0 : declEnd + 2;
    if (!validUtf8(doc) || declEnd == std::string::npos) {
        *why = "not UTF-8, or an unterminated declaration";
        return false;
    }
    while (i < doc.size()) {
        size_t lt = doc.find('<', i);
        std::string text;
        if (!decode(doc.substr(i, lt == std::string::npos ? std::string::npos : lt - i), &text)) {
            *why = "bad character data near byte " + std::to_string(i);
            return false;
        }
        if (!open.empty()) {
            (*out)[open.back()].text += text;
        }
        if (lt == std::string::npos) {
            break;
        }
        bool closing = doc.compare(lt + 1, 1, "/") == 0;
        size_t start = lt + 1 + (closing ? 1 : 0);
        i = nameEnd(doc, start);
        std::string tag = doc.substr(start, i - start);
        if (closing) {
            if (open.empty() || (*out)[open.back()].tag != tag || doc.compare(i, 1, ">") != 0) {
                *why = "</" + tag + "> does not close the open element";
                return false;
            }
            open.pop_back();
            ++i;
            continue;
        }
        if (tag.empty() || (open.empty() && !out->empty())) {
            *why = "a tag without a name, or a second root <" + tag + ">";
            return false;
        }
        XmlElement e;
        e.tag = tag;
        for (;;) {
            while (i < doc.size() && isspace((unsigned char)doc[i])) {
                ++i;
            }
            if (i >= doc.size() || doc[i] == '>' || doc.compare(i, 2, "/>") == 0) {
                break;
            }
            start = i;
            i = nameEnd(doc, i);
            std::string name = doc.substr(start, i - start), value;
            size_t end = doc.compare(i, 2, "=\"") == 0 ? doc.find('"', i + 2) : std::string::npos;
            if (name.empty() || end == std::string::npos || !decode(doc.substr(i + 2, end - i - 2), &value) ||
                !e.attrs.emplace(name, value).second) {
                *why = "attribute " + name + " of <" + tag + "> not a single name=\"value\"";
                return false;
            }
            i = end + 1;
        }
        if (i >= doc.size()) {
            *why = "unterminated tag <" + tag;
            return false;
        }
        out->push_back(e);
        if (doc[i] == '>') {
            open.push_back(out->size() - 1);
        }
        i += doc[i] == '>' ? 1 : 2;
    }
    if (!open.empty() || out->empty()) {
        *why = "an element not closed, or no root";
        return false;
    }
    return true;
}
