// minisign's key and signature files, and the Ed25519 work behind them, on libsodium.
#include "extensions/trust/minisign.h"

#include <sodium.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace OvxComponent::Minisign {

namespace {

using OvxUtils::Error;
using OvxUtils::Result;

constexpr std::string_view kUntrustedPrefix = "untrusted comment: ";
constexpr std::string_view kTrustedPrefix = "trusted comment: ";
constexpr std::string_view kPublicKeyComment = "minisign public key ";
constexpr std::string_view kSecretKeyComment = "minisign encrypted secret key";
constexpr std::string_view kSignatureComment = "signature from minisign secret key";

constexpr unsigned char kEd25519[2] = {'E', 'd'};     // a key; a signature of the message itself
constexpr unsigned char kPrehashed[2] = {'E', 'D'};   // a signature of the message's BLAKE2b-512
constexpr unsigned char kScrypt[2] = {'S', 'c'};
constexpr unsigned char kBlake2b[2] = {'B', '2'};
constexpr unsigned char kNoKdf[2] = {0, 0};

// The encrypted part of a secret key file: the key ID, the key pair and a checksum.
constexpr std::size_t kKeyNumSize = 8 + 64 + 32;
// "Ed" "Sc" "B2", the salt, the two scrypt limits, and the encrypted part.
constexpr std::size_t kSecretKeySize = 2 + 2 + 2 + 32 + 8 + 8 + kKeyNumSize;
constexpr std::size_t kPublicKeySize = 2 + 8 + 32;
constexpr std::size_t kSignatureSize = 2 + 8 + 64;
// What a hostile key file may ask scrypt to spend; minisign itself asks for 1 GiB.
constexpr std::uint64_t kMaxMemLimit = std::uint64_t{2} << 30;
constexpr std::uint64_t kMaxOpsLimit = std::uint64_t{1} << 30;

std::string Base64(const unsigned char* bytes, std::size_t size) {
    std::string text(sodium_base64_ENCODED_LEN(size, sodium_base64_VARIANT_ORIGINAL), '\0');
    sodium_bin2base64(text.data(), text.size(), bytes, size, sodium_base64_VARIANT_ORIGINAL);
    text.resize(text.size() - 1);  // the terminating zero
    return text;
}

// Base64 text of a secret: the text is written straight into wiped memory.
SecretString SecretBase64(const unsigned char* bytes, std::size_t size) {
    SecretString text;
    text.Resize(sodium_base64_ENCODED_LEN(size, sodium_base64_VARIANT_ORIGINAL));
    sodium_bin2base64(text.Data(), text.Size(), bytes, size, sodium_base64_VARIANT_ORIGINAL);
    text.Resize(text.Size() - 1);  // the terminating zero
    return text;
}

// Exactly size bytes from base64 text, or nothing.
bool FromBase64(std::string_view text, unsigned char* bytes, std::size_t size) {
    std::size_t length = 0;
    const char* end = nullptr;
    return sodium_base642bin(bytes, size, text.data(), text.size(), nullptr, &length, &end,
                             sodium_base64_VARIANT_ORIGINAL) == 0 &&
           length == size && end == text.data() + text.size();
}

// The file's lines without their line ends (LF or CRLF); a final line end is optional.
std::vector<std::string_view> Lines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        lines.push_back(line);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::uint64_t LittleEndian(const unsigned char* bytes) {
    std::uint64_t value = 0;
    for (int i = 7; i >= 0; --i) value = (value << 8) | bytes[i];
    return value;
}

void PutLittleEndian(std::uint64_t value, unsigned char* bytes) {
    for (int i = 0; i < 8; ++i) bytes[i] = static_cast<unsigned char>(value >> (8 * i));
}

// The checksum of a secret key: BLAKE2b-256 of the algorithm, the key ID and the key.
using KeyChecksum = SecretBytes<32>;
KeyChecksum Checksum(const SecretKey& key) {
    KeyChecksum checksum{};
    crypto_generichash_state state;
    crypto_generichash_init(&state, nullptr, 0, checksum.size());
    crypto_generichash_update(&state, kEd25519, 2);
    crypto_generichash_update(&state, key.id.data(), key.id.size());
    crypto_generichash_update(&state, key.key.data(), key.key.size());
    crypto_generichash_final(&state, checksum.data(), checksum.size());
    return checksum;
}

// XORs the encrypted part with the scrypt stream of the password.
Result<void> ApplyPassword(unsigned char* keyNum, std::string_view password, const unsigned char* salt,
                           std::uint64_t opsLimit, std::uint64_t memLimit) {
    if (opsLimit > kMaxOpsLimit || memLimit > kMaxMemLimit) {
        return Error{u"the key file asks scrypt for more work or memory than a key file may"};
    }
    SecretBytes<kKeyNumSize> stream{};
    if (crypto_pwhash_scryptsalsa208sha256(stream.data(), stream.size(), password.data(), password.size(), salt,
                                           opsLimit, static_cast<std::size_t>(memLimit)) != 0) {
        return Error{u"scrypt could not derive the key's encryption (out of memory?)"};
    }
    for (std::size_t i = 0; i < stream.size(); ++i) keyNum[i] ^= stream[i];
    return {};
}

std::array<unsigned char, crypto_generichash_BYTES_MAX> Prehash(std::string_view message) {
    std::array<unsigned char, crypto_generichash_BYTES_MAX> hash{};
    crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(message.data()),
                       message.size(), nullptr, 0);
    return hash;
}

