#include "update/role_signatures.h"

#include "update/key_backend.h"
#include "update/update_error.h"

#include <sodium.h>

#include <set>

namespace OvxUpdate {

namespace {

std::optional<std::string> FromHex(std::string_view hex) {
    if (hex.size() % 2 != 0) return std::nullopt;
    std::string bytes(hex.size() / 2, '\0');
    std::size_t length = 0;
    const char* end = nullptr;
    if (sodium_hex2bin(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size(), hex.data(), hex.size(),
                       nullptr, &length, &end) != 0 ||
        length != bytes.size() || end != hex.data() + hex.size())
        return std::nullopt;
    return bytes;
}

bool IsPem(std::string_view value) { return value.starts_with("-----BEGIN PUBLIC KEY-----"); }

}  // namespace

bool SignatureHolds(const PublicKey& key, std::string_view message, std::string_view signatureHex) {
    auto signature = FromHex(signatureHex);
    if (!signature || signature->empty()) return false;
    if (key.keyType == "ed25519" && key.scheme == "ed25519") {
        auto publicKey = FromHex(key.value);
        if (!publicKey || publicKey->size() != crypto_sign_PUBLICKEYBYTES ||
            signature->size() != crypto_sign_BYTES)
            return false;
        return crypto_sign_verify_detached(reinterpret_cast<const unsigned char*>(signature->data()),
                                           reinterpret_cast<const unsigned char*>(message.data()),
                                           message.size(),
                                           reinterpret_cast<const unsigned char*>(publicKey->data())) == 0;
    }
    if (key.keyType == "rsa" && key.scheme == "rsassa-pss-sha256") {
        if (!IsPem(key.value)) return false;
        auto holds = KeyBackend::VerifyRsaPssSha256(key.value, message, *signature);
        return holds && *holds;
    }
    if ((key.keyType == "ecdsa" || key.keyType == "ecdsa-sha2-nistp256") &&
        key.scheme == "ecdsa-sha2-nistp256") {
        std::optional<std::string> point;
        if (!IsPem(key.value)) {
            point = FromHex(key.value);
            if (!point) return false;
        }
        auto holds = KeyBackend::VerifyEcdsaP256Sha256(point ? *point : key.value, message, *signature);
        return holds && *holds;
    }
    return false;
}

Result<void> CheckThreshold(const SignedDocument& document, const KeyMap& keys, const RoleKeys& role,
                            std::string_view roleName) {
    std::set<std::string_view> roleKeys(role.keyIds.begin(), role.keyIds.end());
    std::set<std::string_view> signers;
    std::size_t bad = 0;
    for (const auto& signature : document.signatures) {
        if (!roleKeys.contains(signature.keyId) || signers.contains(signature.keyId)) continue;
        auto key = keys.find(signature.keyId);
        if (key == keys.end()) continue;
        if (SignatureHolds(key->second, document.canonical, signature.hex))
            signers.insert(signature.keyId);
        else
            ++bad;
        if (signers.size() >= role.threshold) return {};
    }
    return Refused(
        "threshold not met: " + std::to_string(signers.size()) + " of the " + std::to_string(role.threshold) +
        " signatures that role " + Named(roleName) + " needs hold" +
        (bad ? " (" + std::to_string(bad) + " bad signature" + (bad > 1 ? "s" : "") + " of its keys)" : ""));
}

}  // namespace OvxUpdate
