// SHA-256 and HMAC-SHA-256 for the layer's keyed encoding of identifiers (Dicom_LO::GetEncoded).
// Self-contained, so that the library needs no cryptography library loaded with it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Dicom_Sha256 {

using Digest = std::array<unsigned char, 32>;

// The SHA-256 digest of `data`.
Digest Hash(std::string_view data);

// HMAC-SHA-256 of `message` under `key` (any length).
Digest Hmac(std::string_view key, std::string_view message);

}  // namespace Dicom_Sha256