std::vector<unsigned char> GlobalMessage(const Signature& signature) {
    std::vector<unsigned char> message(signature.signature.begin(), signature.signature.end());
    message.insert(message.end(), signature.trustedComment.begin(), signature.trustedComment.end());
    return message;
}

}  // namespace

const ScryptLimits kMinisignScryptLimits{crypto_pwhash_scryptsalsa208sha256_OPSLIMIT_SENSITIVE,
                                         crypto_pwhash_scryptsalsa208sha256_MEMLIMIT_SENSITIVE};

SecretKey::~SecretKey() { sodium_memzero(key.data(), key.size()); }

bool StartSodium() {
    static const bool started = sodium_init() >= 0;
    return started;
}

std::string KeyIdText(const KeyId& id) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string text;
    for (int i = 7; i >= 0; --i) {
        text += kHex[id[i] >> 4];
        text += kHex[id[i] & 15];
    }
    return text;
}

Result<KeyId> ParseKeyIdText(std::string_view text) {
    KeyId id{};
    unsigned char bigEndian[8];
    std::size_t length = 0;
    const char* end = nullptr;
    if (text.size() != 16 || sodium_hex2bin(bigEndian, 8, text.data(), text.size(), nullptr, &length, &end) != 0 ||
        length != 8) {
        return Error{u"\"" + CString::FromUtf8(text) + u"\" is not a key ID (16 hexadecimal digits)"};
    }
    std::reverse_copy(bigEndian, bigEndian + 8, id.begin());
    return id;
}

Result<PublicKey> ParsePublicKey(std::string_view text) {
    std::vector<std::string_view> lines = Lines(text);
    if (!lines.empty() && lines.front().starts_with(kUntrustedPrefix)) lines.erase(lines.begin());
    unsigned char bytes[kPublicKeySize];
    if (lines.size() != 1 || !FromBase64(lines.front(), bytes, sizeof bytes)) {
        return Error{u"not a minisign public key (one base64 line of 56 characters, under an optional comment line)"};
    }
    if (std::memcmp(bytes, kEd25519, 2) != 0) return Error{u"the public key is not an Ed25519 key"};
    PublicKey key;
    std::memcpy(key.id.data(), bytes + 2, 8);
    std::memcpy(key.key.data(), bytes + 10, 32);
    return key;
}

std::string PublicKeyBase64(const PublicKey& key) {
    unsigned char bytes[kPublicKeySize];
    std::memcpy(bytes, kEd25519, 2);
    std::memcpy(bytes + 2, key.id.data(), 8);
    std::memcpy(bytes + 10, key.key.data(), 32);
    return Base64(bytes, sizeof bytes);
}

std::string FormatPublicKeyFile(const PublicKey& key) {
    return std::string(kUntrustedPrefix) + std::string(kPublicKeyComment) + KeyIdText(key.id) + "\n" +
           PublicKeyBase64(key) + "\n";
}

