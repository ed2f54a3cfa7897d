// SHA-256 (FIPS 180-4) and HMAC (RFC 2104) over it.
#include "Dicom_Sha256.h"

#include <cstring>

namespace {

constexpr uint32_t kRound[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr uint32_t Rotr(uint32_t x, int n) { return (x >> n) | (x << (32 - n)); }

class Sha256 {
public:
    void Update(std::string_view data) {
        const auto* p = reinterpret_cast<const unsigned char*>(data.data());
        size_t n = data.size();
        m_total += n;
        while (n > 0) {
            const size_t take = std::min(n, sizeof m_block - m_used);
            std::memcpy(m_block + m_used, p, take);
            m_used += take;
            p += take;
            n -= take;
            if (m_used == sizeof m_block) {
                Compress(m_block);
                m_used = 0;
            }
        }
    }

    Dicom_Sha256::Digest Finish() {
        const uint64_t bits = m_total * 8;
        const unsigned char one = 0x80;
        Update(std::string_view(reinterpret_cast<const char*>(&one), 1));
        const unsigned char zero[64] = {};
        const size_t pad = (m_used <= 56 ? 56 : 120) - m_used;
        Update(std::string_view(reinterpret_cast<const char*>(zero), pad));
        unsigned char length[8];
        for (int i = 0; i < 8; ++i) length[i] = static_cast<unsigned char>(bits >> (56 - 8 * i));
        Update(std::string_view(reinterpret_cast<const char*>(length), 8));
        Dicom_Sha256::Digest out;
        for (int i = 0; i < 8; ++i)
            for (int j = 0; j < 4; ++j)
                out[static_cast<size_t>(4 * i + j)] = static_cast<unsigned char>(m_h[i] >> (24 - 8 * j));
        return out;
    }

private:
    void Compress(const unsigned char* block) {
        uint32_t w[64];
        for (int i = 0; i < 16; ++i)
            w[i] = uint32_t{block[4 * i]} << 24 | uint32_t{block[4 * i + 1]} << 16 |
                   uint32_t{block[4 * i + 2]} << 8 | uint32_t{block[4 * i + 3]};
        for (int i = 16; i < 64; ++i) {
            const uint32_t s0 = Rotr(w[i - 15], 7) ^ Rotr(w[i - 15], 18) ^ (w[i - 15] >> 3);
            const uint32_t s1 = Rotr(w[i - 2], 17) ^ Rotr(w[i - 2], 19) ^ (w[i - 2] >> 10);
            w[i] = w[i - 16] + s0 + w[i - 7] + s1;
        }
        uint32_t a = m_h[0], b = m_h[1], c = m_h[2], d = m_h[3], e = m_h[4], f = m_h[5], g = m_h[6],
                 h = m_h[7];
        for (int i = 0; i < 64; ++i) {
            const uint32_t t1 =
                h + (Rotr(e, 6) ^ Rotr(e, 11) ^ Rotr(e, 25)) + ((e & f) ^ (~e & g)) + kRound[i] + w[i];
            const uint32_t t2 = (Rotr(a, 2) ^ Rotr(a, 13) ^ Rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
            h = g;
            g = f;
            f = e;
            e = d + t1;
            d = c;
            c = b;
            b = a;
            a = t1 + t2;
        }
        m_h[0] += a;
        m_h[1] += b;
        m_h[2] += c;
        m_h[3] += d;
        m_h[4] += e;
        m_h[5] += f;
        m_h[6] += g;
        m_h[7] += h;
    }

    uint32_t m_h[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                       0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    unsigned char m_block[64] = {};
    size_t m_used = 0;
    uint64_t m_total = 0;
};

std::string_view View(const unsigned char* p, size_t n) {
    return std::string_view(reinterpret_cast<const char*>(p), n);
}

}  // namespace

Dicom_Sha256::Digest Dicom_Sha256::Hash(std::string_view data) {
    Sha256 s;
    s.Update(data);
    return s.Finish();
}

Dicom_Sha256::Digest Dicom_Sha256::Hmac(std::string_view key, std::string_view message) {
    unsigned char block[64] = {};
    if (key.size() > sizeof block) {
        const Digest k = Hash(key);
        std::memcpy(block, k.data(), k.size());
    } else {
        std::memcpy(block, key.data(), key.size());
    }
    unsigned char pad[64];
    for (size_t i = 0; i < sizeof pad; ++i) pad[i] = static_cast<unsigned char>(block[i] ^ 0x36);
    Sha256 inner;
    inner.Update(View(pad, sizeof pad));
    inner.Update(message);
    const Digest innerDigest = inner.Finish();
    for (size_t i = 0; i < sizeof pad; ++i) pad[i] = static_cast<unsigned char>(block[i] ^ 0x5c);
    Sha256 outer;
    outer.Update(View(pad, sizeof pad));
    outer.Update(View(innerDigest.data(), innerDigest.size()));
    return outer.Finish();
}
