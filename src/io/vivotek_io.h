#pragma once

#include "http/http_client.h"
#include "io/io_base.h"

#include <cstdint>

namespace korvane
{

/// Inputs and outputs of a Vivotek device, by its CGI programs.
class CVivotekIO : public CIOBase
{
public:
    explicit CVivotekIO(IDriver* driver); ///< reads property 9, "1" for the legacy interface, once
    ~CVivotekIO() override;

    bool SetOutputState(std::uint32_t number, std::uint32_t state) override;
    bool PollInputs(std::uint32_t inputCount) override;
    void InterruptRequests() override;

private:
    const bool legacy_;
    Web::CHttpClient outputClient_; // used by the output thread
    Web::CHttpClient inputClient_;  // used by the input thread
};

} // namespace korvane
