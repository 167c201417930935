#include "cfo/cforeaders.h"

#include <cassert>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "cfo/cfonode.h"

namespace {

// The conversions work on a terminated text, so that a node's text needs no copy.
// atoi without its undefined overflow: the 64-bit strtol result, saturated as strtol
// does, then taken modulo 2^32 the way the C library's own atoi ends up on this platform.
// So "-1" read as unsigned is 4294967295 and "3000000000" survives an unsigned read.
int32_t AtoiText(const char* text) {
    long long v = std::strtoll(text, nullptr, 10);
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<unsigned long long>(v)));
}

float AtofText(const char* text);

}  // namespace

int32_t CfoAtoi(const std::string& text) { return AtoiText(text.c_str()); }

// (float)atof: the text as a double, rounded to the nearest float. Rounding is what makes
// "3.4028235e38", the usual spelling of the largest float, come out as that float although
// the double lies a little above it. Only a double at or beyond the midpoint between the
// largest float and 2^128 rounds to infinity; it is turned into one here rather than left
// to a narrowing the language does not define.
float CfoAtof(const std::string& text) { return AtofText(text.c_str()); }

namespace {

float AtofText(const char* text) {
    constexpr double overflow = 0x1.ffffffp+127;  // FLT_MAX plus half a step
    double d = std::strtod(text, nullptr);
    if (d >= overflow) return INFINITY;
    if (d <= -overflow) return -INFINITY;
    return static_cast<float>(d);  // NaN stays NaN
}

const CfoNode* Lookup(const CfoNode* node, const std::string& key) {
    assert(node != nullptr);
    return node->FindChild(key);
}

// Fills up to `count` components from a comma list; see the header for the rules.
void ReadComponents(std::string_view value, float* components, int count) {
    for (int k = 0; k < count; ++k) components[k] = 0.0f;
    int stored = 0;
    std::string token;
    auto flush = [&]() {
        if (token.empty()) return;
        if (stored < count) components[stored++] = CfoAtof(token);
        token.clear();
    };
    for (char c : value) {
        if (c == ',' || c == 8 || c == 10)
            flush();
        else
            token += c;
    }
    flush();
}

}  // namespace

bool CfoReadBool(const CfoNode* node, const std::string& key, bool& out) {
    const CfoNode* child = Lookup(node, key);
    if (!child) return false;
    out = AtoiText(child->value.c_str()) > 0;
    return true;
}

bool CfoReadInt(const CfoNode* node, const std::string& key, int32_t& out) {
    const CfoNode* child = Lookup(node, key);
    if (!child) return false;
    out = AtoiText(child->value.c_str());
    return true;
}

bool CfoReadUInt(const CfoNode* node, const std::string& key, uint32_t& out) {
    const CfoNode* child = Lookup(node, key);
    if (!child) return false;
    out = static_cast<uint32_t>(AtoiText(child->value.c_str()));
    return true;
}

bool CfoReadFloat(const CfoNode* node, const std::string& key, float& out) {
    const CfoNode* child = Lookup(node, key);
    if (!child) return false;
    out = AtofText(child->value.c_str());
    return true;
}

bool CfoReadString(const CfoNode* node, const std::string& key, std::string& out) {
    const CfoNode* child = Lookup(node, key);
    if (!child) return false;
    out = child->value;
    return true;
}

bool CfoReadVector2(const CfoNode* node, const std::string& key, HVector2& out) {
    const CfoNode* child = Lookup(node, key);
    if (!child) return false;
    float c[2];
    ReadComponents(child->value.view(), c, 2);
    out = HVector2(c[0], c[1]);
    return true;
}

HVector2 CfoParseVector2(const std::string& text) {
    float c[2];
    ReadComponents(text, c, 2);
    return HVector2(c[0], c[1]);
}

