#include "host/verbs/query_report.h"

#include "host/base/text.h"
#include "host/device/device_file.h"

#include <algorithm>
#include <cmath>

namespace larkmoor::host
{

namespace
{

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

template <typename Text>
std::string Joined(const std::vector<Text>& list)
{
    std::string text;
    for (const Text& entry : list)
        text.append(text.empty() ? "" : ", ").append(entry);
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
std::string NamesOf(std::string_view list, std::uint32_t channel)
{
    for (; channel != 0; --channel)
        CutAt(list, ',');
    const std::vector<std::string_view> names = Split(CutAt(list, ','), '!');
    return names.empty() ? "none" : Joined(names);
}

void PrintStreams(Table& table, const DeviceReport& report)
{
    const std::string text = report.Text(kPropertyStreams);
    std::string_view lists = text;
    CutAt(lists, ';'); // how many there are
    const std::string_view http = CutAt(lists, ';');
    const std::string_view rtsp = CutAt(lists, ';');
    const std::uint32_t channels = report.Value(kCapabilityChannelCount);
    for (std::uint32_t channel = 0; channel < channels; ++channel)
    {
        const std::string head = channels > 1 ? "channel " + std::to_string(channel) + " " : std::string();
        table.Row("streams", head + "over RTSP: " + NamesOf(rtsp, channel));
        table.Row("streams", head + "over HTTP: " + NamesOf(http, channel));
    }
}

void PrintPTZ(Table& table, const DeviceReport& report)
{
    static constexpr std::pair<std::size_t, const char*> kAbilities[] = {
        {2, "pan"}, {3, "tilt"}, {4, "zoom"}, {5, "focus"}, {6, "iris"}};
    if (report.Value(kCapabilityPTZ) == 0)
    {
        table.Row("PTZ", "none");
        return;
    }
    const std::string flags = report.Text(kPropertyPTZFlags);
    std::vector<std::string> abilities;
    for (const auto& [place, name] : kAbilities)
    {
        if (place < flags.size() && flags[place] == '1')
            abilities.emplace_back(name);
    }
    table.Row("PTZ", Joined(abilities) + (abilities.empty() ? "" : "; ") + report.Text(kPropertyPresetCount) +
                         " presets");
    const std::string subtype = report.Text(kPropertyPTZSubtype);
    table.Row("PTZ", "speeds " + report.Text(kPropertyPTZMinSpeed) + " to " +
                         report.Text(kPropertyPTZMaxSpeed) + ", zoom " + report.Text(kPropertyZoomMinSpeed) +
                         " to " + report.Text(kPropertyZoomMaxSpeed) + "; type " +
                         report.Text(kPropertyPTZType) + (subtype.empty() ? "" : " " + subtype));
}

std::string AudioText(const DeviceReport& report)
{
    const std::string in = report.Text(kPropertyAudioInputCodecs);
    const std::string out = report.Text(kPropertyAudioOutputCodecs);
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
    table.Row("firmware", report.Text(kPropertyDiscontinuedDevice) == "1"
                              ? "older: the driver knows this model by name"
                              : "current: tells what it can do");
    table.Row("channels", std::to_string(report.Value(kCapabilityChannelCount)) + ", " +
                              (report.Text(kPropertyCameraVideoStandard) == "1" ? "NTSC" : "PAL"));
    table.Row("codecs", Joined(CodecNames(report)) +
                            (report.Text(kPropertyJpegOverHttp) == "1" ? ", mjpeg over HTTP only" : ""));
    PrintSizes(table, report);
    PrintStreams(table, report);
    table.Row("RTSP port", report.Text(kPropertyRtspPort));
    table.Row("audio", AudioText(report));
    table.Row("digital I/O", Counted(report.Value(kCapabilityInputCount), "input") + ", " +
                                 Counted(report.Value(kCapabilityOutputCount), "output"));
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
                     index == kConnectionPassword ? "(not shown)" : Printable(text).c_str());
}

} // namespace larkmoor::host
