// Interrupt on POSIX systems: SIGINT and SIGTERM.
#include "interrupt.h"

#include <atomic>
#include <csignal>

namespace Ovxext::Interrupt {

namespace {

std::atomic<bool> g_requested{false};

extern "C" void OnSignal(int) { g_requested.store(true); }

}  // namespace

void Install() {
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool Requested() { return g_requested.load(); }

void Request() { g_requested.store(true); }

}  // namespace Ovxext::Interrupt
