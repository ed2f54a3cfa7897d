// Dicom_LO::GetEncoded: keyed one-way encoding of identifiers.
#include <Dicom/Dicom_LO.h>
#include <KvlLog/Kvl_LogFile.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include "Dicom_ValuesUtil.h"

namespace {

// Used only when IOD_DEID_KEY is not set; a site must set its own key.
constexpr char kBuiltInKey[] = "IOD de-identification built-in key; set IOD_DEID_KEY per site";

const std::string& Key() {
    static const std::string key = [] {
        const char* env = std::getenv("IOD_DEID_KEY");
        if (env && *env) return std::string(env);
        if (KvlGLog.StoreParams("dicom/src/Dicom_ValuesDeid", "Dicom_LO::GetEncoded", __LINE__, 3, 20, 1))
            KvlGLog.Log("Dicom_LO::GetEncoded: IOD_DEID_KEY is not set; using the built-in key\n");
        return std::string(kBuiltInKey);
    }();
    return key;
}

}  // namespace

Dicom_LO Dicom_LO::GetEncoded() const {
    const std::string_view text = Dicom_ValuesUtil::TrimPadding(
        m_len ? std::string_view(reinterpret_cast<const char*>(m_data), m_len) : std::string_view(), true);
    if (text.empty()) return Dicom_LO();
    const std::string& key = Key();
    unsigned char mac[EVP_MAX_MD_SIZE];
    unsigned int macLen = 0;
    if (!HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
              reinterpret_cast<const unsigned char*>(text.data()), text.size(), mac, &macLen) ||
        macLen < 32)
        return Dicom_LO();
    static const char kHex[] = "0123456789ABCDEF";
    char out[64];
    for (int i = 0; i < 32; ++i) {
        out[2 * i] = kHex[mac[i] >> 4];
        out[2 * i + 1] = kHex[mac[i] & 15];
    }
    return Dicom_LO(static_cast<void*>(out), 64u, 1, nullptr);
}
