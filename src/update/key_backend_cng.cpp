// The update channel's RSA-PSS and ECDSA checks on Windows, from CNG and crypt32.
#include "update/key_backend.h"

#include <windows.h>

#include <bcrypt.h>
#include <wincrypt.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace OvxUpdate::KeyBackend {

namespace {

using OvxUtils::Error;

constexpr NTSTATUS kInvalidSignature = static_cast<NTSTATUS>(0xC000A000);
constexpr NTSTATUS kInvalidParameter = static_cast<NTSTATUS>(0xC000000D);

constexpr std::string_view kPemHeader = "-----BEGIN PUBLIC KEY-----";
// A PEM key of 16384 bits, the most CNG takes, is under 3 KiB.
constexpr std::size_t kMaxPemSize = 16 * 1024;
constexpr ULONG kDigestSize = 32;
constexpr std::size_t kCoordinateSize = 32;
// The parameters of a P-256 key in its SubjectPublicKeyInfo: the curve's OID, DER-encoded.
constexpr unsigned char kP256Parameters[] = {0x06, 0x08, 0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x03, 0x01, 0x07};

struct CloseAlgorithm {
    void operator()(void* handle) const { ::BCryptCloseAlgorithmProvider(handle, 0); }
};
struct DestroyKey {
    void operator()(void* handle) const { ::BCryptDestroyKey(handle); }
};
struct DestroyHash {
    void operator()(void* handle) const { ::BCryptDestroyHash(handle); }
};
struct FreeLocal {
    void operator()(void* memory) const { ::LocalFree(memory); }
};
using UniqueAlgorithm = std::unique_ptr<void, CloseAlgorithm>;
using UniqueKey = std::unique_ptr<void, DestroyKey>;
using UniqueHash = std::unique_ptr<void, DestroyHash>;
using UniqueKeyInfo = std::unique_ptr<CERT_PUBLIC_KEY_INFO, FreeLocal>;
using Digest = std::array<UCHAR, kDigestSize>;

// A key with the provider it was made by, which must outlive it.
struct Key {
    UniqueAlgorithm algorithm;
    UniqueKey handle;
};

// CNG takes its inputs through non-const pointers; it does not write them.
PUCHAR Bytes(std::string_view bytes) { return reinterpret_cast<PUCHAR>(const_cast<char*>(bytes.data())); }

CString StatusText(NTSTATUS status) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(status));
    return u"status " + CString::FromUtf8(text);
}

Result<UniqueAlgorithm> OpenAlgorithm(LPCWSTR name) {
    BCRYPT_ALG_HANDLE handle = nullptr;
    const NTSTATUS status = ::BCryptOpenAlgorithmProvider(&handle, name, nullptr, 0);
    if (!BCRYPT_SUCCESS(status)) {
        return Error{u"CNG has no " + CString(name) + u" algorithm (" + StatusText(status) + u")"};
    }
    return UniqueAlgorithm(handle);
}

Result<Digest> Sha256(std::string_view message) {
    Result<UniqueAlgorithm> algorithm = OpenAlgorithm(BCRYPT_SHA256_ALGORITHM);
    if (!algorithm) return algorithm.TakeError();
    BCRYPT_HASH_HANDLE handle = nullptr;
    NTSTATUS status = ::BCryptCreateHash(algorithm->get(), &handle, nullptr, 0, nullptr, 0, 0);
    const UniqueHash hash(BCRYPT_SUCCESS(status) ? handle : nullptr);
    // BCryptHashData counts in ULONG: a longer message goes in parts.
    for (std::string_view rest = message; BCRYPT_SUCCESS(status) && !rest.empty();) {
        const std::string_view part = rest.substr(0, std::size_t{1} << 30);
        status = ::BCryptHashData(hash.get(), Bytes(part), static_cast<ULONG>(part.size()), 0);
        rest.remove_prefix(part.size());
    }
    Digest digest{};
    if (BCRYPT_SUCCESS(status)) status = ::BCryptFinishHash(hash.get(), digest.data(), kDigestSize, 0);
    if (!BCRYPT_SUCCESS(status)) {
        return Error{u"CNG could not hash the signed message (" + StatusText(status) + u")"};
    }
    return digest;
}

