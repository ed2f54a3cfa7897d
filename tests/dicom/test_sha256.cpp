// The layer's own SHA-256 and HMAC-SHA-256 against published test vectors (FIPS 180-2 examples,
// RFC 4231) and against lengths around the 55/56/64-byte padding boundaries.
#include <gtest/gtest.h>

#include <string>

#include "Dicom_Sha256.h"

namespace {

std::string Hex(const Dicom_Sha256::Digest& d) {
    static const char kHex[] = "0123456789abcdef";
    std::string s;
    for (unsigned char b : d) {
        s += kHex[b >> 4];
        s += kHex[b & 15];
    }
    return s;
}

TEST(Sha256, DigestsOfKnownMessages) {
    const struct {
        std::string message;
        const char* digest;
    } cases[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {std::string(55, 'a'), "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
        {std::string(56, 'a'), "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a"},
        {std::string(64, 'a'), "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
        {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    for (const auto& c : cases) EXPECT_EQ(Hex(Dicom_Sha256::Hash(c.message)), c.digest) << c.message.size();
}

TEST(Sha256, HmacOfKnownKeysAndMessages) {
    const struct {
        std::string key;
        std::string message;
        const char* mac;
    } cases[] = {
        {std::string(20, '\x0b'), "Hi There",
         "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7"},
        {"Jefe", "what do ya want for nothing?",
         "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843"},
        {std::string(64, 'k'), std::string(200, 'x'),
         "3c469482eb841790ea999241b8c6238f7a2df12b5bf79eb6d7ab592729ed9954"},
        // a key longer than the block is hashed first
        {std::string(131, '\xaa'), "Test Using Larger Than Block-Size Key - Hash Key First",
         "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54"},
    };
    for (const auto& c : cases) EXPECT_EQ(Hex(Dicom_Sha256::Hmac(c.key, c.message)), c.mac) << c.key.size();
}

}  // namespace
