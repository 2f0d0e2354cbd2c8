// ovxext: the command-line companion of OvxComponent for extension authors and hosts.

#include "platform/component_version.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr const char* kUsage =
    "usage: ovxext <command> [arguments]\n"
    "\n"
    "commands:\n"
    "  help       show this text\n"
    "  version    show the component version (also --version)\n"
    "\n"
    "Extension packages (.OrvexExtension) are ZIP containers holding extension.xml and\n"
    "requirements.xml beside the extension's own files.\n";

int PrintVersion() {
    std::printf("ovxext %s (OvxComponent)\n", OvxComponent::GetComponentVersion().ToString().ToUtf8().c_str());
    return 0;
}

int PrintUsage(std::FILE* out) {
    std::fputs(kUsage, out);
    return out == stdout ? 0 : 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return PrintUsage(stderr);
    const std::string command = argv[1];
    if (command == "help" || command == "--help" || command == "-h") return PrintUsage(stdout);
    if (command == "version" || command == "--version") return PrintVersion();
    std::fprintf(stderr, "ovxext: unknown command '%s'\n\n", command.c_str());
    return PrintUsage(stderr);
}
