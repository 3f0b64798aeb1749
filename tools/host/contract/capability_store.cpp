#include "host/contract/capability_store.h"

namespace larkmoor::host
{

std::uint32_t DeviceReport::Value(std::uint32_t number) const
{
    std::uint32_t last = 0;
    for (const auto& [id, value] : values)
        last = id == number ? value : last;
    return last;
}

std::string DeviceReport::Text(std::uint32_t parameter) const
{
    for (const Parameter& candidate : parameters)
    {
        if (candidate.id == parameter)
            return candidate.value == "(none)" ? "" : candidate.value;
    }
    return {};
}

ICapabilityField* CapabilityStore::GetConnectionField(std::uint32_t index)
{
    return &fields_.emplace_back(*this, index);
}

ICapabilityParameter* CapabilityStore::AddParameter(std::uint32_t id)
{
    report_.parameters.push_back({id, {}, false, {}});
    return &parameters_.emplace_back(*this, report_.parameters.size() - 1);
}

IFrameTimeList* CapabilityStore::GetFrameTimeList(std::uint32_t number)
{
    if (number != 1)
        faults_.Add("GetFrameTimeList with " + std::to_string(number) + " in place of 1");
    return &frameTimes_;
}

std::string CapabilityStore::Checked(const char* text, const char* operation)
{
    if (text != nullptr)
        return text;
    faults_.Add(std::string(operation) + " with a null text");
    return {};
}

void CapabilityStore::Reserved()
{
    faults_.Add("a reserved operation of the capability store was called");
}

void CapabilityStore::Field::SetText(const char* text)
{
    store_.report_.connection[index_] = store_.Checked(text, "SetText");
}

void CapabilityStore::Parameter::SetReserved(std::uint32_t value)
{
    if (value != 0)
        store_.faults_.Add("SetReserved with " + std::to_string(value) + " in place of 0");
}

void CapabilityStore::ResolutionList::Add(const char* text, std::uint32_t width, std::uint32_t height,
                                          std::uint32_t frameTime)
{
    store_.report_.sizes.push_back({store_.Checked(text, "Add of a size"), width, height, frameTime});
}

} // namespace larkmoor::host
