// Digest: a running hash from the system's cryptography (OpenSSL on Linux, CNG on
// Windows), which use the processor's SHA instructions: a package is hashed as fast as it
// downloads.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace OvxUpdate {

class Digest {
public:
    // "sha256" or "sha512"; nothing for an algorithm the client does not know.
    static std::unique_ptr<Digest> Make(std::string_view algorithm);
    virtual ~Digest() = default;
    virtual void Add(std::string_view bytes) = 0;
    // The digest in lowercase hex; the digest is done with afterwards.
    virtual std::string FinishHex() = 0;
};

// The SHA-256 of bytes held whole, in lowercase hex.
inline std::string Sha256Hex(std::string_view bytes) {
    auto digest = Digest::Make("sha256");
    digest->Add(bytes);
    return digest->FinishHex();
}

}  // namespace OvxUpdate
