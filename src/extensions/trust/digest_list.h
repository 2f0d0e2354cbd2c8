// The digest list of a signed package, "META-INF/digests.txt": one line per entry of the
// package other than the list and its signature, in sha256sum's format (64 lowercase hex
// digits, two blanks, the entry name as stored, LF), sorted by the names' bytes. Internal.
#pragma once

#include "OvxComponent/platform/result.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <sodium.h>

namespace OvxComponent::Trust {

inline constexpr std::string_view kDigestListEntry = "META-INF/digests.txt";
inline constexpr std::string_view kSignatureEntry = "META-INF/digests.txt.minisig";
// A list of the most entries a package may hold stays far below this.
inline constexpr std::size_t kMaxDigestListSize = std::size_t{8} << 20;
inline constexpr std::size_t kMaxSignatureFileSize = 4096;

// The two entries that the digest list leaves out.
inline bool IsSignatureEntry(std::string_view name) { return name == kDigestListEntry || name == kSignatureEntry; }

using Sha256 = std::array<unsigned char, crypto_hash_sha256_BYTES>;

struct DigestLine {
    std::string name;  // UTF-8, as stored in the archive
    Sha256 digest{};
};

// The lines of a list, each checked, in strictly ascending order of their names (so no
// name is listed twice); the error names the line that breaks a rule.
OvxUtils::Result<std::vector<DigestLine>> ParseDigestList(std::string_view text);
// The list's text, its lines sorted. Names holding a line break or a backslash, which
// sha256sum would escape, are refused.
OvxUtils::Result<std::string> FormatDigestList(std::vector<DigestLine> lines);

// SHA-256 of a stream of chunks.
class Sha256Hasher {
public:
    Sha256Hasher() { Restart(); }
    void Restart() { crypto_hash_sha256_init(&m_state); }
    void Add(std::string_view chunk) {
        crypto_hash_sha256_update(&m_state, reinterpret_cast<const unsigned char*>(chunk.data()), chunk.size());
    }
    Sha256 Finish() {
        Sha256 digest{};
        crypto_hash_sha256_final(&m_state, digest.data());
        return digest;
    }

private:
    crypto_hash_sha256_state m_state;
};

// Whether two digests are equal, in constant time.
inline bool SameDigest(const Sha256& a, const Sha256& b) { return sodium_memcmp(a.data(), b.data(), a.size()) == 0; }

}  // namespace OvxComponent::Trust
