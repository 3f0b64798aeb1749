#pragma once

#include <chrono>
#include <optional>

#include <termios.h>

namespace larkmoor::host
{

/// The keys of the terminal on standard input as they are pressed, without echo, from construction to
/// destruction. Ctrl-C still interrupts. One for the process, one thread.
class Keyboard
{
public:
    /// Arrow keys stand beyond all characters.
    enum Arrow : int
    {
        kUp = 256,
        kDown,
        kRight,
        kLeft,
    };

    Keyboard();
    ~Keyboard(); ///< gives the terminal back as it was
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

    static bool IsThere() { return isatty(STDIN_FILENO) == 1; } ///< true when standard input is a terminal

    /// The next key, or nothing after `patience`, at an interrupt or when the terminal is gone.
    std::optional<int> Read(std::chrono::milliseconds patience);

    bool IsGone() const { return gone_; } ///< no key will come any more

private:
    termios before_{};
    bool gone_ = false;
};

} // namespace larkmoor::host
