#pragma once

#include <stdexcept>
#include <string>

namespace larkmoor::host
{

/// What the program's exit status says. Scripts rely on the numbers.
enum class ExitStatus : int
{
    Done = 0,           ///< it did what was asked
    Internal = 1,       ///< a fault of the bench host itself
    Usage = 2,          ///< the command line or a file named on it can't be understood
    NoDriver = 3,       ///< the library can't be loaded, or the driver refuses to open
    NoFrames = 4,       ///< a stream that was asked for delivered nothing
    Output = 5,         ///< a file that was asked for couldn't be written whole
    Contract = 6,       ///< the driver broke its contract: a leak, a double release, a write past the end
    BadAddress = 7,     ///< query: the address is no host name or IP address
    LoginRefused = 8,   ///< query: the device takes no client with that user and password
    NotReachable = 9,   ///< query: nothing answers there
    UnknownDevice = 10, ///< query: something answers, but no device that the driver knows
    Refused = 11,       ///< the driver or the device did not do what it was told
    Interrupted = 130,  ///< stopped by a signal before it had done what was asked
};

/// A reason to give up, with the status to leave with. Thrown and caught on the main thread only.
class Failure : public std::runtime_error
{
public:
    Failure(ExitStatus status, const std::string& text) : std::runtime_error(text), status_(status) {}

    ExitStatus Status() const { return status_; }

private:
    ExitStatus status_;
};

} // namespace larkmoor::host
