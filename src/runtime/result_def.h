#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace korvane
{

/// The outcome of a request. A new one is a success: severity 3, code 0, no message.
class CResultDef
{
public:
    static constexpr std::uint32_t kSuccess = 3; ///< severity

    CResultDef() = default;
    CResultDef(std::uint32_t severityValue, std::uint32_t codeValue, std::string messageText)
        : severity(severityValue), code(codeValue), message(std::move(messageText))
    {
    }
    virtual ~CResultDef() = default;

    std::uint32_t severity = kSuccess;
    std::uint32_t code = 0;
    std::string message;
};

} // namespace korvane
