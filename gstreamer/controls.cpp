#include "gstreamer/controls.h"

#include <algorithm>
#include <array>
#include <utility>

namespace larkmoor::gst
{

using namespace korvane::ipcapture;

namespace
{

constexpr std::uint32_t kLargestName = 1024;

struct Movement
{
    const char* name;
    PTZDirection direction;
};

constexpr std::array<Movement, 8> kMovements = {{{"left", kPTZLeft},
                                                 {"right", kPTZRight},
                                                 {"up", kPTZUp},
                                                 {"down", kPTZDown},
                                                 {"up-left", kPTZUpLeft},
                                                 {"up-right", kPTZUpRight},
                                                 {"down-left", kPTZDownLeft},
                                                 {"down-right", kPTZDownRight}}};

struct Lens
{
    const char* name;
    std::int32_t (IIPPTZApi::*move)(std::uint32_t);
};

constexpr std::array<Lens, 6> kLenses = {{{"zoom-in", &IIPPTZApi::ZoomIn},
                                          {"zoom-out", &IIPPTZApi::ZoomOut},
                                          {"focus-near", &IIPPTZApi::FocusNear},
                                          {"focus-far", &IIPPTZApi::FocusFar},
                                          {"iris-open", &IIPPTZApi::IrisOpen},
                                          {"iris-close", &IIPPTZApi::IrisClose}}};

} // namespace

void Controls::Open(IIPCaptureDriverEx4* driver, IHostIOClient* client)
{
    const std::scoped_lock guard(headLock_, ioLock_);
    driver_ = driver;
    client_ = client;
}

void Controls::Close()
{
    const std::scoped_lock guard(headLock_, ioLock_);
    if (std::exchange(isIORunning_, false))
        driver_->GetIO()->StopIO();
    driver_ = nullptr;
    head_ = nullptr;
}

IIPPTZApi* Controls::Head()
{
    if (head_ == nullptr && driver_ != nullptr && driver_->GetPTZ() != nullptr)
        head_ = driver_->GetPTZ()->GetPTZControl(0);
    return head_;
}

bool Controls::Move(const std::string& movement, std::uint32_t speed)
{
    const std::lock_guard guard(headLock_);
    IIPPTZApi* const head = Head();
    if (head == nullptr)
        return false;
    if (movement == "stop")
        return head->Stop() == kPTZDone;
    for (const Movement& known : kMovements)
        if (movement == known.name)
            return head->StartMove(known.direction, std::clamp(speed, 1u, 16u)) == kPTZDone;
    for (const Lens& known : kLenses)
        if (movement == known.name)
            return (head->*known.move)(std::clamp(speed, 1u, 16u)) == kPTZDone;
    return false;
}

bool Controls::RecallPreset(const std::string& name, std::uint32_t speed)
{
    const std::lock_guard guard(headLock_);
    IIPPTZApi* const head = Head();
    return head != nullptr && head->RecallPreset(std::clamp(speed, 1u, 16u), name.c_str()) == kPTZDone;
}

bool Controls::AddPreset(const std::string& name)
{
    const std::lock_guard guard(headLock_);
    IIPPTZApi* const head = Head();
    return head != nullptr && head->AddPreset(name.c_str()) == kPTZDone;
}

bool Controls::DeletePreset(const std::string& name)
{
    const std::lock_guard guard(headLock_);
    IIPPTZApi* const head = Head();
    return head != nullptr && head->DeletePreset(name.c_str()) == kPTZDone;
}

std::vector<std::string> Controls::Presets()
{
    const std::lock_guard guard(headLock_);
    std::vector<std::string> names;
    IIPPTZApi* const head = Head();
    const std::uint32_t count = head == nullptr ? 0 : head->GetPresetCount();
    for (std::uint32_t i = 0; i < count; ++i)
    {
        std::array<char, kLargestName> name{};
        if (head->GetPresetName(i, name.data(), kLargestName) == kPTZDone)
            names.emplace_back(name.data());
    }
    return names;
}

bool Controls::StartIO()
{
    const std::lock_guard guard(ioLock_);
    return StartIOLocked();
}

bool Controls::StartIOLocked()
{
    ICaptureIOApi* const io = driver_ == nullptr ? nullptr : driver_->GetIO();
    if (io == nullptr)
        return false;
    if (!isIORunning_)
        isIORunning_ = io->SetClient(client_) && io->StartIO();
    return isIORunning_;
}

bool Controls::SetOutput(std::uint32_t number, bool isOn)
{
    const std::lock_guard guard(ioLock_);
    return StartIOLocked() && number < driver_->GetIO()->GetOutputCount() &&
           driver_->GetIO()->SetOutput(number, isOn ? kSignalHigh : kSignalLow);
}

} // namespace larkmoor::gst
