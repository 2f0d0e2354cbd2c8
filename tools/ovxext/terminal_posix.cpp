// The terminal on POSIX systems.
#include "terminal.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace Ovxext {

bool StandardErrorIsTerminal() { return ::isatty(STDERR_FILENO) != 0; }

std::optional<SecretString> ReadPasswordFromTerminal(const std::string& prompt) {
    if (::isatty(STDIN_FILENO) == 0) return std::nullopt;
    const int tty = ::open("/dev/tty", O_RDWR | O_CLOEXEC);
    if (tty < 0) return std::nullopt;
    termios saved{};
    const bool canHide = ::tcgetattr(tty, &saved) == 0;
    if (canHide) {
        termios hidden = saved;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(tty, TCSAFLUSH, &hidden);
    }
    // A prompt or line end the terminal does not take changes nothing of what is read.
    [[maybe_unused]] const ssize_t shown = ::write(tty, prompt.data(), prompt.size());
    SecretString line;
    char c = 0;
    while (::read(tty, &c, 1) == 1 && c != '\n') line.Append(c);
    sodium_memzero(&c, 1);
    if (canHide) ::tcsetattr(tty, TCSAFLUSH, &saved);
    [[maybe_unused]] const ssize_t ended = ::write(tty, "\n", 1);
    ::close(tty);
    if (!line.IsEmpty() && line.View().back() == '\r') line.Resize(line.Size() - 1);
    return line;
}

}  // namespace Ovxext
