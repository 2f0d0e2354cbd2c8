// Whether standard error is a terminal, where progress lines are shown.
#pragma once

namespace Ovxext {

bool StandardErrorIsTerminal();

}  // namespace Ovxext