bool CfoReadVector3(const CfoNode* node, const std::string& key, HVector3& out) {
    const CfoNode* child = Lookup(node, key);
    if (!child) return false;
    float c[3];
    ReadComponents(child->value.view(), c, 3);
    out = HVector3(c[0], c[1], c[2]);
    return true;
}

namespace {

CfoReadObserver read_observer = nullptr;

std::string Number(double value) {
    char text[64];
    std::snprintf(text, sizeof(text), "%g", value);
    return text;
}

std::string Kept(bool value) { return value ? "1" : "0"; }
std::string Kept(int32_t value) { return std::to_string(value); }
std::string Kept(uint32_t value) { return std::to_string(value); }
std::string Kept(float value) { return Number(value); }
std::string Kept(const std::string& value) { return value; }
std::string Kept(const HVector2& value) { return Number(value.x) + "," + Number(value.y); }
std::string Kept(const HVector3& value) {
    return Number(value.x) + "," + Number(value.y) + "," + Number(value.z);
}

// Reads `key` with `read` after checking that the entry suits the reader, and tells the
// observer what happened.
template <class T, class Read>
bool ReadEntry(const CfoNode* node, const CfoKey& key, T& out, bool suits, Read read) {
    assert(suits && "key entry read with a reader of another type");
    const bool present = read(node, std::string(key.name), out);
    if (read_observer != nullptr) read_observer(node, key, present, present ? "" : Kept(out));
    return present;
}

}  // namespace

void CfoSetReadObserver(CfoReadObserver observer) { read_observer = observer; }

bool CfoReadBool(const CfoNode* node, const CfoKey& key, bool& out) {
    return ReadEntry(
        node, key, out, key.type == CfoKeyType::Bool,
        [](const CfoNode* n, const std::string& k, bool& o) { return CfoReadBool(n, k, o); });
}

bool CfoReadInt(const CfoNode* node, const CfoKey& key, int32_t& out) {
    return ReadEntry(
        node, key, out, key.type == CfoKeyType::Int,
        [](const CfoNode* n, const std::string& k, int32_t& o) { return CfoReadInt(n, k, o); });
}

bool CfoReadUInt(const CfoNode* node, const CfoKey& key, uint32_t& out) {
    return ReadEntry(
        node, key, out, key.type == CfoKeyType::UInt,
        [](const CfoNode* n, const std::string& k, uint32_t& o) { return CfoReadUInt(n, k, o); });
}

bool CfoReadFloat(const CfoNode* node, const CfoKey& key, float& out) {
    return ReadEntry(
        node, key, out, key.type == CfoKeyType::Float,
        [](const CfoNode* n, const std::string& k, float& o) { return CfoReadFloat(n, k, o); });
}

bool CfoReadString(const CfoNode* node, const CfoKey& key, std::string& out) {
    return ReadEntry(node, key, out, key.type == CfoKeyType::String || key.type == CfoKeyType::File,
                     [](const CfoNode* n, const std::string& k, std::string& o) {
                         return CfoReadString(n, k, o);
                     });
}

bool CfoReadVector2(const CfoNode* node, const CfoKey& key, HVector2& out) {
    return ReadEntry(node, key, out, key.type == CfoKeyType::Vector2,
                     [](const CfoNode* n, const std::string& k, HVector2& o) {
                         return CfoReadVector2(n, k, o);
                     });
}

bool CfoReadVector3(const CfoNode* node, const CfoKey& key, HVector3& out) {
    return ReadEntry(node, key, out, key.type == CfoKeyType::Vector3,
                     [](const CfoNode* n, const std::string& k, HVector3& o) {
                         return CfoReadVector3(n, k, o);
                     });
}

CfoNode* CfoReadChild(const CfoNode* node, const CfoKey& key) {
    assert((key.type == CfoKeyType::Table || key.type == CfoKeyType::Rows) &&
           "key entry read with a reader of another type");
    assert(node != nullptr);
    CfoNode* child = node->FindChild(key.name);
    if (read_observer != nullptr) read_observer(node, key, child != nullptr, "");
    return child;
}
