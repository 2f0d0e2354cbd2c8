// The key and signature files of minisign, byte for byte as the stock tool reads and
// writes them, and the Ed25519 operations behind them (libsodium). Internal.
//
// A public key is "Ed", an 8-byte key ID and the 32-byte Ed25519 key, in base64 under an
// untrusted comment line. A signature file holds the untrusted comment, "ED" (the message
// prehashed with BLAKE2b-512), the key ID and the signature; then the trusted comment and
// a global signature over the signature and that comment, so that the trusted comment
// cannot be changed without the key. A secret key file holds the key pair, its ID and a
// checksum, encrypted with a password through scrypt unless it was made without one.
// Passwords, secret keys and the text of secret key files live in wiped memory.
#pragma once

#include "OvxComponent/platform/result.h"
#include "extensions/trust/wiped_memory.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace OvxComponent::Minisign {

using KeyId = std::array<unsigned char, 8>;
using Ed25519Signature = std::array<unsigned char, 64>;

struct PublicKey {
    KeyId id{};
    std::array<unsigned char, 32> key{};
};

// Wiped when it goes.
struct SecretKey {
    KeyId id{};
    std::array<unsigned char, 64> key{};  // seed and public key, as libsodium keeps them
    SecretKey() = default;
    SecretKey(const SecretKey&) = default;
    SecretKey& operator=(const SecretKey&) = default;
    ~SecretKey();
};

struct Signature {
    KeyId keyId{};
    Ed25519Signature signature{};
    std::string trustedComment;  // without the "trusted comment: " prefix
    Ed25519Signature globalSignature{};
};

// libsodium, started once per process; false when it cannot start.
bool StartSodium();

// "90C8B8E792068CFE": the key ID as minisign prints it (the bytes as a little-endian number).
std::string KeyIdText(const KeyId& id);
OvxUtils::Result<KeyId> ParseKeyIdText(std::string_view text);

// The base64 line alone, or a whole public key file (the comment line, then that line).
OvxUtils::Result<PublicKey> ParsePublicKey(std::string_view text);
std::string PublicKeyBase64(const PublicKey& key);
std::string FormatPublicKeyFile(const PublicKey& key);

// A new key pair with a random key ID.
SecretKey GenerateSecretKey();
PublicKey PublicKeyOf(const SecretKey& key);

// Whether the secret key file is encrypted, so that reading it needs a password.
OvxUtils::Result<bool> IsEncrypted(std::string_view secretKeyFile);
// Reads a secret key file; password is asked for only when the file is encrypted. A key
// whose checksum does not match is refused: under a password it was the wrong one,
// without one the file is damaged.
using PasswordSource = std::function<OvxUtils::Result<SecretString>()>;
OvxUtils::Result<SecretKey> ParseSecretKeyFile(std::string_view text, const PasswordSource& password);
// The work and memory that scrypt spends on a password. minisign asks for its "sensitive"
// limits (about 1 GiB and seconds of work), which make guessing passwords dear.
struct ScryptLimits {
    std::uint64_t ops;
    std::uint64_t memory;
};
extern const ScryptLimits kMinisignScryptLimits;
// Encrypted under password with the given scrypt limits, or plain when it is empty; with
// its checksum either way.
OvxUtils::Result<SecretString> FormatSecretKeyFile(const SecretKey& key, std::string_view password,
                                                  ScryptLimits limits = kMinisignScryptLimits);

// Signs message (prehashed) with the trusted comment, which must be one line.
Signature Sign(std::string_view message, const SecretKey& key, std::string trustedComment);
// The signature file as minisign -S writes it.
std::string FormatSignatureFile(const Signature& signature);
OvxUtils::Result<Signature> ParseSignatureFile(std::string_view text);
// Whether signature holds for message under key: the key IDs match, the signature over
// the message's hash and the global signature over the trusted comment both hold.
OvxUtils::Result<void> Verify(std::string_view message, const Signature& signature, const PublicKey& key);

}  // namespace OvxComponent::Minisign
