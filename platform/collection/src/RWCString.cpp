#include <RW/RWCString.h>

#include <functional>

RWCString RWCString::operator()(size_t start, size_t length) const {
    if (start > text_.size() || length > text_.size() - start) {
        throw RWBoundsErr(start > text_.size() ? start : start + length, text_.size());
    }
    return RWCString(text_.substr(start, length));
}

size_t RWCString::index(const char* pattern, size_t start) const {
    if (pattern == nullptr) return RW_NPOS;
    const size_t at = text_.find(pattern, start);
    return at == std::string::npos ? RW_NPOS : at;
}

size_t RWCString::index(const RWCString& pattern, size_t start) const {
    const size_t at = text_.find(pattern.text_, start);
    return at == std::string::npos ? RW_NPOS : at;
}

size_t RWCString::first(char c) const noexcept {
    const size_t at = text_.find(c);
    return at == std::string::npos ? RW_NPOS : at;
}

size_t RWCString::last(char c) const noexcept {
    const size_t at = text_.rfind(c);
    return at == std::string::npos ? RW_NPOS : at;
}

RWCString& RWCString::append(const char* text) {
    if (text != nullptr) text_ += text;
    return *this;
}

RWCString& RWCString::append(const RWCString& text) {
    text_ += text.text_;
    return *this;
}

RWCString& RWCString::append(char c, size_t count) {
    text_.append(count, c);
    return *this;
}

RWCString& RWCString::prepend(const char* text) {
    if (text != nullptr) text_.insert(0, text);
    return *this;
}

RWCString& RWCString::prepend(const RWCString& text) {
    text_.insert(0, text.text_);
    return *this;
}

RWCString& RWCString::toLower() {
    for (char& c : text_) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return *this;
}

RWCString& RWCString::toUpper() {
    for (char& c : text_) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return *this;
}

RWCString RWCString::strip(stripType where, char c) const {
    size_t begin = 0;
    size_t end = text_.size();
    if ((where & leading) != 0) {
        while (begin < end && text_[begin] == c) ++begin;
    }
    if ((where & trailing) != 0) {
        while (end > begin && text_[end - 1] == c) --end;
    }
    return RWCString(text_.substr(begin, end - begin));
}

unsigned RWCString::hash() const noexcept { return static_cast<unsigned>(std::hash<std::string>{}(text_)); }