SecretKey GenerateSecretKey() {
    SecretKey key;
    std::array<unsigned char, 32> publicKey{};
    crypto_sign_keypair(publicKey.data(), key.key.data());
    randombytes_buf(key.id.data(), key.id.size());
    return key;
}

PublicKey PublicKeyOf(const SecretKey& key) {
    PublicKey publicKey;
    publicKey.id = key.id;
    crypto_sign_ed25519_sk_to_pk(publicKey.key.data(), key.key.data());
    return publicKey;
}

namespace {

using SecretKeyFileBytes = SecretBytes<kSecretKeySize>;

// The bytes of a secret key file, checked for length and algorithms.
Result<SecretKeyFileBytes> SecretKeyBytes(std::string_view text) {
    std::vector<std::string_view> lines = Lines(text);
    if (!lines.empty() && lines.front().starts_with(kUntrustedPrefix)) lines.erase(lines.begin());
    SecretKeyFileBytes bytes{};
    if (lines.size() != 1 || !FromBase64(lines.front(), bytes.data(), bytes.size())) {
        return Error{u"not a minisign secret key file"};
    }
    if (std::memcmp(bytes.data(), kEd25519, 2) != 0 || std::memcmp(bytes.data() + 4, kBlake2b, 2) != 0) {
        return Error{u"the secret key is not an Ed25519 key with a BLAKE2b checksum"};
    }
    if (std::memcmp(bytes.data() + 2, kScrypt, 2) != 0 && std::memcmp(bytes.data() + 2, kNoKdf, 2) != 0) {
        return Error{u"the secret key is encrypted in a way this tool does not know"};
    }
    return bytes;
}

}  // namespace

Result<bool> IsEncrypted(std::string_view secretKeyFile) {
    auto bytes = SecretKeyBytes(secretKeyFile);
    if (!bytes) return bytes.TakeError();
    return std::memcmp(bytes->data() + 2, kScrypt, 2) == 0;
}

Result<SecretKey> ParseSecretKeyFile(std::string_view text, const PasswordSource& password) {
    auto bytes = SecretKeyBytes(text);
    if (!bytes) return bytes.TakeError();
    unsigned char* keyNum = bytes->data() + kSecretKeySize - kKeyNumSize;
    const bool encrypted = std::memcmp(bytes->data() + 2, kScrypt, 2) == 0;
    if (encrypted) {
        auto given = password();
        if (!given) return given.TakeError();
        auto decrypted = ApplyPassword(keyNum, given->View(), bytes->data() + 6, LittleEndian(bytes->data() + 38),
                                       LittleEndian(bytes->data() + 46));
        if (!decrypted) return decrypted.TakeError();
    }
    SecretKey key;
    std::memcpy(key.id.data(), keyNum, 8);
    std::memcpy(key.key.data(), keyNum + 8, 64);
    const unsigned char* stored = keyNum + 72;
    if (sodium_memcmp(Checksum(key).data(), stored, 32) == 0) return key;
    if (encrypted) return Error{u"wrong password for this secret key"};
    // The stock minisign (0.11) writes zeros for the checksum of a key without a password
    // and never reads it back; such a key is taken as it does. Any other checksum must hold.
    if (sodium_is_zero(stored, 32)) return key;
    return Error{u"the secret key's checksum (BLAKE2b-256 of its algorithm, key ID and key) does not match: the "
                 u"key file is damaged"};
}

