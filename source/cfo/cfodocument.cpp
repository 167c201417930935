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

// The pending text of a scope, or a key: a range of the cleaned text, or a copy of its own
// once a nested scope has split it ("abc{}def" gives "abcdef").
struct Token {
    const char* start = nullptr;
    size_t size = 0;
    bool spilled = false;
    std::string spill;

    bool empty() const { return size == 0; }
    const char* data() const { return spilled ? spill.data() : start; }
    void clear() {
        size = 0;
        spilled = false;
    }
    void Append(const char* text, size_t count) {
        if (size == 0) {
            start = text;
            size = count;
            spilled = false;
            return;
        }
        if (!spilled) {
            spill.assign(start, size);
            spilled = true;
        }
        spill.append(text, count);
        size = spill.size();
    }
    // Moves `other` here and leaves it empty.
    void Take(Token& other) {
        if (other.spilled) {
            spill.swap(other.spill);
            spilled = true;
            size = spill.size();
        } else {
            start = other.start;
            size = other.size;
            spilled = false;
        }
        other.clear();
    }
};

// Makes the nodes of one tree-builder run: in the document's arena when the tree belongs
// to a document, else on the heap. When memory runs out the node is skipped: the builder
// goes on and whatever the text puts inside it is lost. Inside a lost scope (`parent` null)
// nothing is allocated at all.
//
// With `writable` set, the text being read lies in the arena and the nodes keep their
// texts where they are: a token that becomes a node and was not split ends at the "{",
// "}", "=" or ";" that ended it (a token still open at the end of the text is dropped),
// a byte the builder has read for the last time, which becomes the token's terminator.
class NodeMaker {
public:
    NodeMaker(CfoArena* tree_arena, char* text) : arena(tree_arena), writable(text) {}

    CfoNode* Make(CfoNode* parent, const Token* name, const Token* value) {
        if (!parent) return nullptr;
        CfoNode* node;
        if (arena) {
            const bool copy = !writable || (name && name->spilled) || (value && value->spilled);
            if (!copy) {
                if (name) Terminate(*name);
                if (value) Terminate(*value);
            }
            node = arena->NewNode(name ? name->data() : nullptr, name ? name->size : 0,
                                  value ? value->data() : nullptr, value ? value->size : 0, copy);
            if (!node) return nullptr;
        } else {
            node = new (std::nothrow) CfoNode();
            if (!node) return nullptr;
            if (name) node->name = std::string_view(name->data(), name->size);
            if (value) node->value = std::string_view(value->data(), value->size);
        }
        node->parent = parent;
        return node;
    }

    // Gives `node` the `count` children listed at `list`, in order; their indices are set.
    void Attach(CfoNode* node, CfoNode* const* list, size_t count) {
        if (count == 0) return;
        if (arena && node->InArena() && node->children.empty()) {
            // Without room for the array the children are lost with what they hold.
            arena->SetChildren(node, list, count);
            return;
        }
        node->children.reserve(node->children.size() + count);
        for (size_t i = 0; i < count; ++i) node->children.push_back(list[i]);
    }

private:
    void Terminate(const Token& token) {
        writable[token.start - writable + static_cast<ptrdiff_t>(token.size)] = '\0';
    }

    CfoArena* arena;
    char* writable;
};

// The tree builder behind ParseScope; see there.
size_t BuildTree(CfoNode* node, CfoArena* arena, char* writable, const char* s, size_t n,
                 size_t pos) {
    NodeMaker maker(arena, writable);

    struct Scope {
        CfoNode* node;  // null for a scope whose node could not be made
        size_t first;   // where its children start in `made`
        int32_t base;   // children the node had before this parse
        Token token;
    };
    // The children of every open scope, innermost last; a scope hands its run to its node
    // when it closes.
    std::vector<CfoNode*> made;
    auto attach = [&made](Scope& scope, CfoNode* child) {
        child->index = scope.base + static_cast<int32_t>(made.size() - scope.first);
        made.push_back(child);
    };
    auto close = [&made, &maker](Scope& scope) {
        if (scope.node)
            maker.Attach(scope.node, made.data() + scope.first, made.size() - scope.first);
        made.resize(scope.first);
    };

    std::vector<Scope> scopes;
    scopes.push_back({node, 0, static_cast<int32_t>(node->children.size()), Token()});
    Token key;
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
                CfoNode* child = maker.Make(scope.node, key.empty() ? nullptr : &key, nullptr);
                key.clear();
                scopes.push_back({child, made.size(), 0, Token()});
                ++pos;
            } else if (c == '}') {
                if (!scope.token.empty()) {
                    if (CfoNode* child = maker.Make(scope.node, &scope.token, nullptr))
                        attach(scope, child);
                }
                ret = pos;
                break;
            } else if (c == '=') {
                if (!scope.token.empty()) key.Take(scope.token);
                ++pos;
            } else if (c == ';') {
                if (!scope.token.empty()) {
                    if (!key.empty()) {
                        if (CfoNode* child = maker.Make(scope.node, &key, &scope.token))
                            attach(scope, child);
                        key.clear();
                    }
                    scope.token.clear();
                }
                ++pos;
            } else {
                size_t end = FindFirstOf<'{', '}', '=', ';'>(s, pos, n);
                scope.token.Append(s + pos, end - pos);
                pos = end;
            }
        }
        // Leave the scope: its key dies with it.
        key.clear();
        close(scopes.back());
        CfoNode* done = scopes.back().node;
        scopes.pop_back();
        if (scopes.empty()) return ret;
        // A made node's parent scope was made too.
        if (done) attach(scopes.back(), done);
        pos = ret + 1;
    }
}

}  // namespace

size_t CfoDocument::ParseScope(CfoNode* node, const char* s, size_t n, size_t pos) {
    assert(node != nullptr);
    CfoNode* root = node;
    while (root->parent) root = root->parent;
    CfoDocument* document = dynamic_cast<CfoDocument*>(root);
    return BuildTree(node, document ? &document->arena : nullptr, nullptr, s, n, pos);
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
    // The comment pass copies the text into the arena, where the blank pass cleans it in
    // place and the nodes keep their texts. Should the arena have no room, a scratch copy
    // serves and the nodes copy their texts.
    const size_t size = text.size();
    // One byte more than the text, so that even its last byte could be a terminator.
    char* clean = size < SIZE_MAX ? arena.NewText(size + 1) : nullptr;
    if (clean) return ParseCleaned(text.data(), size, clean, true);
    std::unique_ptr<char[]> scratch(new char[size]);
    return ParseCleaned(text.data(), size, scratch.get(), false);
}

bool CfoDocument::ParseInPlace(char* text, size_t size) {
    // The caller's buffer goes away after this: the nodes copy their texts into the arena.
    return ParseCleaned(text, size, text, false);
}

bool CfoDocument::ParseCleaned(const char* text, size_t size, char* clean, bool keep) {
    size = StripCommentsInto(text, size, clean);
    size = StripBlanksInto(clean, size, clean);
    name = "Document";

    if (BraceBalance(clean, size) != 0) {
        error = "Parse failed: Missing scopes";
        std::printf("%s\n", error.c_str());
        return false;
    }
    return BuildTree(this, &arena, keep ? clean : nullptr, clean, size, 0) == size;
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

CfoDocument::~CfoDocument() {
    // The root's own heap children first (they may list arena nodes), then the arena; the
    // base destructor then finds no children left.
    std::vector<CfoNode*> heap;
    for (CfoNode* child : children)
        if (child && !child->InArena()) heap.push_back(child);
    children.clear();
    for (CfoNode* child : heap) delete child;
    arena.Release();
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
