#include "cfo/cfodocument.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "cfo/file.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Position of the first byte in [i, n) equal to one of Cs, or n. The hot loops of the
// cleaner and the tree builder spend their time here, so runs of ordinary text are copied
// or appended as ranges instead of one byte at a time.
template <char... Cs>
inline size_t FindFirstOf(const char* p, size_t i, size_t n) {
#if defined(__SSE2__)
    while (i + 16 <= n) {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
        __m128i hit = _mm_setzero_si128();
        ((hit = _mm_or_si128(hit, _mm_cmpeq_epi8(v, _mm_set1_epi8(Cs)))), ...);
        unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(hit));
        if (mask) return i + static_cast<size_t>(__builtin_ctz(mask));
        i += 16;
    }
#endif
    for (; i < n; ++i) {
        char c = p[i];
        if (((c == Cs) || ...)) return i;
    }
    return n;
}

}  // namespace

// Comments. Rules per character, in this order (the text is read as if a NUL byte
// followed its end):
//  - "//" sets the line flag; "/*" adds a block level. Neither looks at the other's
//    state, so "/*" inside a line comment opens a block and blocks nest.
//  - inside a block, "*/" closes one level and jumps two ahead; the byte landed on is
//    not tested as a comment start, only for the end of a line and for copying. A text
//    ending in "*/" therefore copies the NUL that follows it.
//  - a newline ends the line flag;
//  - outside both, everything but a carriage return is copied.
namespace {

// Writes the text without comments to `dest`, which holds n bytes and may be `s` itself;
// returns the length written. Every byte written stands for a byte read before it (the NUL
// after a final "*/" for the two bytes of that "*/"), so the output never gets ahead of the
// input and never outgrows it.
size_t StripCommentsInto(const char* s, size_t n, char* dest) {
    auto at = [s, n](size_t k) -> char { return k < n ? s[k] : '\0'; };
    char* o = dest;
    bool line = false;
    int64_t depth = 0;
    size_t i = 0;
    while (i < n) {
        if (!line && depth == 0) {
            size_t j = FindFirstOf<'/', '\r'>(s, i, n);
            if (o != s + i) std::memmove(o, s + i, j - i);
            o += j - i;
            i = j;
        } else {
            // Inside a comment only these three bytes can change anything.
            i = FindFirstOf<'/', '*', '\n'>(s, i, n);
        }
        if (i >= n) break;

        char c = s[i];
        char next = at(i + 1);
        if (c == '/' && next == '/') line = true;
        if (c == '/' && next == '*') ++depth;
        if (depth > 0 && c == '*' && next == '/') {
            --depth;
            i += 2;
            c = at(i);  // i <= n here: next was a real byte
        }
        if (line && c == '\n') line = false;
        if (!line && depth == 0 && c != '\r') *o++ = c;
        ++i;
    }
    return static_cast<size_t>(o - dest);
}

// Blanks and quotes. `\"` is the only escape and yields a quote; a quote toggles the
// quoted state; quoted bytes are kept as they are, other blanks, newlines, tabs and
// backslashes are dropped. The quote marks themselves are never kept.
// The result goes to `dest`, which holds n bytes and may be `s` itself: the output never
// gets ahead of the input. Returns the length written.
size_t StripBlanksInto(const char* s, size_t n, char* dest) {
    char* o = dest;
    bool quoted = false;
    size_t i = 0;
    while (i < n) {
        size_t j = quoted ? FindFirstOf<'\\', '"'>(s, i, n)
                          : FindFirstOf<'\\', '"', ' ', '\n', '\t'>(s, i, n);
        if (o != s + i) std::memmove(o, s + i, j - i);
        o += j - i;
        // The input byte before position j. Working in place, the output has only reached
        // j - 1 when everything so far was copied unchanged, so this is still the input.
        char before = j > 0 ? s[j - 1] : '\0';
        i = j;
        if (i >= n) break;

        char c = s[i];
        if (c == '\\' && i + 1 < n && s[i + 1] == '"') {
            *o++ = '"';
            i += 2;
            continue;
        }
        if (c == '"' && !(i > 0 && before == '\\')) quoted = !quoted;
        if (quoted) {
            if (c != '"') *o++ = c;
        } else if (c != ' ' && c != '\n' && c != '\t' && c != '\\' && c != '"') {
            *o++ = c;
        }
        ++i;
    }
    return static_cast<size_t>(o - dest);
}

}  // namespace

