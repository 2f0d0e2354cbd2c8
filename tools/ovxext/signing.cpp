// ovxext's signing support.
#include "signing.h"

#include "terminal.h"

#include "extensions/trust/signature_check.h"
#include "platform/system_io/file.h"

#include <chrono>
#include <cstdlib>

namespace Ovxext {

namespace {

namespace Minisign = OvxComponent::Minisign;
namespace Trust = OvxComponent::Trust;
using Minisign::SecretString;
using OvxUtils::Error;


// What the signature entry says of who signed, without a key to check it with.
Trust::SignatureVerdict ReadSigner(const OvxComponent::ExtensionContainer& package) {
    return Trust::CheckSignature(package.Container(), package.GetInfo(), Trust::TrustStore());
}

}  // namespace

std::uint64_t SigningTime(bool reproducible) {
    if (const char* epoch = std::getenv("SOURCE_DATE_EPOCH")) {
        char* end = nullptr;
        const unsigned long long seconds = std::strtoull(epoch, &end, 10);
        if (end != epoch && *end == '\0') return seconds;
    }
    if (reproducible) return 315532800;  // 1980-01-01, the time of every entry
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count());
}

OvxUtils::Result<SecretString> KeyPassword(const std::string& path, bool confirm) {
    auto typed = ReadPasswordFromTerminal("Password for " + Shown(path) + ": ");
    if (typed && *typed) {
        if (confirm) {
            auto again = ReadPasswordFromTerminal("Password for " + Shown(path) + " (again): ");
            if (!again) return again.TakeError();
            if (!*again || !(*again)->SameAs(**typed)) return Error{u"the two passwords differ"};
        }
        return std::move(**typed);
    }
    if (const char* variable = std::getenv(kPasswordVariable)) return SecretString(variable);
    if (!typed) return Error{typed.ErrorText() + u"; set " + FromUtf8(kPasswordVariable) + u" instead"};
    return Error{u"the key needs a password: type it on a terminal, or set " + FromUtf8(kPasswordVariable)};
}

OvxUtils::Result<Minisign::SecretKey> ReadSecretKey(const std::string& path) {
    if (!Minisign::StartSodium()) return Error{u"libsodium does not start"};
    auto read = OvxUtils::SystemIO::File::ReadAllBytes(FromUtf8(path));
    if (!read) return read.TakeError();
    const SecretString text = SecretString::TakeFrom(*read);
    return Minisign::ParseSecretKeyFile(text.View(), [&] { return KeyPassword(path, false); });
}

OvxUtils::Result<Trust::Signer> SignAndCheck(const CString& source, const CString& target,
                                             const Minisign::SecretKey& key, bool reproducible) {
    auto signer = Trust::SignPackage(source, target, key, SigningTime(reproducible), reproducible);
    if (!signer) return signer.TakeError();
    return CheckSigned(target, key);
}

OvxUtils::Result<Trust::Signer> CheckSigned(const CString& path, const Minisign::SecretKey& key) {
    auto written = OvxComponent::ExtensionContainer::Open(path, VdcContainer::ZipFile::OpenMode::ReadOnly);
    if (!written) return Error{u"the signed package cannot be opened again: " + written.ErrorText()};
    const Trust::TrustStore store({Minisign::PublicKeyOf(key)});
    const Trust::SignatureVerdict verdict = Trust::CheckSignature(written->Container(), written->GetInfo(), store);
    if (!verdict.Holds()) return Error{u"the signed package does not verify: " + verdict.problems.front()};
    return *verdict.signer;
}

Json SignerJson(const OvxComponent::ExtensionContainer& package) {
    const Trust::SignatureVerdict verdict = ReadSigner(package);
    if (!verdict.isSigned) return nullptr;
    if (!verdict.signer) return {{"error", JsonText(verdict.problems.front())}};
    return {{"keyId", Minisign::KeyIdText(verdict.signer->keyId)}, {"trustedComment", verdict.signer->trustedComment}};
}

}  // namespace Ovxext
