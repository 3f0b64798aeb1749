#include "host/base/console.h"

#include "host/base/text.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace larkmoor::host
{

namespace
{

std::size_t Columns(std::FILE* stream)
{
    winsize size{};
    if (ioctl(fileno(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return 80;
    return size.ws_col;
}

} // namespace

Console::Console(std::FILE* stream) : stream_(stream), isTerminal_(isatty(fileno(stream)) == 1) {}

void Console::Line(std::string_view text)
{
    const std::string line = Printable(text);
    const std::lock_guard guard(lock_);
    EraseShown();
    std::fprintf(stream_, "%s\n", line.c_str());
    DrawShown();
    std::fflush(stream_);
}

void Console::Show(const std::vector<std::string>& lines, std::chrono::milliseconds plainEvery)
{
    const std::lock_guard guard(lock_);
    if (isTerminal_)
    {
        EraseShown();
        shown_ = lines;
        DrawShown();
    }
    else if (const auto now = std::chrono::steady_clock::now();
             !lines.empty() && now - lastPlain_ >= plainEvery)
    {
        lastPlain_ = now;
        std::fprintf(stream_, "%s\n", lines.back().c_str());
    }
    std::fflush(stream_);
}

void Console::Finish()
{
    const std::lock_guard guard(lock_);
    shown_.clear();
}

void Console::EraseShown()
{
    if (!shown_.empty())
        std::fprintf(stream_, "\033[%zuA\r\033[J", shown_.size());
}

void Console::DrawShown()
{
    // A line that wraps would make the way back up too short.
    const std::size_t columns = shown_.empty() ? 0 : Columns(stream_);
    for (const std::string& line : shown_)
        std::fprintf(stream_, "%s\n", line.substr(0, columns).c_str());
}

} // namespace larkmoor::host
