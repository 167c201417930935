#pragma once
// CfoText: the name or value text of a CfoNode. It reads like a const std::string (size,
// c_str, comparisons, conversion to std::string and std::string_view) and can be assigned
// like one.
//
// Storage: a text the parser made points into its document's arena and owns nothing; a
// text assigned later owns a heap copy. Assigning to a text of a node that lives in an
// arena tells the arena (see CfoArena::MarkDirty), so that the copy is freed with the
// document. c_str() is always terminated, so the empty text is "".

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

class CfoText {
public:
    CfoText() = default;
    explicit CfoText(std::string_view text) { Assign(text); }
    explicit CfoText(const std::string& text) { Assign(text); }
    explicit CfoText(const char* text) { Assign(text ? std::string_view(text) : ""); }
    CfoText(const CfoText& other) { Assign(other.view()); }
    CfoText(CfoText&& other);
    ~CfoText() { Free(); }

    CfoText& operator=(const CfoText& other);
    CfoText& operator=(CfoText&& other);
    CfoText& operator=(std::string_view text) {
        Assign(text);
        return *this;
    }
    CfoText& operator=(const std::string& text) {
        Assign(text);
        return *this;
    }
    CfoText& operator=(const char* text) {
        Assign(text ? std::string_view(text) : "");
        return *this;
    }

    const char* c_str() const { return data_; }
    const char* data() const { return data_; }
    size_t size() const { return static_cast<size_t>(bits_ & kSizeMask); }
    size_t length() const { return size(); }
    bool empty() const { return size() == 0; }
    char operator[](size_t i) const { return data_[i]; }
    const char* begin() const { return data_; }
    const char* end() const { return data_ + size(); }
    char front() const { return data_[0]; }
    char back() const { return data_[size() - 1]; }

    std::string_view view() const { return std::string_view(data_, size()); }
    std::string str() const { return std::string(data_, size()); }
    operator std::string_view() const { return view(); }
    operator std::string() const { return str(); }

    size_t find(std::string_view what, size_t pos = 0) const { return view().find(what, pos); }
    size_t find(char c, size_t pos = 0) const { return view().find(c, pos); }
    int compare(std::string_view other) const { return view().compare(other); }
    std::string substr(size_t pos, size_t count = std::string::npos) const {
        return std::string(view().substr(pos, count));
    }

    void clear() { Assign(std::string_view()); }

    friend bool operator==(const CfoText& a, std::string_view b) { return a.view() == b; }
    friend bool operator==(const CfoText& a, const CfoText& b) { return a.view() == b.view(); }
    friend bool operator<(const CfoText& a, std::string_view b) { return a.view() < b; }

    friend std::string operator+(const std::string& a, const CfoText& b) {
        std::string out = a;
        out.append(b.data_, b.size());
        return out;
    }
    friend std::string operator+(std::string&& a, const CfoText& b) {
        a.append(b.data_, b.size());
        return std::move(a);
    }
    friend std::string operator+(const char* a, const CfoText& b) { return std::string(a) + b; }
    friend std::string operator+(const CfoText& a, const std::string& b) { return a.str() + b; }
    friend std::string operator+(const CfoText& a, const char* b) { return a.str() + b; }

    friend std::ostream& operator<<(std::ostream& out, const CfoText& text);

private:
    friend class CfoArena;
    friend class CfoNode;

    static constexpr uint64_t kOwned = uint64_t(1) << 63;      // data_ is a heap copy
    static constexpr uint64_t kArenaNode = uint64_t(1) << 62;  // the node lives in an arena
    static constexpr uint64_t kSizeMask = kArenaNode - 1;

    void Assign(std::string_view text);
    void Free();
    // The parser's way in: `text` (`size` bytes and a terminator) lives in the arena.
    void SetArenaText(const char* text, size_t size) {
        data_ = text;
        bits_ = kArenaNode | static_cast<uint64_t>(size);
    }
    void MarkArenaNode() { bits_ |= kArenaNode; }

    const char* data_ = "";
    uint64_t bits_ = 0;
};
