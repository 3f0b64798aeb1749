#include "host/base/keyboard.h"

#include <cerrno>
#include <string_view>

#include <poll.h>
#include <unistd.h>

namespace larkmoor::host
{

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
