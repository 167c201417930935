#include "app/demo.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace {

constexpr const char* kMagic = "velmora-demo 1";

std::string HexFloat(float value) {
    char text[64];
    snprintf(text, sizeof text, "%a", static_cast<double>(value));
    return text;
}

// A float written by HexFloat (or any strtof form), the whole token; false for anything
// else, and for values that are not finite: a frame loop never has them.
bool ParseFloat(const std::string& token, float* out) {
    if (token.empty()) return false;
    errno = 0;
    char* end = nullptr;
    const float value = strtof(token.c_str(), &end);
    if (end != token.c_str() + token.size() || errno == ERANGE || !std::isfinite(value))
        return false;
    *out = value;
    return true;
}

bool ParseUnsigned(const std::string& token, uint64_t limit, uint64_t* out) {
    if (token.empty() || token.size() > 19) return false;
    uint64_t value = 0;
    for (char c : token) {
        if (c < '0' || c > '9') return false;
        value = value * 10 + static_cast<uint64_t>(c - '0');
    }
    if (value > limit) return false;
    *out = value;
    return true;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool ParseRecord(const std::string& token, Sdl12Event* out) {
    if (token.size() != 2 * sizeof(Sdl12Event)) return false;
    for (size_t i = 0; i < sizeof(Sdl12Event); ++i) {
        const int high = HexDigit(token[2 * i]);
        const int low = HexDigit(token[2 * i + 1]);
        if (high < 0 || low < 0) return false;
        out->bytes[i] = static_cast<uint8_t>(high * 16 + low);
    }
    return true;
}

bool IsMarkName(const std::string& name) {
    if (name.empty() || name.size() > 64) return false;
    for (char c : name)
        if (!(isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-')) return false;
    return true;
}

std::vector<std::string> Split(const std::string& line) {
    std::vector<std::string> tokens;
    std::istringstream in(line);
    std::string token;
    while (in >> token) tokens.push_back(token);
    return tokens;
}

bool Fail(std::string* error, size_t line, const std::string& what) {
    if (error != nullptr) *error = "line " + std::to_string(line) + ": " + what;
    return false;
}

}  // namespace

std::string DemoToText(const DemoFile& demo) {
    std::string text;
    text.reserve(64 + demo.passes.size() * 48);
    text += kMagic;
    text += "\nseed " + std::to_string(demo.seed) + "\n";
    text += "screen " + std::to_string(demo.screen_width) + " " +
            std::to_string(demo.screen_height) + "\n";
    size_t mark = 0;
    static const char* hex = "0123456789abcdef";
    for (size_t i = 0; i < demo.passes.size(); ++i) {
        const DemoPass& pass = demo.passes[i];
        text += "pass " + HexFloat(pass.time) + " " + HexFloat(pass.dt) + " " +
                std::to_string(pass.input.size());
        for (const Sdl12Event& record : pass.input) {
            text += ' ';
            for (uint8_t byte : record.bytes) {
                text += hex[byte >> 4];
                text += hex[byte & 15];
            }
        }
        text += '\n';
        // A mark follows the pass it names.
        while (mark < demo.marks.size() && demo.marks[mark].pass <= i) {
            text += "mark " + std::to_string(demo.marks[mark].pass) + " " + demo.marks[mark].name +
                    "\n";
            ++mark;
        }
    }
    for (; mark < demo.marks.size(); ++mark)
        text +=
            "mark " + std::to_string(demo.marks[mark].pass) + " " + demo.marks[mark].name + "\n";
    text += "end " + std::to_string(demo.passes.size()) + "\n";
    return text;
}

bool DemoFromText(const std::string& text, DemoFile* out, std::string* error) {
    DemoFile demo;
    std::istringstream in(text);
    std::string line;
    size_t number = 0;
    bool ended = false;
    bool have_seed = false, have_screen = false;

    if (!std::getline(in, line) || (++number, line != kMagic))
        return Fail(error, 1, "not a demo (the first line must be \"velmora-demo 1\")");
    while (std::getline(in, line)) {
        ++number;
        if (ended) {
            if (Split(line).empty()) continue;
            return Fail(error, number, "text after \"end\"");
        }
        const std::vector<std::string> t = Split(line);
        if (t.empty()) continue;
        uint64_t value = 0;
        if (t[0] == "seed") {
            if (t.size() != 2 || !ParseUnsigned(t[1], UINT32_MAX, &value))
                return Fail(error, number, "a seed is one number from 0 to 4294967295");
            demo.seed = static_cast<uint32_t>(value);
            have_seed = true;
        } else if (t[0] == "screen") {
            uint64_t w = 0, h = 0;
            if (t.size() != 3 || !ParseUnsigned(t[1], 65535, &w) ||
                !ParseUnsigned(t[2], 65535, &h) || w == 0 || h == 0)
                return Fail(error, number, "a screen is a width and a height from 1 to 65535");
            demo.screen_width = static_cast<int32_t>(w);
            demo.screen_height = static_cast<int32_t>(h);
            have_screen = true;
        } else if (t[0] == "pass") {
            DemoPass pass;
            if (t.size() < 4 || !ParseFloat(t[1], &pass.time) || !ParseFloat(t[2], &pass.dt) ||
                !ParseUnsigned(t[3], DemoFile::kMaxInputPerPass, &value))
                return Fail(error, number,
                            "a pass needs a time, a dt and a count of at most 4096 records");
            if (t.size() != 4 + value)
                return Fail(error, number,
                            "the pass holds another number of records than its count");
            if (demo.passes.size() >= DemoFile::kMaxPasses)
                return Fail(error, number, "more than 10000000 passes");
            pass.input.resize(value);
            for (size_t i = 0; i < value; ++i)
                if (!ParseRecord(t[4 + i], &pass.input[i]))
                    return Fail(error, number, "a record is 40 hexadecimal digits");
            demo.passes.push_back(std::move(pass));
        } else if (t[0] == "mark") {
            if (t.size() != 3 || !ParseUnsigned(t[1], UINT32_MAX, &value) || !IsMarkName(t[2]))
                return Fail(error, number, "a mark is a pass number and a one-word name");
            if (value >= demo.passes.size())
                return Fail(error, number, "a mark names a pass that is not before it");
            if (!demo.marks.empty() && demo.marks.back().pass > value)
                return Fail(error, number, "marks go in pass order");
            if (demo.marks.size() >= DemoFile::kMaxMarks)
                return Fail(error, number, "more than 1000 marks");
            demo.marks.push_back({static_cast<uint32_t>(value), t[2]});
        } else if (t[0] == "end") {
            if (t.size() != 2 || !ParseUnsigned(t[1], DemoFile::kMaxPasses, &value))
                return Fail(error, number, "\"end\" takes the number of passes");
            if (value != demo.passes.size())
                return Fail(error, number,
                            "the demo ends after " + std::to_string(demo.passes.size()) +
                                " passes, not " + std::to_string(value) + ": it is cut or mixed");
            ended = true;
        } else {
            return Fail(error, number, "unknown line \"" + t[0].substr(0, 32) + "\"");
        }
    }
    if (!ended) return Fail(error, number, "no \"end\" line: the demo is cut short");
    if (!have_seed || !have_screen) return Fail(error, number, "a demo needs its seed and screen");
    *out = std::move(demo);
    return true;
}

bool WriteDemoFile(const std::string& path, const DemoFile& demo, std::string* error) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    const std::string text = DemoToText(demo);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    if (!file) {
        if (error != nullptr) *error = "cannot write '" + path + "'";
        return false;
    }
    return true;
}

bool ReadDemoFile(const std::string& path, DemoFile* out, std::string* error) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        if (error != nullptr) *error = "cannot open '" + path + "'";
        return false;
    }
    std::ostringstream text;
    text << file.rdbuf();
    return DemoFromText(text.str(), out, error);
}
