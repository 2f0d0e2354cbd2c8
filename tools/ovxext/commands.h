// The ovxext commands. RunCommand is the whole tool behind main(): the tests call it
// directly with their own streams.
#pragma once

#include "command_context.h"

#include <ostream>
#include <string>
#include <vector>

namespace Ovxext {

// args[0] is the command name ("pack", "info", ...); returns the exit code. What the
// command prints reaches out and err through a DisplayStream each.
int RunCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

int RunInit(const CommandContext& context);
int RunPack(const CommandContext& context);
int RunInfo(const CommandContext& context);
int RunCheck(const CommandContext& context);
int RunUnpack(const CommandContext& context);
int RunLint(const CommandContext& context);
int RunLs(const CommandContext& context);
int RunDemo(const CommandContext& context);
int RunHost(const CommandContext& context);
int RunKeygen(const CommandContext& context);
int RunSign(const CommandContext& context);
int RunVerify(const CommandContext& context);
int RunQuarantine(const CommandContext& context);
int RunRepo(const CommandContext& context);

// True when args ask for the command's help ("--help" or "-h" anywhere).
bool WantsHelp(const std::vector<std::string>& args);
// Writes a command's help text on out; returns kExitOk.
int ShowHelp(const CommandContext& context, const char* help);

}  // namespace Ovxext
