#include "ptz/vivotek_ptz_comm.h"

#include "device/device_properties.h"
#include "http/send_request.h"
#include "runtime/param_text.h"
#include "runtime/text.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace korvane
{

namespace
{

constexpr std::int32_t kTypeWithSpeeds = 0;
constexpr std::int32_t kTypeWithoutSpeeds = 1;

// The sign of a move along each axis; right and up are positive.
struct Axes
{
    std::int32_t x;
    std::int32_t y;
};
constexpr Axes kAxes[] = {{-1, 0}, {1, 0}, {0, 1}, {0, -1}, {-1, 1}, {1, 1}, {-1, -1}, {1, -1}};

std::array<bool, 8> ReadFlags(const std::string& text)
{
    std::array<bool, 8> flags{};
    if (text.size() == flags.size())
        std::transform(text.begin(), text.end(), flags.begin(), [](char c) { return c == '1'; });
    return flags;
}

} // namespace

HeadFacts::HeadFacts(const IDriver& driver)
    : flags(ReadFlags(driver.GetPropertyText(ipcapture::kPropertyPTZFlags))),
      type(driver.GetPropertyInt(ipcapture::kPropertyPTZType)),
      subtype(driver.GetPropertyText(ipcapture::kPropertyPTZSubtype)),
      move{driver.GetPropertyInt(ipcapture::kPropertyPTZMinSpeed),
           driver.GetPropertyInt(ipcapture::kPropertyPTZMaxSpeed)},
      zoom{driver.GetPropertyInt(ipcapture::kPropertyZoomMinSpeed),
           driver.GetPropertyInt(ipcapture::kPropertyZoomMaxSpeed)}
{
}

// Speed 1 gives the range's minimum, and 16 its maximum.
std::int32_t HeadFacts::Range::Scaled(std::uint32_t speed) const
{
    const double width = static_cast<double>(maximum) - minimum;
    const double step = std::trunc(width * (static_cast<double>(speed) - 1) / 15.0);
    return static_cast<std::int32_t>(
        std::clamp(minimum + step, -2147483647.0, 2147483647.0)); // its sign may turn
}

CVivotekPTZComm::CVivotekPTZComm(std::uint16_t channel, IDriver* driver)
    : CBasePTZComm(channel, driver), head_(*driver), client_(driver->GetDeviceInfo())
{
}

CVivotekPTZComm::~CVivotekPTZComm()
{
    Close();
}

bool CVivotekPTZComm::Open()
{
    presetCount_ = static_cast<std::uint32_t>(std::clamp<std::int32_t>(
        driver_->GetPropertyInt(ipcapture::kPropertyPresetCount), 0, std::int32_t{kMaxPresets}));
    return CBasePTZComm::Open();
}

bool CVivotekPTZComm::Send(const std::string& uri)
{
    std::vector<std::uint8_t> response;
    return MayRequest() && Utils::SendRequestEx(client_, uri, response, false);
}

bool CVivotekPTZComm::Read(const std::string& query, std::string& text)
{
    text.clear();
    return MayRequest() && CameraCgi::Read(client_, query, text);
}

void CVivotekPTZComm::GetCapabilityFlags(PTZFlags& flags)
{
    const std::array<bool, 8>& f = head_.flags;
    if (!f[0])
        return;
    const bool out[] = {f[2], f[3], f[4], f[5], f[6], false, f[2] || f[3], false};
    std::copy(std::begin(out), std::end(out), flags.begin());
}

std::int32_t CVivotekPTZComm::IsPTZAvailable(ipcapture::IIPParams*)
{
    if (!head_.flags[0])
        return 0;
    if (head_.flags[1])
        return 1;
    const std::string key = Utils::FormatString("camctrl_c%u_isptz", channel_);
    std::string text;
    const COneAtATime::Turn turn(turn_);
    if (!Read(key, text))
        return client_.StatusCode() == 0 ? 1 : 0; // a device that did not answer may have a head all the same
    const std::string value = Utils::GetParamValue(text, key);
    return !value.empty() && value != "'0'" ? 1 : 0;
}

std::int32_t CVivotekPTZComm::CameraId()
{
    if (cameraId_)
        return *cameraId_;
    std::int32_t id = static_cast<std::int32_t>(channel_) + 1;
    const std::string key = Utils::FormatString("camctrl_c%u_cameraid", channel_);
    std::string text;
    if (Read(key, text))
    {
        text = Utils::RemoveChars(text, "'");
        Utils::IsInteger(Utils::GetParamValue(text, key), id);
    }
    cameraId_ = id;
    return id;
}

void CVivotekPTZComm::Control(const std::string& arguments)
{
    Send(Utils::FormatString("/cgi-bin/camctrl/camctrl.cgi?channel=%u&camid=%d", channel_, CameraId()) +
         arguments);
}

void CVivotekPTZComm::ExecuteItem(IWorkItem* item)
{
    const auto& work = static_cast<const CWorkItem&>(*item);
    const COneAtATime::Turn turn(turn_);
    if (!MayExecute(work))
        return;
    switch (work.command)
    {
    case Command::kMove:
        Move(work.a, work.speed);
        break;
    case Command::kFocus:
        Control(work.subcommand == Subcommand::kFocusFar ? "&focus=far" : "&focus=near");
        break;
    case Command::kIris:
        Control(work.subcommand == Subcommand::kIrisOpen ? "&iris=open" : "&iris=close");
        break;
    case Command::kStop:
        StopHead(work.subcommand);
        break;
    case Command::kCenter:
        CenterOn(work.a, work.b);
        break;
    case Command::kAreaZoom:
    case Command::kUnzoom:
        break; // not known to this device family
    }
}

void CVivotekPTZComm::Move(std::uint32_t direction, std::uint32_t speed)
{
    if (head_.type == kTypeWithSpeeds)
        MoveWithSpeed(direction, speed);
    else if (head_.type == kTypeWithoutSpeeds)
        MoveWithoutSpeed(direction);
}

void CVivotekPTZComm::MoveWithSpeed(std::uint32_t direction, std::uint32_t speed)
{
    const auto speedIf = [&](const char* word)
    { return head_.subtype.find(word) == std::string::npos ? 1 : head_.move.Scaled(speed); };
    if (direction < std::size(kAxes))
    {
        const std::int32_t magnitude = speedIf("XY");
        Control(Utils::FormatString("&vx=%d&vy=%d&vs=%d", kAxes[direction].x * magnitude,
                                    kAxes[direction].y * magnitude, speedIf("S")));
    }
    else if (direction == ipcapture::kPTZZoomIn || direction == ipcapture::kPTZZoomOut)
    {
        Control(Utils::FormatString("&zooming=%s&zs=%d", direction == ipcapture::kPTZZoomIn ? "tele" : "wide",
                                    head_.zoom.Scaled(speed)));
    }
}

void CVivotekPTZComm::MoveWithoutSpeed(std::uint32_t direction)
{
    if (direction < std::size(kAxes))
    {
        const Axes axes = kAxes[direction];
        if (axes.y != 0)
            Control(axes.y > 0 ? "&move=up" : "&move=down");
        if (axes.x != 0)
            Control(axes.x > 0 ? "&move=right" : "&move=left");
    }
    else if (direction == ipcapture::kPTZZoomIn || direction == ipcapture::kPTZZoomOut)
    {
        Control(direction == ipcapture::kPTZZoomIn ? "&zoom=tele" : "&zoom=wide");
    }
}

// Every stop hands focus and iris back to the camera's automatic control.
void CVivotekPTZComm::StopHead(Subcommand subcommand)
{
    if (head_.type == kTypeWithSpeeds && subcommand == Subcommand::kStopMoving)
        Control("&vx=0&vy=0&vs=0");
    else if (head_.type == kTypeWithSpeeds && subcommand == Subcommand::kStopZooming)
        Control("&zoom=stop");
    else if (head_.type == kTypeWithoutSpeeds)
        Control("&auto=stop");
    Control("&focus=auto");
    Control("&iris=auto");
}

void CVivotekPTZComm::CenterOn(std::uint32_t x, std::uint32_t y)
{
    const ChannelSettings settings = driver_->GetChannelSettings(channel_);
    Send(Utils::FormatString(
        "/cgi-bin/camctrl/camctrl.cgi?video=%u&x=%d&y=%d&resolution=%ux%u&videosize=%ux%u&stretch=0",
        channel_, static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), settings.width, settings.height,
        settings.width, settings.height));
}

