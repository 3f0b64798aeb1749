#pragma once

#include "device/host_call.h"

#include <larkmoor/capability_store.h>

#include <cstdint>
#include <string>

namespace korvane
{

/// Writes into the host's store, one call through the gate at a time: a query that is given up in one of them
/// makes no other. A store that throws has refused, and is told nothing more. The texts are the caller's, on
/// its own stack or held from there.
class CStoreWriter
{
public:
    explicit CStoreWriter(ipcapture::ICapabilityStore& store) : store_(store) {}

    bool HasRefused() const { return hasRefused_; }

    void SetModel(const std::string& text)
    {
        Tell([&store = store_, &text] { store.SetModel(text.c_str()); });
    }
    void SetValue(std::uint32_t id, std::uint32_t value)
    {
        Tell([&store = store_, id, value] { store.SetValue(id, value); });
    }
    void SetConnectionField(std::uint32_t index, const std::string& text)
    {
        if (auto* const field = Part([&store = store_, index] { return store.GetConnectionField(index); }))
            Tell([field, &text] { field->SetText(text.c_str()); });
    }

    /// Parameters: an empty value is written as "(none)". `digits` are what a device told.
    void AddText(std::uint32_t id, const char* name, const std::string& text)
    {
        AddParameter(id, name, true, text);
    }
    void AddNumber(std::uint32_t id, const char* name, const std::string& digits)
    {
        AddParameter(id, name, false, digits);
    }
    void AddNumber(std::uint32_t id, const char* name, std::int64_t number)
    {
        AddParameter(id, name, false, std::to_string(number));
    }

    /// A part of the store, which may have none; what it is told goes through `Tell`.
    auto* ResolutionList()
    {
        return Part([&store = store_] { return store.GetResolutionList(); });
    }
    auto* FrameTimeList()
    {
        return Part([&store = store_] { return store.GetFrameTimeList(1); });
    }

    /// One call of the host's; false when it threw, or a call before it did. `call` uses only what `CallHost`
    /// allows.
    template <class Call>
    bool Tell(Call call)
    {
        hasRefused_ = hasRefused_ || !CallHost(call);
        return !hasRefused_;
    }

private:
    void AddParameter(std::uint32_t id, const char* name, bool isText, const std::string& value)
    {
        auto* const parameter = Part([&store = store_, id] { return store.AddParameter(id); });
        if (parameter == nullptr)
            return;
        Tell([=] { parameter->SetName(name); });
        Tell([=] { parameter->SetReserved(0); });
        Tell([=] { parameter->SetIsText(isText); });
        Tell([parameter, text = value.empty() ? "(none)" : value.c_str()] { parameter->SetValue(text); });
    }

    template <class Get>
    auto Part(Get get) -> decltype(get())
    {
        decltype(get()) part = nullptr;
        return Tell([&part, &get] { part = get(); }) ? part : nullptr;
    }

    ipcapture::ICapabilityStore& store_;
    bool hasRefused_ = false;
};

} // namespace korvane