// The SubjectPublicKeyInfo in PEM text "PUBLIC KEY", decoded.
Result<UniqueKeyInfo> DecodePem(std::string_view pem, const CString& keyName) {
    const CString what = u"cannot read the " + keyName + u" public key: ";
    if (pem.size() > kMaxPemSize) {
        return Error{what + u"its PEM text is longer than the " + OvxUtils::DecimalText(kMaxPemSize) +
                     u" bytes allowed"};
    }
    const std::size_t begin = pem.find(kPemHeader);
    if (begin == std::string_view::npos) {
        return Error{what + u"it is not PEM text with a \"PUBLIC KEY\" block"};
    }
    pem.remove_prefix(begin);
    DWORD size = 0;
    std::vector<BYTE> der;
    if (::CryptStringToBinaryA(pem.data(), static_cast<DWORD>(pem.size()), CRYPT_STRING_BASE64HEADER, nullptr,
                               &size, nullptr, nullptr)) {
        der.resize(size);
    }
    if (der.empty() ||
        !::CryptStringToBinaryA(pem.data(), static_cast<DWORD>(pem.size()), CRYPT_STRING_BASE64HEADER,
                                der.data(), &size, nullptr, nullptr)) {
        return Error{what + u"its PEM block is not complete base64 text"};
    }
    CERT_PUBLIC_KEY_INFO* info = nullptr;
    if (!::CryptDecodeObjectEx(X509_ASN_ENCODING, X509_PUBLIC_KEY_INFO, der.data(), size,
                               CRYPT_DECODE_ALLOC_FLAG, nullptr, &info, &size)) {
        return Error{what + u"its PEM block is not a DER SubjectPublicKeyInfo", ::GetLastError()};
    }
    return UniqueKeyInfo(info);
}

Result<Key> ImportKey(LPCWSTR algorithmName, LPCWSTR blobType, std::vector<UCHAR>& blob,
                      const CString& keyName) {
    Result<UniqueAlgorithm> algorithm = OpenAlgorithm(algorithmName);
    if (!algorithm) return algorithm.TakeError();
    BCRYPT_KEY_HANDLE key = nullptr;
    const NTSTATUS status = ::BCryptImportKeyPair(algorithm->get(), nullptr, blobType, &key, blob.data(),
                                                  static_cast<ULONG>(blob.size()), 0);
    if (!BCRYPT_SUCCESS(status)) {
        return Error{u"cannot read the " + keyName + u" public key: CNG refuses it (" + StatusText(status) +
                     u")"};
    }
    return Key{std::move(*algorithm), UniqueKey(key)};
}

// A signature that does not hold is false; CNG's other failures are errors.
Result<bool> Outcome(NTSTATUS status, const CString& kind) {
    if (BCRYPT_SUCCESS(status)) return true;
    // The parameters are checked here first, so an invalid one is the signature's value.
    if (status == kInvalidSignature || status == kInvalidParameter) return false;
    return Error{u"CNG could not check the " + kind + u" signature (" + StatusText(status) + u")"};
}

struct RsaKey {
    Key key;
    std::size_t modulusBits = 0;
};

