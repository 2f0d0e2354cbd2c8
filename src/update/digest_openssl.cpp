#include "update/digest.h"

#include <openssl/evp.h>

namespace OvxUpdate {

namespace {

class OpenSslDigest final : public Digest {
public:
    explicit OpenSslDigest(const EVP_MD* type) : m_context(EVP_MD_CTX_new()) {
        if (m_context) EVP_DigestInit_ex(m_context, type, nullptr);
    }
    ~OpenSslDigest() override { EVP_MD_CTX_free(m_context); }
    OpenSslDigest(const OpenSslDigest&) = delete;
    OpenSslDigest& operator=(const OpenSslDigest&) = delete;

    void Add(std::string_view bytes) override {
        if (m_context) EVP_DigestUpdate(m_context, bytes.data(), bytes.size());
    }
    std::string FinishHex() override {
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned int size = 0;
        if (!m_context || EVP_DigestFinal_ex(m_context, digest, &size) != 1) return {};
        std::string hex;
        for (unsigned int i = 0; i < size; ++i) {
            hex += "0123456789abcdef"[digest[i] >> 4];
            hex += "0123456789abcdef"[digest[i] & 0xF];
        }
        return hex;
    }

private:
    EVP_MD_CTX* m_context;
};

}  // namespace

std::unique_ptr<Digest> Digest::Make(std::string_view algorithm) {
    if (algorithm == "sha256") return std::make_unique<OpenSslDigest>(EVP_sha256());
    if (algorithm == "sha512") return std::make_unique<OpenSslDigest>(EVP_sha512());
    return nullptr;
}

}  // namespace OvxUpdate
