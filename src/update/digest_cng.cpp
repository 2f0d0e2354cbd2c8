#include "update/digest.h"

#include <windows.h>

#include <bcrypt.h>

#include <vector>

namespace OvxUpdate {

namespace {

// The algorithm providers, opened once for the process: opening one is dear.
BCRYPT_ALG_HANDLE Provider(LPCWSTR name) {
    BCRYPT_ALG_HANDLE handle = nullptr;
    return BCRYPT_SUCCESS(::BCryptOpenAlgorithmProvider(&handle, name, nullptr, 0)) ? handle : nullptr;
}

class CngDigest final : public Digest {
public:
    CngDigest(BCRYPT_ALG_HANDLE provider, ULONG size) : m_size(size) {
        if (!provider || !BCRYPT_SUCCESS(::BCryptCreateHash(provider, &m_hash, nullptr, 0, nullptr, 0, 0)))
            m_hash = nullptr;
    }
    ~CngDigest() override {
        if (m_hash) ::BCryptDestroyHash(m_hash);
    }
    CngDigest(const CngDigest&) = delete;
    CngDigest& operator=(const CngDigest&) = delete;

    void Add(std::string_view bytes) override {
        // BCryptHashData counts in ULONG: a longer part goes in pieces.
        while (m_hash && !bytes.empty()) {
            auto piece = bytes.substr(0, ULONG{1} << 30);
            auto data = reinterpret_cast<PUCHAR>(const_cast<char*>(piece.data()));
            if (!BCRYPT_SUCCESS(::BCryptHashData(m_hash, data, static_cast<ULONG>(piece.size()), 0))) {
                ::BCryptDestroyHash(m_hash);
                m_hash = nullptr;
            }
            bytes.remove_prefix(piece.size());
        }
    }
    std::string FinishHex() override {
        std::vector<UCHAR> digest(m_size);
        if (!m_hash || !BCRYPT_SUCCESS(::BCryptFinishHash(m_hash, digest.data(), m_size, 0))) return {};
        std::string hex;
        for (UCHAR byte : digest) {
            hex += "0123456789abcdef"[byte >> 4];
            hex += "0123456789abcdef"[byte & 0xF];
        }
        return hex;
    }

private:
    BCRYPT_HASH_HANDLE m_hash = nullptr;
    ULONG m_size;
};

}  // namespace

std::unique_ptr<Digest> Digest::Make(std::string_view algorithm) {
    static const BCRYPT_ALG_HANDLE sha256 = Provider(BCRYPT_SHA256_ALGORITHM);
    static const BCRYPT_ALG_HANDLE sha512 = Provider(BCRYPT_SHA512_ALGORITHM);
    if (algorithm == "sha256") return std::make_unique<CngDigest>(sha256, 32);
    if (algorithm == "sha512") return std::make_unique<CngDigest>(sha512, 64);
    return nullptr;
}

}  // namespace OvxUpdate
