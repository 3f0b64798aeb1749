#pragma once

#include <larkmoor/ip_capture_driver.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace larkmoor::gst
{

/// The head, the presets, the inputs and outputs of one device. Any thread; what goes to the device on the
/// calling thread can take as long as the device does.
class Controls
{
public:
    /// `client` hears of the inputs, and outlives `Close`.
    void Open(korvane::ipcapture::IIPCaptureDriverEx4* driver, korvane::ipcapture::IHostIOClient* client);
    void Close(); ///< waits for the call in hand; from then on nothing works

    /// `movement` is one of left, right, up, down, up-left, up-right, down-left, down-right, zoom-in,
    /// zoom-out, focus-near, focus-far, iris-open, iris-close, stop; `speed` is 1 to 16. True says that the
    /// command waits to be sent.
    bool Move(const std::string& movement, std::uint32_t speed);

    bool RecallPreset(const std::string& name, std::uint32_t speed);
    bool AddPreset(const std::string& name);
    bool DeletePreset(const std::string& name);
    std::vector<std::string> Presets();

    /// Begins to ask for the inputs. The driver switches all outputs off then, so this comes only when
    /// somebody wants to hear of inputs or to switch an output.
    bool StartIO();
    bool SetOutput(std::uint32_t number, bool isOn);

private:
    korvane::ipcapture::IIPPTZApi* Head();
    bool StartIOLocked();

    std::mutex headLock_;
    std::mutex ioLock_; // a preset that waits for the device does not hold up an output
    korvane::ipcapture::IIPCaptureDriverEx4* driver_ = nullptr; // written under both
    korvane::ipcapture::IIPPTZApi* head_ = nullptr;
    korvane::ipcapture::IHostIOClient* client_ = nullptr;
    bool isIORunning_ = false;
};

} // namespace larkmoor::gst
