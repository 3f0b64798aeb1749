#include "io/vivotek_io.h"

#include "device/device_properties.h"
#include "http/send_request.h"
#include "runtime/param_text.h"
#include "runtime/text.h"

#include <string>
#include <vector>

namespace korvane
{

namespace
{

std::uint32_t ReadSignal(const std::string& value)
{
    const std::string text = Utils::ToLower(Utils::RemoveChars(value, " "));
    if (text == "1" || text == "h")
        return ipcapture::kSignalHigh;
    if (text == "0" || text == "l")
        return ipcapture::kSignalLow;
    return ipcapture::kSignalUnknown;
}

} // namespace

CVivotekIO::CVivotekIO(IDriver* driver) : CIOBase(driver), legacy_(DeviceFacts(*driver).isLegacy) {}

// A host that did not stop its inputs and outputs must not find the threads on clients that are gone.
CVivotekIO::~CVivotekIO()
{
    EndThreads();
}

void CVivotekIO::PrepareIO()
{
    if (clients_ == nullptr)
        clients_ = std::make_unique<Clients>(driver_->GetDeviceInfo());
}

void CVivotekIO::InterruptRequests()
{
    if (clients_ == nullptr)
        return;
    clients_->output.CloseRequest();
    clients_->input.CloseRequest();
}

bool CVivotekIO::PollInputs(std::uint32_t inputCount)
{
    std::string text;
    const bool isRead = legacy_ ? CameraCgi::Read(clients_->input, "system", text)
                                : CameraCgi::Ask(clients_->input, "/cgi-bin/dido/getdi.cgi", text);
    if (!isRead || text.empty())
        return false;
    for (std::uint32_t input = 0; input < inputCount; ++input)
    {
        const std::string key =
            legacy_ ? Utils::FormatString("system.di%u", input + 1) : Utils::FormatString("di%u", input);
        SetInputState(input, ReadSignal(Utils::GetParamValue(text, key)));
    }
    return true;
}

bool CVivotekIO::SetOutputState(std::uint32_t number, std::uint32_t state)
{
    std::vector<std::uint8_t> response;
    const std::string uri = Utils::FormatString("/cgi-bin/dido/setdo.cgi?do%u=%u", number,
                                                state == ipcapture::kSignalHigh ? 1u : 0u);
    return Utils::SendRequestEx(clients_->output, uri, response, false);
}

} // namespace korvane