Result<RsaKey> ReadRsaKey(std::string_view pem) {
    Result<UniqueKeyInfo> info = DecodePem(pem, u"RSA");
    if (!info) return info.TakeError();
    const CERT_PUBLIC_KEY_INFO& spki = **info;
    if (spki.Algorithm.pszObjId == nullptr || std::strcmp(spki.Algorithm.pszObjId, szOID_RSA_RSA) != 0) {
        return Error{u"cannot read the RSA public key: its algorithm is " +
                     CString::FromUtf8(spki.Algorithm.pszObjId ? spki.Algorithm.pszObjId : "missing") +
                     u", not rsaEncryption (" + CString::FromUtf8(szOID_RSA_RSA) + u")"};
    }
    // CNG's own key blob, decoded from the key's bits: header, exponent, modulus.
    BCRYPT_RSAKEY_BLOB* header = nullptr;
    DWORD size = 0;
    if (!::CryptDecodeObjectEx(X509_ASN_ENCODING, CNG_RSA_PUBLIC_KEY_BLOB, spki.PublicKey.pbData,
                               spki.PublicKey.cbData, CRYPT_DECODE_ALLOC_FLAG, nullptr, &header, &size)) {
        return Error{u"cannot read the RSA public key: its key bits are not an RSA public key",
                     ::GetLastError()};
    }
    const std::unique_ptr<BCRYPT_RSAKEY_BLOB, FreeLocal> owned(header);
    std::vector<UCHAR> blob(reinterpret_cast<const UCHAR*>(header),
                            reinterpret_cast<const UCHAR*>(header) + size);
    // The salt's room depends on the modulus's exact bit count, which the blob's BitLength
    // need not be.
    std::size_t offset = sizeof(BCRYPT_RSAKEY_BLOB) + header->cbPublicExp;
    std::size_t length =
        std::min<std::size_t>(header->cbModulus, blob.size() - std::min(offset, blob.size()));
    for (; length > 0 && blob[offset] == 0; --length) ++offset;
    if (length == 0) return Error{u"cannot read the RSA public key: its modulus is zero"};
    const std::size_t bits = length * 8 - static_cast<std::size_t>(std::countl_zero(blob[offset]));
    Result<Key> key = ImportKey(BCRYPT_RSA_ALGORITHM, BCRYPT_RSAPUBLIC_BLOB, blob, u"RSA");
    if (!key) return key.TakeError();
    return RsaKey{std::move(*key), bits};
}

// CNG's P-256 public key blob from an uncompressed point (0x04, X, Y).
std::vector<UCHAR> EccBlob(const unsigned char* point) {
    std::vector<UCHAR> blob(sizeof(BCRYPT_ECCKEY_BLOB) + 2 * kCoordinateSize);
    const BCRYPT_ECCKEY_BLOB header{BCRYPT_ECDSA_PUBLIC_P256_MAGIC, kCoordinateSize};
    std::memcpy(blob.data(), &header, sizeof header);
    std::memcpy(blob.data() + sizeof header, point + 1, 2 * kCoordinateSize);
    return blob;
}

Result<Key> ReadP256Key(std::string_view publicKey) {
    constexpr std::size_t kPointSize = 1 + 2 * kCoordinateSize;
    if (publicKey.size() == kPointSize && publicKey[0] == 0x04) {
        std::vector<UCHAR> blob = EccBlob(reinterpret_cast<const unsigned char*>(publicKey.data()));
        return ImportKey(BCRYPT_ECDSA_P256_ALGORITHM, BCRYPT_ECCPUBLIC_BLOB, blob, u"P-256");
    }
    if (publicKey.find(kPemHeader) == std::string_view::npos) {
        return Error{
            u"cannot read the P-256 public key: it is neither PEM text with a \"PUBLIC KEY\" block nor an "
            u"uncompressed point (65 bytes, 0x04 first)"};
    }
    Result<UniqueKeyInfo> info = DecodePem(publicKey, u"P-256");
    if (!info) return info.TakeError();
    const CERT_PUBLIC_KEY_INFO& spki = **info;
    const CRYPT_OBJID_BLOB& parameters = spki.Algorithm.Parameters;
    if (spki.Algorithm.pszObjId == nullptr ||
        std::strcmp(spki.Algorithm.pszObjId, szOID_ECC_PUBLIC_KEY) != 0 ||
        parameters.cbData != sizeof kP256Parameters ||
        std::memcmp(parameters.pbData, kP256Parameters, sizeof kP256Parameters) != 0) {
        return Error{u"cannot read the P-256 public key: it is not an EC key on the curve P-256 (" +
                     CString::FromUtf8(szOID_ECC_CURVE_P256) + u")"};
    }
    if (spki.PublicKey.cbData != kPointSize || spki.PublicKey.cUnusedBits != 0 ||
        spki.PublicKey.pbData[0] != 0x04) {
        return Error{
            u"cannot read the P-256 public key: its point is not uncompressed (65 bytes, 0x04 first)"};
    }
    std::vector<UCHAR> blob = EccBlob(spki.PublicKey.pbData);
    return ImportKey(BCRYPT_ECDSA_P256_ALGORITHM, BCRYPT_ECCPUBLIC_BLOB, blob, u"P-256");
}

