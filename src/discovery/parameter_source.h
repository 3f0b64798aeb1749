#pragma once

#include <cstdint>
#include <string>

namespace korvane
{

/// Where the discovery reads a device's parameters: its web server, or whatever stands in for one.
class IParameterSource
{
public:
    virtual ~IParameterSource() = default;

    /// One request. True when it was answered with a status of 2xx and a body, which is then in `body` and is
    /// text up to its first zero byte.
    virtual bool Get(const std::string& uri, std::string& body) = 0;

    /// The HTTP status of the last request; 0 when there was no answer.
    virtual std::uint32_t StatusCode() const = 0;
};

} // namespace korvane
