#include "host/contract/sink.h"

#include "host/base/stopwatch.h"
#include "host/base/text.h"

#include <array>
#include <cstdio>

namespace larkmoor::host
{

namespace
{

constexpr std::size_t kKeptLines = 1000;
constexpr std::uint8_t kWarning = 2;

} // namespace

std::string LevelName(std::uint8_t level)
{
    switch (level)
    {
    case 1:
        return "error";
    case 2:
        return "warning";
    case 3:
        return "info";
    case 100:
        return "extended";
    default:
        return std::to_string(level);
    }
}

Sink::Sink(Console& console, bool quiet) : console_(console), quiet_(quiet), start_(MonotonicSeconds()) {}

Sink::~Sink()
{
    const std::lock_guard guard(lock_);
    SayRepeats();
}

void Sink::WriteMessage(CDebugInfoIf* message)
{
    if (message == nullptr)
        return;
    const char* text = message->GetMessage();
    LogLine line{MonotonicSeconds() - start_, message->GetLevel(), text == nullptr ? "" : text};

    const std::lock_guard guard(lock_);
    ++counts_[line.level];
    if (!quiet_ || line.level <= kWarning)
        Print(line);
    if (lines_.size() < kKeptLines)
        lines_.push_back(std::move(line));
}

void Sink::Print(const LogLine& line)
{
    if (line.text == lastPrinted_ && line.level == lastLevel_)
    {
        ++repeats_;
        return;
    }
    SayRepeats();
    lastPrinted_ = line.text;
    lastLevel_ = line.level;
    std::array<char, 32> prefix{};
    std::snprintf(prefix.data(), prefix.size(), "%-8s ", LevelName(line.level).c_str());
    console_.Line(IsoTime(WallMicroseconds()).substr(11, 12) + ' ' + prefix.data() + line.text);
}

void Sink::SayRepeats()
{
    if (repeats_ != 0)
        console_.Line("             the line above " + std::to_string(repeats_) + " times more");
    repeats_ = 0;
}

std::map<std::uint8_t, std::uint64_t> Sink::CountByLevel() const
{
    const std::lock_guard guard(lock_);
    return counts_;
}

std::vector<LogLine> Sink::Lines() const
{
    const std::lock_guard guard(lock_);
    return lines_;
}

} // namespace larkmoor::host
