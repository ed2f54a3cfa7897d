// IOD/IOD_Error.h: the error type of the IOD library.
//
// An empty structure: it carries no code and no text, its type alone is the
// information. Its copy and move assignments copy nothing and return the
// target.
//
//   try { ... } catch (const IOD_Error&) { ... }
#pragma once

struct IOD_Error {
    IOD_Error() noexcept = default;
    IOD_Error(const IOD_Error&) noexcept = default;
    IOD_Error(IOD_Error&&) noexcept = default;
    ~IOD_Error() = default;

    IOD_Error& operator=(const IOD_Error& /*other*/) noexcept { return *this; }
    IOD_Error& operator=(IOD_Error&& /*other*/) noexcept { return *this; }
};