// One DER INTEGER at der[pos], positive and minimally encoded, of at most 32 bytes once
// its sign byte is gone; written right-aligned into out.
bool ReadInteger(std::string_view der, std::size_t& pos, UCHAR* out) {
    if (der.size() - pos < 2 || der[pos] != 0x02) return false;
    std::size_t length = static_cast<unsigned char>(der[pos + 1]);
    pos += 2;
    // Also refuses the long length forms, which no integer of this size needs.
    if (length == 0 || length > kCoordinateSize + 1 || length > der.size() - pos) return false;
    const auto* value = reinterpret_cast<const unsigned char*>(der.data() + pos);
    pos += length;
    if ((value[0] & 0x80) != 0) return false;  // negative
    if (value[0] == 0 && length > 1) {
        if ((value[1] & 0x80) == 0) return false;  // a zero byte the sign does not need
        ++value;
        --length;
    }
    if (length > kCoordinateSize) return false;
    std::memcpy(out + kCoordinateSize - length, value, length);
    return true;
}

// DER SEQUENCE { INTEGER r, INTEGER s } as CNG's r||s; false for anything else.
bool ParseDerSignature(std::string_view der, std::array<UCHAR, 2 * kCoordinateSize>& rs) {
    // Two integers of up to 33 bytes and their headers: the whole is at most 72 bytes, so
    // the sequence's length has the short form.
    if (der.size() < 8 || der.size() > 72 || der[0] != 0x30 ||
        std::size_t{static_cast<unsigned char>(der[1])} != der.size() - 2) {
        return false;
    }
    std::size_t pos = 2;
    rs.fill(0);
    return ReadInteger(der, pos, rs.data()) && ReadInteger(der, pos, rs.data() + kCoordinateSize) &&
           pos == der.size();
}

}  // namespace

Result<bool> VerifyRsaPssSha256(std::string_view publicKeyPem, std::string_view message,
                                std::string_view signature) {
    Result<RsaKey> key = ReadRsaKey(publicKeyPem);
    if (!key) return key.TakeError();
    if (signature.size() != (key->modulusBits + 7) / 8) return false;
    Result<Digest> digest = Sha256(message);
    if (!digest) return digest.TakeError();
    // The signer's salt length is not told: the digest's length is the common one, the
    // most the key leaves room for the other.
    const std::size_t encodedSize = (key->modulusBits - 1 + 7) / 8;
    const std::size_t maxSalt = encodedSize >= kDigestSize + 2 ? encodedSize - kDigestSize - 2 : 0;
    for (const std::size_t salt : {std::size_t{kDigestSize}, maxSalt}) {
        BCRYPT_PSS_PADDING_INFO padding{BCRYPT_SHA256_ALGORITHM, static_cast<ULONG>(salt)};
        const NTSTATUS status =
            ::BCryptVerifySignature(key->key.handle.get(), &padding, digest->data(), kDigestSize,
                                    Bytes(signature), static_cast<ULONG>(signature.size()), BCRYPT_PAD_PSS);
        Result<bool> holds = Outcome(status, u"RSA-PSS");
        if (!holds || *holds) return holds;
    }
    return false;
}

Result<bool> VerifyEcdsaP256Sha256(std::string_view publicKey, std::string_view message,
                                   std::string_view derSignature) {
    Result<Key> key = ReadP256Key(publicKey);
    if (!key) return key.TakeError();
    std::array<UCHAR, 2 * kCoordinateSize> rs{};
    if (!ParseDerSignature(derSignature, rs)) return false;
    Result<Digest> digest = Sha256(message);
    if (!digest) return digest.TakeError();
    const NTSTATUS status = ::BCryptVerifySignature(key->handle.get(), nullptr, digest->data(), kDigestSize,
                                                    rs.data(), static_cast<ULONG>(rs.size()), 0);
    return Outcome(status, u"ECDSA");
}

}  // namespace OvxUpdate::KeyBackend
