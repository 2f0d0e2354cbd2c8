#include "update/hash_check.h"

#include "platform/system_io/file.h"
#include "update/update_error.h"

#include <array>

namespace OvxUpdate {

namespace {

template <std::size_t N>
bool HexMatches(const std::array<unsigned char, N>& digest, const std::string& expectedHex) {
    std::array<char, N * 2 + 1> hex{};
    sodium_bin2hex(hex.data(), hex.size(), digest.data(), digest.size());
    return expectedHex.size() == N * 2 && sodium_memcmp(hex.data(), expectedHex.data(), N * 2) == 0;
}

}  // namespace

HashCheck::HashCheck(const std::map<std::string, std::string>& hashes) : m_hashes(hashes) {
    crypto_hash_sha256_init(&m_sha256);
    crypto_hash_sha512_init(&m_sha512);
}

void HashCheck::Add(std::string_view part) {
    auto bytes = reinterpret_cast<const unsigned char*>(part.data());
    if (m_hashes.contains("sha256")) crypto_hash_sha256_update(&m_sha256, bytes, part.size());
    if (m_hashes.contains("sha512")) crypto_hash_sha512_update(&m_sha512, bytes, part.size());
    m_length += part.size();
}

OvxUtils::Result<void> HashCheck::Finish(const std::optional<std::uint64_t>& length, std::string_view what) {
    if (length && *length != m_length)
        return Refused("length mismatch: " + std::string(what) + " has " + std::to_string(m_length) +
                       " bytes, not the " + std::to_string(*length) + " its metadata lists");
    for (const auto& [algorithm, expected] : m_hashes) {
        bool matches = false;
        if (algorithm == "sha256") {
            std::array<unsigned char, crypto_hash_sha256_BYTES> digest{};
            crypto_hash_sha256_final(&m_sha256, digest.data());
            matches = HexMatches(digest, expected);
        } else if (algorithm == "sha512") {
            std::array<unsigned char, crypto_hash_sha512_BYTES> digest{};
            crypto_hash_sha512_final(&m_sha512, digest.data());
            matches = HexMatches(digest, expected);
        } else {
            return Refused("hash mismatch: " + std::string(what) + " is listed with hash algorithm " +
                           Named(algorithm) + ", which this client cannot check");
        }
        if (!matches)
            return Refused("hash mismatch: the " + algorithm + " hash of " + std::string(what) +
                           " is not the one its metadata lists");
    }
    return {};
}

bool FileMatches(const ::CString& path, std::uint64_t length,
                 const std::map<std::string, std::string>& hashes) {
    namespace File = OvxUtils::SystemIO::File;
    auto size = File::GetSize(path);
    if (!size || *size != length) return false;
    HashCheck check(hashes);
    auto read = File::ReadChunks(path, [&](std::string_view part) {
        check.Add(part);
        return true;
    });
    return read && check.Finish(length, "the file").HasValue();
}

OvxUtils::Result<void> CheckLengthAndHashes(std::string_view bytes,
                                            const std::optional<std::uint64_t>& length,
                                            const std::map<std::string, std::string>& hashes,
                                            std::string_view what) {
    HashCheck check(hashes);
    check.Add(bytes);
    return check.Finish(length, what);
}

}  // namespace OvxUpdate
