// ovxext verify: whether a package's signature holds under one of the given public keys.

#include "argument_parser.h"
#include "commands.h"
#include "package_reader.h"
#include "signature_report.h"
#include "signing.h"

namespace Ovxext {

namespace {

namespace Minisign = OvxComponent::Minisign;

constexpr const char* kHelp =
    "usage: ovxext verify PACKAGE -p PUBLIC [-p PUBLIC]... [--json]\n"
    "\n"
    "Checks PACKAGE as a host that trusts the keys PUBLIC checks it: the signature of\n"
    "META-INF/digests.txt under one of the keys, the trusted comment against the package's\n"
    "document ID and version, every entry listed exactly once, and every entry's content\n"
    "against its digest. Prints the signer, or every reason the signature does not hold.\n"
    "\n"
    "options:\n"
    "  -p, --public FILE      a trusted public key (repeatable; at least one)\n"
    "  --json                 print the result as JSON\n"
    "\n"
    "exit codes: 0 the signature holds, 1 it does not, 2 usage error, 3 the package or a\n"
    "key cannot be read\n";

}  // namespace

int RunVerify(const CommandContext& context) {
    if (WantsHelp(context.args)) return ShowHelp(context, kHelp);
    ArgumentParser parser;
    parser.AddFlag("--json");
    parser.AddOption("--public", true);
    parser.AddAlias("-p", "--public");
    if (!parser.Parse(context.args)) return ReportUsage(context, "verify", parser.Error());
    if (parser.Positional().size() != 1) return ReportUsage(context, "verify", "expected one PACKAGE");
    if (!parser.Has("--public")) return ReportUsage(context, "verify", "-p PUBLIC is required");
    const std::string& file = parser.Positional()[0];
    auto store = ReadTrustedKeys(parser.Values("--public"));
    if (!store) return ReportError(context, "verify", file, Utf8(store.ErrorText()), kExitFailure);
    auto package = OpenPackage(file);
    if (!package) return ReportError(context, "verify", file, Utf8(package.ErrorText()), kExitFailure);

    const OvxComponent::Trust::SignatureVerdict verdict = CheckPackageSignature(*package, *store);
    const bool holds = verdict.Holds();
    if (parser.Has("--json")) {
        Json problems = Json::array();
        for (const CString& problem : verdict.problems) problems.push_back(JsonText(problem));
        WriteJson(context, {{"file", file},
                            {"holds", holds},
                            {"signer", SignerJson(*package)},
                            {"problems", problems}});
    } else if (holds) {
        context.out << Shown(file) << ": signature holds: signed by key ID " << Minisign::KeyIdText(verdict.signer->keyId)
                    << "\ntrusted comment: " << Shown(verdict.signer->trustedComment) << "\n";
    } else {
        context.out << Shown(file) << ": signature does not hold\n";
        for (const CString& problem : verdict.problems) context.out << "  " << Utf8(problem) << "\n";
    }
    return holds ? kExitOk : kExitProblems;
}

}  // namespace Ovxext
