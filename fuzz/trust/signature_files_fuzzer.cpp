// Feeds arbitrary bytes to the parsers of what a signed package and a host's policy carry:
// the digest list, minisign signature, public and secret key files, and key IDs. Checks
// the round trips they promise: a list that parses formats back to the same bytes, a
// signature or public key that parses writes back to what parses the same.

#include "extensions/trust/digest_list.h"
#include "extensions/trust/minisign.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace Minisign = OvxComponent::Minisign;
namespace Trust = OvxComponent::Trust;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool started = Minisign::StartSodium();
    if (!started) std::abort();
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);

    if (auto lines = Trust::ParseDigestList(bytes)) {
        auto text = Trust::FormatDigestList(*lines);
        if (!text || *text != bytes) std::abort();
    }
    if (auto signature = Minisign::ParseSignatureFile(bytes)) {
        auto again = Minisign::ParseSignatureFile(Minisign::FormatSignatureFile(*signature));
        if (!again || again->keyId != signature->keyId || again->signature != signature->signature ||
            again->trustedComment != signature->trustedComment) {
            std::abort();
        }
    }
    if (auto key = Minisign::ParsePublicKey(bytes)) {
        auto again = Minisign::ParsePublicKey(Minisign::FormatPublicKeyFile(*key));
        if (!again || again->id != key->id || again->key != key->key) std::abort();
    }
    // A secret key file never costs more than its caps: no password reaches scrypt here.
    static_cast<void>(Minisign::ParseSecretKeyFile(
        bytes, [] { return OvxUtils::Result<Minisign::SecretString>(OvxUtils::Error{u"no password"}); }));
    if (auto id = Minisign::ParseKeyIdText(bytes)) {
        auto again = Minisign::ParseKeyIdText(Minisign::KeyIdText(*id));
        if (!again || *again != *id) std::abort();
    }
    return 0;
}
