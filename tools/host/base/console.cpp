#include "host/base/console.h"

#include "host/base/text.h"

#include <cerrno>
#include <string_view>

#include <poll.h>
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

Keyboard::Keyboard()
{
    tcgetattr(STDIN_FILENO, &before_);
    termios raw = before_;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &raw);
}

Keyboard::~Keyboard()
{
    tcsetattr(STDIN_FILENO, TCSANOW, &before_);
}

std::optional<int> Keyboard::Read(std::chrono::milliseconds patience)
{
    pollfd item{STDIN_FILENO, POLLIN, 0};
    if (poll(&item, 1, static_cast<int>(patience.count())) <= 0)
        return std::nullopt;
    // A terminal sends an arrow as ESC [ A or ESC O A, in one piece.
    char bytes[3] = {};
    const ssize_t count = read(STDIN_FILENO, bytes, 1);
    if (count <= 0)
    {
        gone_ = count == 0 || errno != EINTR;
        return std::nullopt;
    }
    if (bytes[0] != '\x1B' || poll(&item, 1, 0) <= 0 || read(STDIN_FILENO, bytes + 1, 2) != 2)
        return static_cast<unsigned char>(bytes[0]);
    const std::size_t arrow = std::string_view("ABCD").find(bytes[2]);
    return arrow == std::string_view::npos ? 0 : kUp + static_cast<int>(arrow);
}

} // namespace larkmoor::host
