#include "host/contract/capability_store.h"

#include <utility>

namespace larkmoor::host
{

QueryEnd CapabilitySink::End() const
{
    const std::lock_guard guard(lock_);
    return end_;
}

bool CapabilitySink::WaitFor(std::chrono::milliseconds time)
{
    std::unique_lock guard(lock_);
    return changed_.wait_for(guard, time, [this] { return end_.kind != QueryEnd::Kind::None; });
}

void CapabilitySink::OnQueryFailed(std::uint32_t code, const char* text)
{
    if (text == nullptr)
        faults_.Add("OnQueryFailed with a null text");
    SetEnd({QueryEnd::Kind::Failed, code, text == nullptr ? "" : text});
}

void CapabilitySink::SetEnd(QueryEnd end)
{
    const std::lock_guard guard(lock_);
    if (end_.kind != QueryEnd::Kind::None)
        faults_.Add("a query ended twice");
    end_ = std::move(end);
    changed_.notify_all();
}

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

ICapabilityParameter* CapabilityStore::AddParameter(std::uint32_t id)
{
    report_.parameters.push_back({id, {}, false, {}});
    return &parameters_.emplace_back(*this, report_.parameters.size() - 1);
}

IFrameTimeList* CapabilityStore::GetFrameTimeList(std::uint32_t number)
{
    if (number != 1)
        faults_.Add("GetFrameTimeList with " + std::to_string(number) + " in place of 1");
    return this;
}

std::string CapabilityStore::Checked(const char* text, const char* operation)
{
    if (text != nullptr)
        return text;
    faults_.Add(std::string(operation) + " with a null text");
    return {};
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

void CapabilityStore::Add(const char* text, std::uint32_t width, std::uint32_t height,
                          std::uint32_t frameTime)
{
    report_.sizes.push_back({Checked(text, "Add of a size"), width, height, frameTime});
}

} // namespace larkmoor::host
