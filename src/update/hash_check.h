// HashCheck: the hashes a role lists for a file, checked as the file's bytes go by, so
// that a package is checked while it downloads, without a second read.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/result.h"

#include <sodium.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace OvxUpdate {

class HashCheck {
public:
    // hashes: algorithm name to hex digest, as metadata lists them.
    explicit HashCheck(const std::map<std::string, std::string>& hashes);

    void Add(std::string_view part);
    // Whether the bytes added have the length (when given) and every listed hash; an
    // algorithm other than sha256 and sha512 fails, since it could not be checked.
    OvxUtils::Result<void> Finish(const std::optional<std::uint64_t>& length, std::string_view what);

private:
    const std::map<std::string, std::string>& m_hashes;
    crypto_hash_sha256_state m_sha256{};
    crypto_hash_sha512_state m_sha512{};
    std::uint64_t m_length = 0;
};

// Whether the file at path has the length and every listed hash; false also when it
// cannot be read.
bool FileMatches(const ::CString& path, std::uint64_t length,
                 const std::map<std::string, std::string>& hashes);

// The same check for bytes held whole.
OvxUtils::Result<void> CheckLengthAndHashes(std::string_view bytes,
                                            const std::optional<std::uint64_t>& length,
                                            const std::map<std::string, std::string>& hashes,
                                            std::string_view what);

}  // namespace OvxUpdate
