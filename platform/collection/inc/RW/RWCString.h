// RW/RWCString.h: the collection library's string, a thin wrapper over std::string.
//
//   RWCString s("MONOCHROME2");
//   if (s == "MONOCHROME2") ...;
//   std::printf("%s\n", s.data());          // or (const char*)s
//   RWCString t = s(0, 4);                  // "MONO" (substring, checked)
//   size_t i = s.index("CHROME");           // 4, RW_NPOS when absent
//
// The text may contain NUL bytes (length() counts them); data()/c_str() and
// the conversion to const char* end at the terminating NUL. Checked access
// (operator[], operator()) throws RWBoundsErr. Comparisons are byte-wise.
#pragma once

#include <RW/RWBoundsErr.h>
#include <RW/RWDefs.h>

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

class RWCString {
public:
    enum stripType { leading = 1, trailing = 2, both = 3 };

    RWCString() = default;
    RWCString(const char* text) : text_(text != nullptr ? text : "") {}  // NOLINT: implicit by design
    RWCString(const char* text, size_t length)
        : text_(text != nullptr ? text : "", text != nullptr ? length : 0) {}
    RWCString(const std::string& text) : text_(text) {}                 // NOLINT: implicit by design
    RWCString(std::string&& text) noexcept : text_(std::move(text)) {}  // NOLINT: implicit by design
    RWCString(std::string_view text) : text_(text) {}                   // NOLINT: implicit by design
    RWCString(char c, size_t count) : text_(count, c) {}

    const char* data() const noexcept { return text_.c_str(); }
    const char* c_str() const noexcept { return text_.c_str(); }
    operator const char*() const noexcept { return text_.c_str(); }  // NOLINT: implicit by design
    const std::string& str() const noexcept { return text_; }
    std::string_view view() const noexcept { return text_; }

    size_t length() const noexcept { return text_.size(); }
    bool isNull() const noexcept { return text_.empty(); }

    // Checked character access.
    char operator[](size_t i) const {
        RWCheckBounds(i, text_.size());
        return text_[i];
    }
    char& operator[](size_t i) {
        RWCheckBounds(i, text_.size());
        return text_[i];
    }
    // Substring of `length` characters from `start` (checked: start + length <= length()).
    RWCString operator()(size_t start, size_t length) const;

    // Position of the first occurrence of `pattern` at or after `start`; RW_NPOS if none.
    size_t index(const char* pattern, size_t start = 0) const;
    size_t index(const RWCString& pattern, size_t start = 0) const;
    // Position of the first / last occurrence of `c`; RW_NPOS if none.
    size_t first(char c) const noexcept;
    size_t last(char c) const noexcept;
    bool contains(const char* pattern) const { return index(pattern) != RW_NPOS; }
    bool contains(const RWCString& pattern) const { return index(pattern) != RW_NPOS; }

    RWCString& append(const char* text);
    RWCString& append(const RWCString& text);
    RWCString& append(char c, size_t count = 1);
    RWCString& prepend(const char* text);
    RWCString& prepend(const RWCString& text);
    RWCString& operator+=(const char* text) { return append(text); }
    RWCString& operator+=(const RWCString& text) { return append(text); }
    RWCString& operator+=(char c) { return append(c); }

    // In-place ASCII case conversion.
    RWCString& toLower();
    RWCString& toUpper();
    // A copy without the leading and/or trailing runs of `c`.
    RWCString strip(stripType where = trailing, char c = ' ') const;

    // <0, 0, >0 as this is less than, equal to, greater than `other` (byte-wise).
    int compareTo(const RWCString& other) const noexcept { return text_.compare(other.text_); }
    int compareTo(const char* other) const noexcept { return text_.compare(other != nullptr ? other : ""); }
    unsigned hash() const noexcept;

    friend bool operator==(const RWCString& a, const RWCString& b) noexcept { return a.text_ == b.text_; }
    friend bool operator==(const RWCString& a, const char* b) noexcept {
        return a.text_ == (b != nullptr ? b : "");
    }
    friend std::strong_ordering operator<=>(const RWCString& a, const RWCString& b) noexcept {
        return a.text_ <=> b.text_;
    }
    friend RWCString operator+(const RWCString& a, const RWCString& b) {
        return RWCString(a.text_ + b.text_);
    }
    friend RWCString operator+(const RWCString& a, const char* b) {
        return RWCString(a.text_ + (b != nullptr ? b : ""));
    }
    friend RWCString operator+(const char* a, const RWCString& b) {
        return RWCString((a != nullptr ? a : "") + b.text_);
    }

private:
    std::string text_;
};
