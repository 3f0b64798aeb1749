#pragma once

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

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

} // namespace larkmoor::host
