// Dicom_UIDGenerator: "2.25." followed by a random 128-bit number in decimal.
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_UIDGenerator.h>
#include <openssl/rand.h>

#include <stdexcept>

__extension__ typedef unsigned __int128 Uint128;

Dicom_UIDGenerator::Dicom_UIDGenerator() = default;

std::string Dicom_UIDGenerator::GenerateString() {
    unsigned char bytes[16];
    // RAND_bytes is thread-safe and seeded by the operating system.
    if (RAND_bytes(bytes, sizeof bytes) != 1) throw std::runtime_error("Dicom_UIDGenerator: no random bytes");
    Uint128 n = 0;
    for (unsigned char b : bytes) n = (n << 8) | b;
    char digits[40];
    int i = sizeof digits;
    do {
        digits[--i] = static_cast<char>('0' + static_cast<int>(n % 10));
        n /= 10;
    } while (n != 0);
    return "2.25." + std::string(digits + i, sizeof digits - static_cast<size_t>(i));
}

Dicom_UI Dicom_UIDGenerator::Generate() { return Dicom_UI(GenerateString()); }
