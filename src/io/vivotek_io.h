#pragma once

#include "http/http_client.h"
#include "io/io_base.h"

#include <cstdint>
#include <memory>

namespace korvane
{

/// Inputs and outputs of a Vivotek device, by its CGI programs.
class CVivotekIO : public CIOBase
{
public:
    explicit CVivotekIO(IDriver* driver); ///< not owned; outlives the object
    ~CVivotekIO() override;

    bool SetOutputState(std::uint32_t number, std::uint32_t state) override;
    bool PollInputs(std::uint32_t inputCount) override;
    void PrepareIO() override;
    void InterruptRequests() override;

private:
    const bool legacy_;
    struct Clients
    {
        explicit Clients(const DEVICE_INFO& device) : output(device), input(device) {}
        Web::CHttpClient output; // used by the output thread
        Web::CHttpClient input;  // used by the input thread
    };
    std::unique_ptr<Clients> clients_; // made by the first start: only then the device's time-outs are known
};

} // namespace korvane
