#pragma once

#include "device/driver.h"
#include "ptz/base_ptz_comm.h"
#include "ptz/open_calls.h"
#include "ptz/preposition_list.h"
#include "runtime/one_at_a_time.h"

#include <larkmoor/ip_ptz.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace korvane
{

/// The control of one camera head towards the host: forwards commands to the command thread and preset calls
/// to the list, and keeps track of what is moving so that one stop ends it all. Driven by one host thread at
/// a time.
class CBasePTZControl : public ipcapture::IIPPTZApiEx, public ipcapture::IIPParams
{
public:
    CBasePTZControl(IDriver* driver, std::uint32_t channel);
    ~CBasePTZControl() override;

    std::int32_t IsAvailable() override;
    std::int32_t StartMove(std::uint32_t direction, std::uint32_t speed) override;
    std::int32_t Stop() override;
    std::int32_t Center(std::uint32_t x, std::uint32_t y, std::uint32_t third) override;
    std::int32_t ZoomIn(std::uint32_t speed) override;
    std::int32_t ZoomOut(std::uint32_t speed) override;
    std::int32_t Unzoom(std::uint32_t speed) override;
    std::int32_t AreaZoom(std::uint32_t x, std::uint32_t y, std::uint32_t third,
                          std::uint32_t fourth) override;
    std::int32_t FocusNear(std::uint32_t speed) override;
    std::int32_t FocusFar(std::uint32_t speed) override;
    std::int32_t IrisOpen(std::uint32_t speed) override;
    std::int32_t IrisClose(std::uint32_t speed) override;
    std::int32_t GetCapabilities(ipcapture::PTZCapabilityRecord* record) override;
    std::uint32_t GetPresetCount() override;
    std::int32_t GetPresetName(std::uint32_t index, char* buffer, std::uint32_t size) override;
    std::int32_t RecallPreset(std::uint32_t speed, const char* name) override;
    std::int32_t AddPreset(const char* name) override;
    std::int32_t DeletePreset(const char* name) override;
    std::int32_t GetCurrentPreset(char* buffer, std::uint32_t size) override;
    std::uint32_t ReservedEcho(std::uint32_t value) override { return value; }

    void BeginClose(); ///< starts the time of a `Close`, which follows

    /// Stops the command thread and lets go of it; see `CBasePTZComm::Close`. A call that another thread has
    /// in here is ended as the command in hand is; the calls that come later are refused.
    virtual void Close();
    virtual std::unique_ptr<CBasePTZComm> CreateComm() = 0;
    virtual bool Open(); ///< starts the command thread and reads the presets

    std::uint32_t GetChannel() override { return channel_; }
    std::uint8_t GetFlag1() override { return flag1_; }
    void SetFlag1(std::uint8_t value) override { flag1_ = value; }
    std::uint8_t GetFlag2() override { return flag2_; }
    void SetFlag2(std::uint8_t value) override { flag2_ = value; }

protected:
    bool IsMoving() const { return moving_; }

    IDriver* const driver_;
    const std::uint32_t channel_; ///< from 0

private:
    template <class Result, class Use>
    Result Call(Result failure, Use use);
    template <class Use>
    std::int32_t CallPresets(Use use);
    std::int32_t Start(bool* activity, const CBasePTZComm::Operation& operation,
                       const CBasePTZComm::Arguments& arguments);
    bool StopIf(CBasePTZComm& comm, bool& activity, const CBasePTZComm::Operation& stop);

    std::shared_ptr<COpenCalls> calls_ = std::make_shared<COpenCalls>();
    COneAtATime closing_;
    std::unique_ptr<CBasePTZComm> comm_;
    CPrepositionList presets_;
    std::uint8_t flag1_ = 0; // the host's
    std::uint8_t flag2_ = 0;
    bool zooming_ = false;
    bool focusing_ = false;
    bool irisChanging_ = false;
    bool moving_ = false;
};

/// Gives both levels of the host's interface one body.
class CIPPTZDriverIf : public ipcapture::IIPPTZDriverEx
{
public:
    ipcapture::IIPPTZApi* GetPTZControl(std::uint32_t channel) override { return GetPTZControlEx(channel); }
    virtual void BeginClose() {} ///< starts the time that the heads have to end; the object goes soon after
};

/// Makes the controls of a device's heads on demand and keeps them until it goes. The host's thread.
class CBasePTZHandler : public CIPPTZDriverIf
{
public:
    static constexpr std::uint32_t kPTZChannels = 1; ///< only channel 0 has a control

    explicit CBasePTZHandler(IDriver* driver) : driver_(driver) {} ///< not owned; outlives the object
    ~CBasePTZHandler() override { CBasePTZHandler::DeleteControls(); }

    ipcapture::IIPPTZApiEx* GetPTZControlEx(std::uint32_t channel) override;

    void BeginClose() override
    {
        for (const auto& control : controls_)
            control.second->BeginClose();
    }

    virtual std::unique_ptr<CBasePTZControl> CreateControl(std::uint32_t channel) = 0;
    virtual void DeleteControls() { controls_.clear(); }

protected:
    IDriver* const driver_;

private:
    std::map<std::uint32_t, std::unique_ptr<CBasePTZControl>> controls_; // by channel
};

} // namespace korvane
