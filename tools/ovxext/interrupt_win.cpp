// Interrupt on Windows: Ctrl+C, Ctrl+Break and closing the console.
#include "interrupt.h"

#include <windows.h>

#include <atomic>

namespace Ovxext::Interrupt {

namespace {

std::atomic<bool> g_requested{false};

BOOL WINAPI OnConsoleEvent(DWORD) {
    g_requested.store(true);
    return TRUE;
}

}  // namespace

void Install() { ::SetConsoleCtrlHandler(OnConsoleEvent, TRUE); }

bool Requested() { return g_requested.load(); }

void Request() { g_requested.store(true); }

}  // namespace Ovxext::Interrupt
