// The terminal on POSIX systems.
#include "terminal.h"

#include "platform/system_io/posix_io.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace Ovxext {

namespace {

using OvxUtils::Error;
using OvxUtils::SystemIO::Detail::OpenFd;

volatile sig_atomic_t g_signal = 0;

extern "C" void OnSignalWhileHidden(int number) { g_signal = number; }

// While a password is read with the echo off, Ctrl+C, a kill or a hang-up ends the read
// instead of the process, so that the echo is turned on again; then the signal is raised
// again under the handler it had. The signals are blocked but while the read waits for
// input (ppoll), so that one cannot slip in between a check and the wait.
class SignalsHeld {
public:
    SignalsHeld() {
        g_signal = 0;
        sigset_t held;
        sigemptyset(&held);
        for (const int number : kSignals) sigaddset(&held, number);
        ::sigprocmask(SIG_BLOCK, &held, &m_mask);
        struct sigaction action {};
        action.sa_handler = OnSignalWhileHidden;
        sigemptyset(&action.sa_mask);
        for (std::size_t i = 0; i < kSignals.size(); ++i) {
            ::sigaction(kSignals[i], nullptr, &m_saved[i]);
            if (m_saved[i].sa_handler != SIG_IGN) ::sigaction(kSignals[i], &action, nullptr);
        }
    }
    ~SignalsHeld() {
        for (std::size_t i = 0; i < kSignals.size(); ++i) ::sigaction(kSignals[i], &m_saved[i], nullptr);
        ::sigprocmask(SIG_SETMASK, &m_mask, nullptr);
        if (g_signal != 0) ::raise(g_signal);
    }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

    // Waits until terminal has input, with the signals let through; false when one came.
    bool WaitForInput(int terminal) const {
        pollfd input{terminal, POLLIN, 0};
        while (::ppoll(&input, 1, nullptr, &m_mask) < 0) {
            if (errno != EINTR || g_signal != 0) return false;
        }
        return g_signal == 0;
    }

private:
    static constexpr std::array<int, 3> kSignals{SIGINT, SIGTERM, SIGHUP};
    std::array<struct sigaction, 3> m_saved{};
    sigset_t m_mask{};  // as it was before
};

// Puts the terminal's mode back as it was when it goes.
class ModeRestorer {
public:
    ModeRestorer(int terminal, const termios& saved) : m_terminal(terminal), m_saved(saved) {}
    ~ModeRestorer() { ::tcsetattr(m_terminal, TCSAFLUSH, &m_saved); }
    ModeRestorer(const ModeRestorer&) = delete;
    ModeRestorer& operator=(const ModeRestorer&) = delete;

private:
    int m_terminal;
    termios m_saved;
};

}  // namespace

bool StandardErrorIsTerminal() { return ::isatty(STDERR_FILENO) != 0; }

OvxUtils::Result<std::optional<SecretString>> ReadPasswordFromTerminal(const std::string& prompt) {
    if (::isatty(STDIN_FILENO) == 0) return std::optional<SecretString>();
    auto line = ReadHiddenLine(u"/dev/tty", prompt);
    if (!line) return line.TakeError();
    return std::optional<SecretString>(std::move(*line));
}

OvxUtils::Result<SecretString> ReadHiddenLine(const CString& device, const std::string& prompt) {
    const auto terminal = OpenFd(device, O_RDWR | O_NOCTTY);
    if (!terminal.IsValid()) return OvxUtils::SystemError(u"cannot open the terminal " + device);
    const CString refusal = u"cannot turn off echo on the terminal " + device;
    termios saved{};
    if (::tcgetattr(terminal.Get(), &saved) != 0) return OvxUtils::SystemError(refusal);
    const SignalsHeld signals;
    const ModeRestorer restorer(terminal.Get(), saved);
    termios hidden = saved;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    // tcsetattr succeeds when any of the changes was made, so the mode is read back.
    if (::tcsetattr(terminal.Get(), TCSAFLUSH, &hidden) != 0) return OvxUtils::SystemError(refusal);
    if (::tcgetattr(terminal.Get(), &hidden) != 0 || (hidden.c_lflag & ECHO) != 0) return Error{refusal};
    // A prompt or line end the terminal does not take changes nothing of what is read.
    [[maybe_unused]] const ssize_t shown = ::write(terminal.Get(), prompt.data(), prompt.size());
    SecretString line;
    char c = 0;
    ssize_t got = 0;
    while (signals.WaitForInput(terminal.Get()) && (got = ::read(terminal.Get(), &c, 1)) == 1 && c != '\n') {
        line.Append(c);
    }
    sodium_memzero(&c, 1);
    [[maybe_unused]] const ssize_t ended = ::write(terminal.Get(), "\n", 1);
    if (g_signal != 0) return Error{u"the password was not read: interrupted"};
    if (got < 0) return OvxUtils::SystemError(u"cannot read the password from the terminal " + device);
    if (!line.IsEmpty() && line.View().back() == '\r') line.Resize(line.Size() - 1);
    return line;
}

}  // namespace Ovxext
