// RW/RWBoundsErr.h: the collection library's bounds error.
//
// Thrown by the checked element access of the RW collections (at(),
// operator[], removeAt(), insertAt(), first()/last() of an empty
// collection). what() names the index and the length, e.g.
// "RWBoundsErr: index 5 out of range for length 3".
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

class RWBoundsErr : public std::out_of_range {
public:
    RWBoundsErr(size_t index, size_t length)
        : std::out_of_range("RWBoundsErr: index " + std::to_string(index) + " out of range for length " +
                            std::to_string(length)),
          index_(index),
          length_(length) {}

    size_t index() const noexcept { return index_; }
    size_t length() const noexcept { return length_; }

private:
    size_t index_;
    size_t length_;
};

// Throws RWBoundsErr unless index < length.
inline void RWCheckBounds(size_t index, size_t length) {
    if (index >= length) throw RWBoundsErr(index, length);
}