std::string CfoDocument::StripComments(const std::string& text) {
    std::string out(text.size() + 1, '\0');
    out.resize(StripCommentsInto(text.data(), text.size(), out.data()));
    return out;
}

std::string CfoDocument::StripBlanks(const std::string& text) {
    // In place, as Parse does it.
    std::string out = text;
    out.resize(StripBlanksInto(out.data(), out.size(), out.data()));
    return out;
}

// The tree builder. Each scope keeps a pending `token`; `key` is set by "=" and used by the
// next ";" or "{". Entries:
//  "{"  opens a child (named `key` if one is pending, else anonymous); the child is
//       attached when its scope closes, so indices follow the order of closing. The
//       pending token survives: "abc{}def" leaves "abcdef".
//  "}"  ends the scope; a pending token becomes a child with that name and no value.
//  "="  with a token: the token becomes the key.
//  ";"  with a token: key=token makes a child; without a key the token is dropped.
// Nested scopes live on an explicit stack, so the depth of a document costs heap, not
// call stack. A scope's key is always empty when a child scope opens, so only the token
// has to be kept per level.
size_t CfoDocument::ParseScope(CfoNode* node, const std::string& text, size_t pos) {
    return ParseScope(node, text.data(), text.size(), pos);
}

namespace {

// A node for the builder. When memory runs out the node is skipped: the builder goes on
// and whatever the text puts inside it is lost. Inside a lost scope (`parent` null)
// nothing is allocated at all.
CfoNode* NewParsedNode(CfoNode* parent) {
    if (!parent) return nullptr;
    CfoNode* node = new (std::nothrow) CfoNode();
    if (node) node->parent = parent;
    return node;
}

}  // namespace

size_t CfoDocument::ParseScope(CfoNode* node, const char* s, size_t n, size_t pos) {
    assert(node != nullptr);
    struct Scope {
        CfoNode* node;  // null for a scope whose node could not be made
        std::string token;
    };

    std::vector<Scope> scopes;
    scopes.push_back({node, std::string()});
    std::string key;
    for (;;) {
        size_t ret;
        for (;;) {
            if (pos >= n) {
                ret = n;
                break;
            }
            Scope& scope = scopes.back();
            char c = s[pos];
            if (c == '{') {
                CfoNode* child = NewParsedNode(scope.node);
                if (!key.empty()) {
                    if (child) child->name = std::move(key);
                    key.clear();
                }
                scopes.push_back({child, std::string()});
                ++pos;
            } else if (c == '}') {
                if (!scope.token.empty()) {
                    if (CfoNode* child = NewParsedNode(scope.node)) {
                        child->name = std::move(scope.token);
                        scope.node->AddChild(child);
                    }
                }
                ret = pos;
                break;
            } else if (c == '=') {
                if (!scope.token.empty()) {
                    key.swap(scope.token);
                    scope.token.clear();
                }
                ++pos;
            } else if (c == ';') {
                if (!scope.token.empty()) {
                    if (!key.empty()) {
                        if (CfoNode* child = NewParsedNode(scope.node)) {
                            child->name = std::move(key);
                            child->value = std::move(scope.token);
                            scope.node->AddChild(child);
                        }
                        key.clear();
                    }
                    scope.token.clear();
                }
                ++pos;
            } else {
                size_t end = FindFirstOf<'{', '}', '=', ';'>(s, pos, n);
                scope.token.append(s + pos, end - pos);
                pos = end;
            }
        }
        // Leave the scope: its key dies with it.
        key.clear();
        CfoNode* done = scopes.back().node;
        scopes.pop_back();
        if (scopes.empty()) return ret;
        if (done) scopes.back().node->AddChild(done);  // a made node's parent scope was made too
        pos = ret + 1;
    }
}

