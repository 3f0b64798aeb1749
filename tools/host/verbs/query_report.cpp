#include "host/verbs/query_report.h"

#include "host/base/text.h"
#include "host/device/device_file.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace larkmoor::host
{

namespace
{

// Numbers of a report's values and parameters.
constexpr std::uint32_t kChannels = 0;
constexpr std::uint32_t kHasPTZ = 1;
constexpr std::uint32_t kInputs = 2;
constexpr std::uint32_t kOutputs = 3;
enum Parameter : std::uint32_t
{
    kCameraStandard = 2,
    kRtspPort = 3,
    kPresets = 4,
    kFlags = 5,
    kNotation = 6,
    kOverHttp = 7,
    kDiscontinued = 9,
    kMinSpeed = 10,
    kMaxSpeed = 11,
    kMinZoom = 12,
    kMaxZoom = 13,
    kStreams = 14,
    kType = 15,
    kSubtype = 16,
    kAudioIn = 17,
    kAudioOut = 18
};

/// Lines of a label and a text; a label that is the same as above is left out.
class Table
{
public:
    explicit Table(std::FILE* out) : out_(out) {}

    void Row(const std::string& label, const std::string& text)
    {
        std::fprintf(out_, "  %-13s%s\n", label == last_ ? "" : label.c_str(), Printable(text).c_str());
        last_ = label;
    }

private:
    std::FILE* out_;
    std::string last_;
};

std::vector<std::string> Split(const std::string& text, char delimiter)
{
    std::vector<std::string> pieces;
    std::istringstream stream(text);
    for (std::string piece; std::getline(stream, piece, delimiter);)
        pieces.push_back(piece);
    return pieces;
}

std::string Joined(const std::vector<std::string>& list)
{
    std::string text;
    for (const std::string& entry : list)
        text += (text.empty() ? "" : ", ") + entry;
    return text;
}

std::string Counted(std::uint32_t count, const std::string& what)
{
    return (count == 0 ? "no" : std::to_string(count)) + " " + what + (count == 1 ? "" : "s");
}

long RateOf(std::uint32_t frameTime)
{
    return std::lround(1000.0 / std::max(1u, frameTime));
}

void PrintSizes(Table& table, const DeviceReport& report)
{
    for (const DeviceReport::Size& size : report.sizes)
    {
        std::string text = size.text;
        text.resize(std::max<std::size_t>(text.size() + 2, 12), ' ');
        if (size.frameTime != 0)
            text += "up to " + std::to_string(RateOf(size.frameTime)) + " frames a second";
        table.Row("sizes", text);
    }
    std::string rates;
    for (const std::uint32_t frameTime : report.frameTimes)
        rates += std::to_string(RateOf(frameTime)) + " ";
    rates += "frames a second";
    if (report.defaultFrameTime != 0)
        rates += ", " + std::to_string(RateOf(report.defaultFrameTime)) + " by default";
    table.Row("rates", rates);
}

/// The names of one channel in a list of "a!b,c!d".
std::string NamesOf(const std::string& list, std::size_t channel)
{
    const std::vector<std::string> channels = Split(list, ',');
    std::vector<std::string> names;
    if (channel < channels.size())
        names = Split(channels[channel], '!');
    std::erase(names, "");
    return names.empty() ? "none" : Joined(names);
}

void PrintStreams(Table& table, const DeviceReport& report)
{
    std::vector<std::string> lists = Split(report.Text(kStreams), ';');
    lists.resize(3);
    for (std::uint32_t channel = 0; channel < report.Value(kChannels); ++channel)
    {
        const std::string head =
            report.Value(kChannels) > 1 ? "channel " + std::to_string(channel) + " " : std::string();
        table.Row("streams", head + "over RTSP: " + NamesOf(lists[2], channel));
        table.Row("streams", head + "over HTTP: " + NamesOf(lists[1], channel));
    }
}

void PrintPTZ(Table& table, const DeviceReport& report)
{
    static constexpr std::pair<std::size_t, const char*> kAbilities[] = {
        {2, "pan"}, {3, "tilt"}, {4, "zoom"}, {5, "focus"}, {6, "iris"}};
    if (report.Value(kHasPTZ) == 0)
    {
        table.Row("PTZ", "none");
        return;
    }
    const std::string flags = report.Text(kFlags);
    std::vector<std::string> abilities;
    for (const auto& [place, name] : kAbilities)
    {
        if (place < flags.size() && flags[place] == '1')
            abilities.emplace_back(name);
    }
    table.Row("PTZ",
              Joined(abilities) + (abilities.empty() ? "" : "; ") + report.Text(kPresets) + " presets");
    const std::string subtype = report.Text(kSubtype);
    table.Row("PTZ", "speeds " + report.Text(kMinSpeed) + " to " + report.Text(kMaxSpeed) + ", zoom " +
                         report.Text(kMinZoom) + " to " + report.Text(kMaxZoom) + "; type " +
                         report.Text(kType) + (subtype.empty() ? "" : " " + subtype));
}

std::string AudioText(const DeviceReport& report)
{
    const std::string in = report.Text(kAudioIn);
    const std::string out = report.Text(kAudioOut);
    if (in.empty() && out.empty())
        return "none";
    return (in.empty() ? "" : "from the device: " + in) + (in.empty() || out.empty() ? "" : "; ") +
           (out.empty() ? "" : "to the device: " + out);
}

} // namespace

void PrintDevice(const DeviceReport& report, std::FILE* out)
{
    std::fprintf(out, "%s\n", Printable(report.model).c_str());
    Table table(out);
    table.Row("firmware", report.Text(kDiscontinued) == "1" ? "older: the driver knows this model by name"
                                                            : "current: tells what it can do");
    table.Row("channels", std::to_string(report.Value(kChannels)) + ", " +
                              (report.Text(kCameraStandard) == "1" ? "NTSC" : "PAL"));
    table.Row("codecs",
              Joined(CodecNames(report)) + (report.Text(kOverHttp) == "1" ? ", mjpeg over HTTP only" : ""));
    PrintSizes(table, report);
    PrintStreams(table, report);
    table.Row("RTSP port", report.Text(kRtspPort));
    table.Row("audio", AudioText(report));
    table.Row("digital I/O",
              Counted(report.Value(kInputs), "input") + ", " + Counted(report.Value(kOutputs), "output"));
    PrintPTZ(table, report);
}

void PrintRaw(const DeviceReport& report, std::FILE* out)
{
    for (const auto& [number, value] : report.values)
        std::fprintf(out, "value %u = %u\n", number, value);
    for (const std::uint32_t frameTime : report.frameTimes)
        std::fprintf(out, "frame time = %u ms\n", frameTime);
    std::fprintf(out, "default frame time = %u ms\n", report.defaultFrameTime);
    for (const DeviceReport::Size& size : report.sizes)
        std::fprintf(out, "size \"%s\" = %u x %u, %u ms\n", Printable(size.text).c_str(), size.width,
                     size.height, size.frameTime);
    for (const DeviceReport::Parameter& parameter : report.parameters)
        std::fprintf(out, "parameter %u, \"%s\", %s = %s\n", parameter.id, Printable(parameter.name).c_str(),
                     parameter.isText ? "text" : "number", Printable(parameter.value).c_str());
    for (const auto& [index, text] : report.connection)
        std::fprintf(out, "connection %u = %s\n", index,
                     index == 4 ? "(not shown)" : Printable(text).c_str());
}

} // namespace larkmoor::host
