// RW/RWvstream.h: minimal virtual streams of the collection library, the
// arguments of RWCollectable::saveGuts / restoreGuts.
//
// An RWvostream receives bytes, an RWvistream hands them out; concrete
// streams (in memory, over a file, ...) derive from them. Values are stored
// as their bytes, in the machine's byte order.
#pragma once

#include <cstddef>

class RWvostream {
public:
    virtual ~RWvostream() = default;
    // Appends `count` bytes.
    virtual void put(const void* data, size_t count) = 0;
    // False once a put failed.
    virtual bool good() const = 0;

    template <class T>
    RWvostream& operator<<(const T& value) {
        put(&value, sizeof value);
        return *this;
    }
};

class RWvistream {
public:
    virtual ~RWvistream() = default;
    // Reads exactly `count` bytes; false (and good() false) when fewer remain.
    virtual bool get(void* data, size_t count) = 0;
    virtual bool good() const = 0;

    template <class T>
    RWvistream& operator>>(T& value) {
        get(&value, sizeof value);
        return *this;
    }
};
