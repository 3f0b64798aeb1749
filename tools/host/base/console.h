#pragma once

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <termios.h>

namespace larkmoor::host
{

/// The terminal, or the file that stands in for it. Log lines, from any thread, and the picture of what goes
/// on, which is drawn over in place on a terminal, share it without mixing. Writes to standard error:
/// standard output is left to results.
class Console
{
public:
    explicit Console(std::FILE* stream = stderr);

    /// True when lines can be drawn over.
    bool IsTerminal() const { return isTerminal_; }

    /// One line of text, its end added here. Control characters in it, which may come from a camera, are
    /// shown as dots.
    void Line(std::string_view text);

    /// Shows these lines in place of those shown before. Without a terminal only the last line is written,
    /// and at most once in `plainEvery`, so that a log doesn't drown.
    void Show(const std::vector<std::string>& lines, std::chrono::milliseconds plainEvery);

    /// Leaves what is shown as it stands and goes on below it.
    void Finish();

private:
    void EraseShown();
    void DrawShown();

    std::mutex lock_; // over everything below, and over the order of writes
    std::FILE* stream_;
    bool isTerminal_;
    std::vector<std::string> shown_;
    std::chrono::steady_clock::time_point lastPlain_{};
};

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
