#pragma once

namespace korvane
{

/// Hears of the end of a stream.
class IRTCPHandlerUser
{
public:
    virtual ~IRTCPHandlerUser() = default;

    /// The device has said BYE. On the thread that read it, with no lock held.
    virtual void OnRTCPBye() = 0;
};

} // namespace korvane
