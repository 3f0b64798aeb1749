#pragma once

#include "http/http_client.h"
#include "ptz/base_ptz_comm.h"
#include "runtime/one_at_a_time.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane
{

/// What the properties of a device say of its head, parsed once.
struct HeadFacts
{
    /// Speeds that the device takes; `Scaled` maps the host's 1 to 16 onto them.
    struct Range
    {
        std::int32_t minimum;
        std::int32_t maximum;
        std::int32_t Scaled(std::uint32_t speed) const;
    };

    explicit HeadFacts(const IDriver& driver);

    std::array<bool, 8> flags; ///< all false if the property is not eight characters long
    std::int32_t type;
    std::string subtype;
    Range move;
    Range zoom;
};

/// Turns commands and presets of one head into requests of a Vivotek camera's control CGI. A request that
/// fails is lost: nobody is told. Commands run on the worker thread, presets on the caller's, one request at
/// a time.
class CVivotekPTZComm : public CBasePTZComm
{
public:
    CVivotekPTZComm(std::uint16_t channel, IDriver* driver);
    ~CVivotekPTZComm() override; ///< closes

    void GetCapabilityFlags(PTZFlags& flags) override;
    bool Open() override;
    std::int32_t IsPTZAvailable(ipcapture::IIPParams* params) override;
    void ExecuteItem(IWorkItem* item) override;

    bool GetPrepositions(std::vector<PrepositionRecord>& records) override;
    bool AddPreposition(const std::string& name) override;
    bool RecallPreposition(const std::string& name, std::uint32_t speed) override;
    bool DeletePreposition(const std::string& name) override;

protected:
    void EndRequest() override { client_.CloseRequest(); }

private:
    template <class Request>
    bool PresetRequest(Request request);
    bool SendPreset(const char* program, const char* verb, const std::string& name);
    void Move(std::uint32_t direction, std::uint32_t speed);
    void MoveWithSpeed(std::uint32_t direction, std::uint32_t speed);
    void MoveWithoutSpeed(std::uint32_t direction);
    void StopHead(Subcommand subcommand);
    void CenterOn(std::uint32_t x, std::uint32_t y);
    void Control(const std::string& arguments);
    bool Send(const std::string& uri);
    bool Read(const std::string& query, std::string& text);
    std::int32_t CameraId();

    const HeadFacts head_;
    COneAtATime turn_; // to send requests and use what follows; comes after that of the preset list
    Web::CWinINetHttpClient client_;
    std::optional<std::int32_t> cameraId_; // asked for once
};

} // namespace korvane