namespace {

// Number of "{" minus number of "}".
int64_t BraceBalance(const char* p, size_t n) {
    int64_t balance = 0;
    size_t i = 0;
#if defined(__SSE2__)
    // Per-byte counters (a compare gives -1 per hit), summed into 64-bit lanes before any
    // byte can overflow.
    const __m128i open = _mm_set1_epi8('{');
    const __m128i close = _mm_set1_epi8('}');
    const __m128i zero = _mm_setzero_si128();
    while (i + 16 <= n) {
        __m128i opens = zero, closes = zero;
        for (int round = 0; round < 255 && i + 16 <= n; ++round, i += 16) {
            __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
            opens = _mm_sub_epi8(opens, _mm_cmpeq_epi8(v, open));
            closes = _mm_sub_epi8(closes, _mm_cmpeq_epi8(v, close));
        }
        __m128i so = _mm_sad_epu8(opens, zero);
        __m128i sc = _mm_sad_epu8(closes, zero);
        balance += _mm_cvtsi128_si64(so) + _mm_cvtsi128_si64(_mm_unpackhi_epi64(so, so));
        balance -= _mm_cvtsi128_si64(sc) + _mm_cvtsi128_si64(_mm_unpackhi_epi64(sc, sc));
    }
#endif
    for (; i < n; ++i) balance += (p[i] == '{') - (p[i] == '}');
    return balance;
}

}  // namespace

bool CfoDocument::Parse(const std::string& text) {
    std::unique_ptr<char[]> copy(new char[text.size()]);
    if (!text.empty()) std::memcpy(copy.get(), text.data(), text.size());
    return ParseInPlace(copy.get(), text.size());
}

bool CfoDocument::ParseInPlace(char* text, size_t size) {
    // Both cleaning passes work in place.
    size = StripCommentsInto(text, size, text);
    size = StripBlanksInto(text, size, text);
    name = "Document";

    if (BraceBalance(text, size) != 0) {
        error = "Parse failed: Missing scopes";
        std::printf("%s\n", error.c_str());
        return false;
    }
    return ParseScope(this, text, size, 0) == size;
}

bool CfoDocument::LoadFile(const std::string& path) {
    // The file's buffer is the only copy of the text: it is cleaned where it lies.
    File file(path, File::READ);
    int64_t got = file.ReadAll();
    if (got == 0) {
        std::printf("CFO Document '%s' not found\n", path.c_str());
        return false;
    }
    if (got < 0) return false;  // too big or damaged: the file layer has said which
    return ParseInPlace(file.Data(), static_cast<size_t>(got));
}

bool CfoDocument::SaveFile(const std::string& path) {
    File file(path, File::WRITE);
    std::string data;
    Serialise(data);
    file.Write(data.data(), static_cast<uint32_t>(data.size()), 1);
    return true;
}

void CfoDocument::Serialise(std::string& out) const {
    if (children.empty()) return;
    for (const CfoNode* child : children) WriteNode(child, "", out);
}

// Writes "indent name", then "=value;\n" when there is a value, then "={\n", the
// children one tab deeper and "indent}\n" when there are children. A node with neither
// writes no line end, and one with both writes its value line and then a separate block;
// documents written so far depend on this layout, so it stays.
void CfoDocument::WriteNode(const CfoNode* node, const std::string& indent, std::string& out) {
    assert(node != nullptr);
    struct Item {
        const CfoNode* node;
        size_t next_child;
    };
    std::vector<Item> stack;
    std::string pad = indent;

    auto open = [&](const CfoNode* n) {
        out += pad;
        out += n->name;
        if (!n->value.empty()) {
            out += '=';
            out += n->value;
            out += ";\n";
        }
        if (!n->children.empty()) {
            out += "={\n";
            stack.push_back({n, 0});
            pad += '\t';
        }
    };

    open(node);
    while (!stack.empty()) {
        Item& top = stack.back();
        if (top.next_child < top.node->children.size()) {
            const CfoNode* child = top.node->children[top.next_child++];
            if (child) open(child);  // may grow the stack: `top` is not used after this
        } else {
            pad.pop_back();
            out += pad;
            out += "}\n";
            stack.pop_back();
        }
    }
}
