// ovxext keygen: a key pair for signing packages, in minisign's files.

#include "argument_parser.h"
#include "commands.h"
#include "signing.h"

#include "platform/system_io/file.h"

namespace Ovxext {

namespace {

namespace Minisign = OvxComponent::Minisign;
namespace File = OvxUtils::SystemIO::File;

constexpr const char* kHelp =
    "usage: ovxext keygen -s SECRET -p PUBLIC [--no-password] [--force] [--json]\n"
    "\n"
    "Makes an Ed25519 key pair for signing packages, in minisign's formats: the secret key\n"
    "in SECRET, the public key in PUBLIC, for hosts to trust. Only you can open SECRET, from\n"
    "the moment it exists: mode 0600 on Linux, on Windows an access list that names you\n"
    "alone and ignores the folder's rules. The secret key is encrypted with a password\n"
    "(scrypt, as minisign does), asked on the terminal with its echo off (a terminal whose\n"
    "echo cannot be turned off is refused) or taken from OVXEXT_KEY_PASSWORD when there is\n"
    "none.\n"
    "\n"
    "options:\n"
    "  -s, --secret FILE      the secret key file to write (required)\n"
    "  -p, --public FILE      the public key file to write (required)\n"
    "  --no-password          leave the secret key unencrypted (for build machines that keep\n"
    "                         it safe otherwise)\n"
    "  --force                replace key files that exist\n"
    "  --json                 print the key ID and the public key as JSON\n"
    "\n"
    "exit codes: 0 written, 2 usage error, 3 a key file exists or cannot be written\n";

}  // namespace

int RunKeygen(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    for (const char* flag : {"--no-password", "--force", "--json"}) parser.AddFlag(flag);
    parser.AddOption("--secret");
    parser.AddAlias("-s", "--secret");
    parser.AddOption("--public");
    parser.AddAlias("-p", "--public");
    if (!parser.Parse(context.args)) return ReportUsage(context, "keygen", parser.Error());
    if (!parser.Positional().empty()) return ReportUsage(context, "keygen", "unexpected argument " + parser.Positional()[0]);
    const auto secretPath = parser.Value("--secret");
    const auto publicPath = parser.Value("--public");
    if (!secretPath || !publicPath) return ReportUsage(context, "keygen", "-s SECRET and -p PUBLIC are required");
    if (*secretPath == *publicPath) return ReportUsage(context, "keygen", "SECRET and PUBLIC must be two files");
    for (const std::string* path : {&*secretPath, &*publicPath}) {
        if (File::Exists(FromUtf8(*path)) && !parser.Has("--force")) {
            return ReportError(context, "keygen", *path, "exists already (--force replaces it)", kExitFailure);
        }
    }
    if (!Minisign::StartSodium()) return ReportError(context, "keygen", *secretPath, "libsodium does not start", kExitFailure);

    Minisign::SecretString password;
    if (!parser.Has("--no-password")) {
        auto given = KeyPassword(*secretPath, true);
        if (!given) return ReportError(context, "keygen", *secretPath, Utf8(given.ErrorText()), kExitFailure);
        if (given->IsEmpty()) return ReportUsage(context, "keygen", "an empty password: use --no-password for none");
        password = std::move(*given);
    }
    const Minisign::SecretKey key = Minisign::GenerateSecretKey();
    const Minisign::PublicKey publicKey = Minisign::PublicKeyOf(key);
    auto secretText = Minisign::FormatSecretKeyFile(key, password.View());
    if (!secretText) return ReportError(context, "keygen", *secretPath, Utf8(secretText.ErrorText()), kExitFailure);
    // The secret key's file is its owner's only from the instant it exists.
    const CString secretFile = FromUtf8(*secretPath);
    if (auto written = File::WriteAtomically(secretFile, secretText->View(), File::Access::OwnerOnly); !written) {
        return ReportError(context, "keygen", *secretPath, Utf8(written.ErrorText()), kExitFailure);
    }
    if (auto written = File::WriteAtomically(FromUtf8(*publicPath), Minisign::FormatPublicKeyFile(publicKey)); !written) {
        return ReportError(context, "keygen", *publicPath, Utf8(written.ErrorText()), kExitFailure);
    }
    const std::string id = Minisign::KeyIdText(publicKey.id);
    if (parser.Has("--json")) {
        WriteJson(context, {{"keyId", id}, {"publicKey", Minisign::PublicKeyBase64(publicKey)},
                            {"secretKeyFile", *secretPath}, {"publicKeyFile", *publicPath}});
    } else {
        context.out << "key ID " << id << ": secret key in " << Shown(*secretPath) << ", public key in " << Shown(*publicPath)
                    << "\n";
    }
    return kExitOk;
}

}  // namespace Ovxext
