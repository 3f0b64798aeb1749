#include "host/contract/driver_settings.h"

namespace larkmoor::host
{

const char* DeviceSettings::GetParameter(std::uint32_t number)
{
    const auto found = device_.properties.find(number);
    return found == device_.properties.end() ? nullptr : found->second.c_str();
}

// A call of one of these means that the driver's table of operations and the host's differ.
void DeviceSettings::ReservedSlot1()
{
    faults_.Add("call of a reserved operation of the device settings");
}

void DeviceSettings::ReservedSlot2()
{
    ReservedSlot1();
}

void ChannelSettings::ReservedSlot1()
{
    faults_.Add("call of a reserved operation of the channel settings");
}

void ChannelSettings::ReservedSlot2()
{
    ReservedSlot1();
}

} // namespace larkmoor::host
