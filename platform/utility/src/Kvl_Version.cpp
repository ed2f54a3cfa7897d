#include <Kvl/Kvl_Version.h>

#include <cstdlib>
#include <cstring>

#include "Kvl_VersionConfig.h"

const char* Kvl_Version::GetVersionString() noexcept { return KVL_VERSION_STRING; }

int Kvl_Version::GetMajor() noexcept { return KVL_VERSION_MAJOR; }

int Kvl_Version::GetMinor() noexcept { return KVL_VERSION_MINOR; }

int Kvl_Version::GetPatch() noexcept { return KVL_VERSION_PATCH; }

char* Kvl_Version::ToText() const {
    const size_t length = std::strlen(KVL_VERSION_STRING);
    char* text = static_cast<char*>(std::malloc(length + 1));
    if (text != nullptr) std::memcpy(text, KVL_VERSION_STRING, length + 1);
    return text;
}
