// ovxext sign: adds or replaces a package's signature.

#include "argument_parser.h"
#include "commands.h"
#include "signing.h"

#include "platform/system_io/file.h"

#include <cstdlib>

namespace Ovxext {

namespace {

namespace Minisign = OvxComponent::Minisign;

constexpr const char* kHelp =
    "usage: ovxext sign PACKAGE -s SECRET [--json]\n"
    "\n"
    "Signs PACKAGE with the secret key in SECRET (made by 'ovxext keygen' or 'minisign -G'):\n"
    "adds META-INF/digests.txt, the SHA-256 digest of every entry, and its minisign\n"
    "signature META-INF/digests.txt.minisig, replacing those of an earlier signature. The\n"
    "signed package is written under a temporary name, read back and its signature checked,\n"
    "and only then does it replace PACKAGE. An encrypted key's password is asked on the\n"
    "terminal, or taken from OVXEXT_KEY_PASSWORD when there is none. With SOURCE_DATE_EPOCH\n"
    "set, the signature's timestamp is that time and new entries get the fixed time of\n"
    "reproducible packages.\n"
    "\n"
    "options:\n"
    "  -s, --secret FILE      the secret key (required)\n"
    "  --json                 print the signer as JSON\n"
    "\n"
    "exit codes: 0 signed, 2 usage error, 3 the package or the key cannot be read, or the\n"
    "signed package cannot be written\n";

}  // namespace

int RunSign(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    parser.AddFlag("--json");
    parser.AddOption("--secret");
    parser.AddAlias("-s", "--secret");
    if (!parser.Parse(context.args)) return ReportUsage(context, "sign", parser.Error());
    if (parser.Positional().size() != 1) return ReportUsage(context, "sign", "expected one PACKAGE");
    const auto secretPath = parser.Value("--secret");
    if (!secretPath) return ReportUsage(context, "sign", "-s SECRET is required");
    const std::string& file = parser.Positional()[0];
    const CString package = FromUtf8(file);
    if (!OvxUtils::SystemIO::File::Exists(package)) return ReportError(context, "sign", file, "no such file", kExitFailure);

    auto key = ReadSecretKey(*secretPath);
    if (!key) return ReportError(context, "sign", *secretPath, Utf8(key.ErrorText()), kExitFailure);
    std::optional<OvxComponent::Trust::Signer> signer;
    auto replaced = OvxUtils::SystemIO::File::ReplaceAtomically(package, [&](const CString& temporary) {
        auto signed_ = SignAndCheck(package, temporary, *key, std::getenv("SOURCE_DATE_EPOCH") != nullptr);
        if (!signed_) return OvxUtils::Result<void>(signed_.TakeError());
        signer = std::move(*signed_);
        return OvxUtils::Result<void>();
    });
    if (!replaced) return ReportError(context, "sign", file, Utf8(replaced.ErrorText()), kExitFailure);
    const std::string id = Minisign::KeyIdText(signer->keyId);
    if (parser.Has("--json")) {
        WriteJson(context, {{"file", file}, {"keyId", id}, {"trustedComment", signer->trustedComment}});
    } else {
        context.out << "signed " << Shown(file) << " with key ID " << id << "\n";
    }
    return kExitOk;
}

}  // namespace Ovxext
