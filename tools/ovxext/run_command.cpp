// ovxext: dispatch of the commands, the general help and the shared error reports.

#include "commands.h"
#include "display_stream.h"
#include "terminal.h"

#include "platform/component_version.h"

#include <iostream>
#include <map>

namespace Ovxext {

namespace {

constexpr const char* kUsage =
    "usage: ovxext <command> [arguments]\n"
    "\n"
    "commands:\n"
    "  init FOLDER [--type MIME] [--app NAMES]\n"
    "                                   write the project file that keeps the extension's ID\n"
    "  pack FOLDER -o FILE [options]    pack the files under FOLDER into an extension package\n"
    "  info FILE                        show every metadata field, entry point and requirement\n"
    "  check FILE --app NAMES [--feature NAME]...\n"
    "                                   tell whether the package would load on that host, and why not\n"
    "  unpack FILE DIR                  extract the whole package into DIR, safely\n"
    "  lint FILE                        list every problem of the package\n"
    "  keygen -s SECRET -p PUBLIC       make a key pair for signing packages (minisign's files)\n"
    "  sign FILE -s SECRET              sign the package, replacing an earlier signature\n"
    "  verify FILE -p PUBLIC...         tell whether the signature holds under one of the keys\n"
    "  ls FILE                          list the entries of the package\n"
    "  demo [--keep DIR]                walk through the life of extensions in a host, step by step\n"
    "  host --data DIR --source DIR [--app NAME] [--feature NAME]... [--trust PUBLIC]...\n"
    "                                   run a host over real folders until interrupted\n"
    "  quarantine list|release --data DIR [ID]\n"
    "                                   the extensions a host keeps off after dying in them\n"
    "  repo init|add|remove|publish|timestamp|rotate DIR ...\n"
    "                                   keep a TUF repository of packages for hosts' update channels\n"
    "  help                             show this text (also --help)\n"
    "  version                          show the component version (also --version)\n"
    "\n"
    "Run 'ovxext <command> --help' for the options of one command.\n"
    "\n"
    "exit codes:\n"
    "  0  done; check: the package would load; lint: no problems\n"
    "  1  check: the package would not load; lint: problems found; verify: the signature\n"
    "     does not hold\n"
    "  2  usage error\n"
    "  3  a file or package could not be read or written\n"
    "\n"
    "environment:\n"
    "  OVXEXT_KEY_PASSWORD  the password of an encrypted secret key (keygen, sign,\n"
    "                       pack --sign), read when standard input is not a terminal\n"
    "  SOURCE_DATE_EPOCH    seconds since 1970: the signature's timestamp, and the time of\n"
    "                       entries that signing adds (sign, pack --sign)\n"
    "\n"
    "Extension packages (.OrvexExtension) are ZIP containers holding extension.xml and\n"
    "requirements.xml beside the extension's own files.\n";

}  // namespace

bool WantsHelp(const std::vector<std::string>& args) {
    for (const std::string& arg : args) {
        if (arg == "--") return false;
        if (arg == "--help" || arg == "-h") return true;
    }
    return false;
}

int ShowHelp(const CommandContext& context, const char* help) {
    context.out << help;
    return kExitOk;
}

void ReportProgress(const CommandContext& context, const std::string& line) {
    if (context.errIsTerminal) context.err << line << std::endl;
}

int ReportError(const CommandContext& context, const std::string& command, const std::string& file,
                const std::string& message, int code) {
    context.err << "ovxext " << command << ": " << Shown(file) << ": " << Shown(message) << "\n";
    return code;
}

int ReportUsage(const CommandContext& context, const std::string& command, const std::string& message) {
    context.err << "ovxext " << command << ": " << Shown(message) << "\n"
                << "Run 'ovxext " << command << " --help' for usage.\n";
    return kExitUsage;
}

int RunCommand(const std::vector<std::string>& args, std::ostream& rawOut, std::ostream& rawErr) {
    DisplayStream out(rawOut);
    DisplayStream err(rawErr);
    const bool errIsTerminal = &rawErr == &std::cerr && StandardErrorIsTerminal();
    if (args.empty()) {
        err << kUsage;
        return kExitUsage;
    }
    const std::string& command = args[0];
    if (command == "help" || command == "--help" || command == "-h") {
        out << kUsage;
        return kExitOk;
    }
    if (command == "version" || command == "--version") {
        out << "ovxext " << Utf8(OvxComponent::GetComponentVersion().ToString()) << " (OvxComponent)\n";
        return kExitOk;
    }
    static const std::map<std::string, int (*)(const CommandContext&)> commands{
        {"init", &RunInit}, {"pack", &RunPack}, {"info", &RunInfo}, {"check", &RunCheck}, {"unpack", &RunUnpack},
        {"lint", &RunLint}, {"ls", &RunLs},     {"demo", &RunDemo},   {"host", &RunHost},
        {"keygen", &RunKeygen}, {"sign", &RunSign}, {"verify", &RunVerify}, {"quarantine", &RunQuarantine},
        {"repo", &RunRepo},
    };
    const auto found = commands.find(command);
    if (found == commands.end()) {
        err << "ovxext: unknown command '" << Shown(command) << "'\n\n" << kUsage;
        return kExitUsage;
    }
    const CommandContext context{std::vector<std::string>(args.begin() + 1, args.end()), out, err, errIsTerminal};
    return found->second(context);
}

}  // namespace Ovxext
