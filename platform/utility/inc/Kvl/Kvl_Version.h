// Kvl/Kvl_Version.h: the version of the IOD libraries.
//
// The version comes from the top-level CMake project version (the one source
// of truth), through a header configured at build time.
//
//   std::printf("%s\n", Kvl_Version::GetVersionString());   // "0.1.0"
//
//   Kvl_Version version;
//   char* text = version.ToText();   // malloc'd copy, e.g. "0.1.0"
//   ...
//   std::free(text);
#pragma once

class Kvl_Version {
public:
    // The version as text, "MAJOR.MINOR.PATCH"; static storage, never null.
    static const char* GetVersionString() noexcept;
    static int GetMajor() noexcept;
    static int GetMinor() noexcept;
    static int GetPatch() noexcept;

    // A copy of GetVersionString() allocated with malloc: the caller releases
    // it with free(). Null only when memory runs out.
    char* ToText() const;
};