Result<SecretString> FormatSecretKeyFile(const SecretKey& key, std::string_view password, ScryptLimits limits) {
    SecretKeyFileBytes bytes{};
    std::memcpy(bytes.data(), kEd25519, 2);
    std::memcpy(bytes.data() + 4, kBlake2b, 2);
    unsigned char* keyNum = bytes.data() + kSecretKeySize - kKeyNumSize;
    std::memcpy(keyNum, key.id.data(), 8);
    std::memcpy(keyNum + 8, key.key.data(), 64);
    // Unlike the stock tool's, a key without a password gets its checksum too, so that
    // damage to it is found; the stock tool ignores it there.
    const KeyChecksum checksum = Checksum(key);
    std::memcpy(keyNum + 72, checksum.data(), checksum.size());
    if (!password.empty()) {
        const std::uint64_t opsLimit = limits.ops;
        const std::uint64_t memLimit = limits.memory;
        std::memcpy(bytes.data() + 2, kScrypt, 2);
        randombytes_buf(bytes.data() + 6, 32);
        PutLittleEndian(opsLimit, bytes.data() + 38);
        PutLittleEndian(memLimit, bytes.data() + 46);
        if (auto encrypted = ApplyPassword(keyNum, password, bytes.data() + 6, opsLimit, memLimit); !encrypted) {
            return encrypted.TakeError();
        }
    }
    SecretString text(std::string(kUntrustedPrefix) + std::string(kSecretKeyComment) + "\n");
    text.Append(SecretBase64(bytes.data(), bytes.size()).View());
    text.Append('\n');
    return text;
}

Signature Sign(std::string_view message, const SecretKey& key, std::string trustedComment) {
    Signature signature;
    signature.keyId = key.id;
    signature.trustedComment = std::move(trustedComment);
    const auto hash = Prehash(message);
    crypto_sign_detached(signature.signature.data(), nullptr, hash.data(), hash.size(), key.key.data());
    const std::vector<unsigned char> global = GlobalMessage(signature);
    crypto_sign_detached(signature.globalSignature.data(), nullptr, global.data(), global.size(), key.key.data());
    return signature;
}

std::string FormatSignatureFile(const Signature& signature) {
    unsigned char bytes[kSignatureSize];
    std::memcpy(bytes, kPrehashed, 2);
    std::memcpy(bytes + 2, signature.keyId.data(), 8);
    std::memcpy(bytes + 10, signature.signature.data(), 64);
    return std::string(kUntrustedPrefix) + std::string(kSignatureComment) + "\n" + Base64(bytes, sizeof bytes) +
           "\n" + std::string(kTrustedPrefix) + signature.trustedComment + "\n" +
           Base64(signature.globalSignature.data(), signature.globalSignature.size()) + "\n";
}

Result<Signature> ParseSignatureFile(std::string_view text) {
    const std::vector<std::string_view> lines = Lines(text);
    if (lines.size() != 4 || !lines[0].starts_with(kUntrustedPrefix) || !lines[2].starts_with(kTrustedPrefix)) {
        return Error{u"the signature is not a minisign signature file (four lines: untrusted comment, signature, "
                     u"trusted comment, global signature)"};
    }
    unsigned char bytes[kSignatureSize];
    Signature signature;
    if (!FromBase64(lines[1], bytes, sizeof bytes) ||
        !FromBase64(lines[3], signature.globalSignature.data(), signature.globalSignature.size())) {
        return Error{u"the signature's base64 lines are damaged"};
    }
    if (std::memcmp(bytes, kPrehashed, 2) != 0) {
        return Error{u"the signature is not a prehashed Ed25519 signature (minisign's default)"};
    }
    std::memcpy(signature.keyId.data(), bytes + 2, 8);
    std::memcpy(signature.signature.data(), bytes + 10, 64);
    signature.trustedComment = std::string(lines[2].substr(kTrustedPrefix.size()));
    return signature;
}

Result<void> Verify(std::string_view message, const Signature& signature, const PublicKey& key) {
    if (signature.keyId != key.id) {
        return Error{u"the signature's key ID " + CString::FromUtf8(KeyIdText(signature.keyId)) +
                     u" is not the key's " + CString::FromUtf8(KeyIdText(key.id))};
    }
    const auto hash = Prehash(message);
    if (crypto_sign_verify_detached(signature.signature.data(), hash.data(), hash.size(), key.key.data()) != 0) {
        return Error{u"the signature does not match the signed list"};
    }
    const std::vector<unsigned char> global = GlobalMessage(signature);
    if (crypto_sign_verify_detached(signature.globalSignature.data(), global.data(), global.size(), key.key.data()) !=
        0) {
        return Error{u"the global signature does not match the trusted comment"};
    }
    return {};
}

}  // namespace OvxComponent::Minisign