// On the thread of the host, after a command in hand. A close begins none.
template <class Request>
bool CVivotekPTZComm::PresetRequest(Request request)
{
    const COneAtATime::Turn turn(turn_);
    return !IsClosing() && request();
}

bool CVivotekPTZComm::GetPrepositions(std::vector<PrepositionRecord>& records)
{
    records.clear();
    std::string text;
    if (!PresetRequest([&] { return Read(Utils::FormatString("camctrl_c%u_preset", channel_), text); }))
        return false;
    text = Utils::RemoveChars(text, "'");
    for (std::uint32_t place = 0; place < presetCount_; ++place)
    {
        const std::string key = Utils::FormatString("camctrl_c%u_preset_i%u_name", channel_, place);
        records.push_back({Utils::GetParamValue(text, key), place});
    }
    return true;
}

bool CVivotekPTZComm::SendPreset(const char* program, const char* verb, const std::string& name)
{
    const std::string uri =
        Utils::FormatString("/cgi-bin/%s.cgi?channel=%u&%s=%s", program, channel_, verb, name.c_str());
    return PresetRequest([&] { return Send(uri); });
}

bool CVivotekPTZComm::AddPreposition(const std::string& name)
{
    return SendPreset("operator/preset", "addpos", name);
}

bool CVivotekPTZComm::DeletePreposition(const std::string& name)
{
    return SendPreset("operator/preset", "delpos", name);
}

bool CVivotekPTZComm::RecallPreposition(const std::string& name, std::uint32_t)
{
    return SendPreset("camctrl/recall", "recall", name);
}

} // namespace korvane
