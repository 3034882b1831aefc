// v2xshm frame decode HEX|- | frame build --type T --subtype S [DATA_HEX]
//
// Framed messages as they cross a serial line or a socket, taken apart and
// put together by hand.
#include "Commands.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "FrameJson.h"
#include "ToolParse.h"
#include "v2xshm-unit/FrameWalk.h"

namespace {

// Hex digit pairs, blanks anywhere between them ignored. On failure *error
// says what is wrong.
bool parseHex(const std::string& text, std::vector<char>* out, std::string* error)
{
    std::string digits;
    for (size_t i = 0; i < text.size(); ++i) {
        unsigned char c = (unsigned char)text[i];
        if (isspace(c)) {
            continue;
        }
        if (!isxdigit(c)) {
            *error = "not a hex digit at character " + std::to_string(i + 1) + ": '" + std::string(1, (char)c) + "'";
            return false;
        }
        digits += (char)c;
    }
    if (digits.size() % 2 != 0) {
        *error = "odd number of hex digits (" + std::to_string(digits.size()) + ")";
        return false;
    }
    out->clear();
    for (size_t i = 0; i < digits.size(); i += 2) {
        out->push_back((char)strtol(digits.substr(i, 2).c_str(), nullptr, 16));
    }
    return true;
}

// ---- frame decode ----

std::string findingText(const FrameFinding& f)
{
    std::string at = " at " + std::to_string(f.offset);
    if (f.kind == FrameFinding::SKIPPED) {
        return "skipped " + std::to_string(f.bytes) + " byte" + (f.bytes == 1 ? "" : "s") + at;
    }
    std::string head = ": type " + std::to_string(f.frame.frameType) + ", sub-type " +
                       std::to_string(f.frame.frameSubType) + ", " + std::to_string(f.frame.dataLen) + " data bytes";
    switch (f.kind) {
    case FrameFinding::FRAME:
        return "frame" + at + head + " [" + hexText(f.frame.data, f.frame.dataLen) + "], check byte ok";
    case FrameFinding::BAD_CHECK:
        return "corrupt frame" + at + head + ", check byte " + hexByte(f.carried) + " wrong (expected " +
               hexByte(f.computed) + ")";
    default:
        return "incomplete frame" + at + head + ", " + std::to_string(f.bytes) + " of " +
               std::to_string(f.frame.dataLen + VI2CFrame::MIN_LEN) + " bytes";
    }
}

int frameDecode(const ToolArgs& args)
{
    if (args.words.size() != 2) {
        return usageError("usage: frame decode HEX|-");
    }
    std::string text = args.words[1];
    if (text == "-") {
        // Two hex digits a byte for a segment's worth of frames at most: an
        // endless stdin (a device, a stuck pipe of zeros) is cut off there.
        const size_t limit = 2 * 1024 * 1024;
        text.assign(limit + 1, '\0');
        std::cin.read(&text[0], (std::streamsize)text.size());
        text.resize((size_t)std::cin.gcount());
        if (text.size() > limit) {
            return usageError("frame decode: more than " + std::to_string(limit) + " characters on stdin");
        }
    }
    std::vector<char> bytes;
    std::string error;
    if (!parseHex(text, &bytes, &error)) {
        return usageError("frame decode: " + error);
    }
    if (bytes.empty()) {
        return usageError("frame decode: no bytes given");
    }
    std::vector<FrameFinding> found;
    int frames = findFrames(bytes.data(), (int)bytes.size(), &found);
    if (frames < 0) {
        return failure("frame decode: out of memory");
    }
    bool clean = frames == (int)found.size();
    if (args.json) {
        printJson(FrameScanView{bytes.size(), found});
    } else {
        for (const FrameFinding& f : found) {
            std::cout << findingText(f) << "\n";
        }
        std::cout << frames << " frame" << (frames == 1 ? "" : "s") << " in " << bytes.size() << " bytes"
                  << std::endl;
    }
    // Scripts can tell a clean stream from one with bytes outside valid frames.
    return clean ? EXIT_OK : EXIT_FAILURE_CODE;
}

// ---- frame build ----

int frameBuild(const ToolArgs& args)
{
    const char* usage = "usage: frame build --type T --subtype S [DATA_HEX]";
    long long type = -1, subType = -1;
    std::string dataHex;
    bool haveData = false;
    for (size_t i = 1; i < args.words.size(); ++i) {
        const std::string& w = args.words[i];
        if ((w == "--type" || w == "--subtype") && i + 1 < args.words.size()) {
            if (!parseWhole(args.words[i + 1], 0, 255, w == "--type" ? &type : &subType)) {
                return usageError(w + " wants a whole number 0..255, not '" + args.words[i + 1] + "'");
            }
            ++i;
        } else if (!haveData && (w.empty() || w[0] != '-')) {
            dataHex = w;
            haveData = true;
        } else {
            return usageError(usage);
        }
    }
    if (type < 0 || subType < 0) {
        return usageError(usage);
    }
    std::vector<char> data;
    std::string error;
    if (!parseHex(dataHex, &data, &error)) {
        return usageError("frame build: data: " + error);
    }
    if (data.size() > (size_t)VI2CFrame::DATA_MAX) {
        return usageError("frame build: " + std::to_string(data.size()) + " data bytes; a frame holds at most " +
                          std::to_string(VI2CFrame::DATA_MAX));
    }
    VI2CFrame frame;
    frame.frameType = (uint8_t)type;
    frame.frameSubType = (uint8_t)subType;
    frame.dataLen = (int16_t)data.size();
    if (!data.empty()) memcpy(frame.data, data.data(), data.size());
    std::vector<char> out(VI2CFrame::MAX_LEN);
    int pos = 0;
    int len = frame.buildFrame(out.data(), &pos);
    if (args.json) {
        printJson(BuiltFrame{out.data(), len});
    } else {
        std::cout << hexText(out.data(), len) << std::endl;
    }
    return EXIT_OK;
}

}  // namespace

int cmdFrame(const ToolArgs& args)
{
    std::string sub = args.words.empty() ? "" : args.words[0];
    if (sub == "decode") return frameDecode(args);
    if (sub == "build") return frameBuild(args);
    return usageError("usage: frame decode HEX|- | frame build --type T --subtype S [DATA_HEX]");
}
