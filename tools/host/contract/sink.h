#pragma once

#include "host/base/console.h"

#include <larkmoor/host_sink.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

/// One message of the driver, as it came.
struct LogLine
{
    double seconds = 0; ///< since the sink was made
    std::uint8_t level = 0;
    std::string text;
};

/// Takes the driver's messages: prints them with time and level, counts them and keeps them for the report.
/// What a hundred drivers say alike is printed once, with a count. Any thread.
class Sink final : public IHostSink
{
public:
    /// With `quiet` only errors and warnings are printed; all are counted. `console` outlives the sink.
    Sink(Console& console, bool quiet);
    ~Sink() override;

    void WriteMessage(CDebugInfoIf* message) override;

    std::map<std::uint8_t, std::uint64_t> CountByLevel() const;

    /// The first thousand lines, so that a driver that complains for days doesn't fill the memory.
    std::vector<LogLine> Lines() const;

private:
    void Print(const LogLine& line); // the lock is held, as below
    void SayRepeats();

    Console& console_;
    const bool quiet_;
    const double start_;
    mutable std::mutex lock_; // over all below
    std::map<std::uint8_t, std::uint64_t> counts_;
    std::vector<LogLine> lines_;
    std::string lastPrinted_;
    std::uint8_t lastLevel_ = 0;
    std::uint64_t repeats_ = 0;
};

/// "error", "warning", "info", "extended", or the number as text.
std::string LevelName(std::uint8_t level);

} // namespace larkmoor::host
