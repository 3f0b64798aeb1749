#include "gstreamer/host_folder.h"

#include "gstreamer/problem.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <utility>

namespace larkmoor::gst
{

namespace fs = std::filesystem;

namespace
{

constexpr const char* kVariable = "LARKMOOR_HOST_DIRECTORY";
constexpr const char* kPrefix = "larkmoor-gst-"; // also tells a folder of a parent process, which is not ours
constexpr std::uintmax_t kLargestFile = 16u << 20; // the driver reads no larger one

[[noreturn]] void Refuse(const SettingsClaim& other, const std::string& what)
{
    throw Problem(GST_RESOURCE_ERROR_SETTINGS, "in conflict with the element " + other.element + ": " + what);
}

bool IsMulticast(const SettingsClaim& claim)
{
    return claim.transport == TransportChoice::Multicast;
}

bool IsUnicast(const SettingsClaim& claim)
{
    return claim.transport == TransportChoice::Udp || claim.transport == TransportChoice::Tcp;
}

bool NamesCodec(const SettingsClaim& claim)
{
    return claim.audio != AudioChoice::None && claim.audio != AudioChoice::Auto;
}

bool NeedsFile(const SettingsClaim& claim)
{
    return IsMulticast(claim) || IsUnicast(claim) || NamesCodec(claim);
}

const char* CodecName(AudioChoice audio)
{
    return audio == AudioChoice::Aac ? "aac4" : audio == AudioChoice::G711 ? "g711" : "g726";
}

std::string Escaped(const std::string& text)
{
    char* const escaped = g_markup_escape_text(text.c_str(), -1);
    std::string result = escaped;
    g_free(escaped);
    return result;
}

std::string WholeFile(const std::string& file)
{
    std::error_code error;
    if (!fs::is_regular_file(file, error) || fs::file_size(file, error) > kLargestFile)
        throw Problem(GST_RESOURCE_ERROR_SETTINGS,
                      "settings-file " + file + " is not a file of at most 16 MiB");
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream)
        throw Problem(GST_RESOURCE_ERROR_SETTINGS, "can't read settings-file " + file);
    return text.str();
}

} // namespace

std::string SettingsText(const std::list<SettingsClaim>& claims)
{
    struct Rules
    {
        bool isTcp = false;
        std::string codec;
    };
    std::map<std::pair<std::string, std::uint16_t>, Rules> devices;
    bool isMulticast = false;
    for (const SettingsClaim& claim : claims)
    {
        if (!claim.settingsFile.empty())
            return WholeFile(claim.settingsFile);
        Rules& rules = devices[{claim.address, claim.port}];
        isMulticast = isMulticast || IsMulticast(claim);
        rules.isTcp = rules.isTcp || claim.transport == TransportChoice::Tcp;
        if (NamesCodec(claim))
            rules.codec = CodecName(claim.audio);
    }
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Configuration>\n";
    if (isMulticast)
        text += "  <StreamingMode>multicast</StreamingMode>\n";
    for (const auto& [device, rules] : devices)
    {
        text += "  <Device address=\"" + Escaped(device.first) + "\" port=\"" +
                std::to_string(device.second) + "\">\n";
        if (rules.isTcp)
            text += "    <RTPMode>RTPOVERRTSP</RTPMode>\n";
        if (!rules.codec.empty())
            text += "    <AudioInputChannel>\n      <Codec>" + rules.codec +
                    "</Codec>\n    </AudioInputChannel>\n";
        text += "  </Device>\n";
    }
    return text + "</Configuration>\n";
}

HostFolder& HostFolder::The()
{
    static HostFolder folder;
    return folder;
}

HostFolder::~HostFolder()
{
    std::error_code ignored;
    if (!path_.empty())
        fs::remove_all(path_, ignored);
}

void HostFolder::Prepare()
{
    HostFolder& folder = The();
    const std::lock_guard guard(folder.lock_);
    folder.PrepareLocked();
}

void HostFolder::PrepareLocked()
{
    if (!path_.empty() || isForeign_)
        return;
    const char* const named = std::getenv(kVariable);
    if (named != nullptr && *named != '\0' && std::strstr(named, kPrefix) == nullptr)
    {
        isForeign_ = true;
        return;
    }
    std::error_code error;
    std::string path = (fs::temp_directory_path(error) / kPrefix).string() + "XXXXXX";
    if (error || mkdtemp(path.data()) == nullptr)
        throw Problem(GST_RESOURCE_ERROR_OPEN_WRITE,
                      "can't make a folder for the driver's settings in TMPDIR: " +
                          std::string(std::strerror(errno)));
    path_ = path;
    g_setenv(kVariable, path_.c_str(), TRUE);
    std::ofstream(path_ + "/bastrel.dll.version") << "7.4.4.0\n"; // from here on hosts take AAC
}

void HostFolder::Check(const SettingsClaim& claim) const
{
    if (isForeign_ && (NeedsFile(claim) || !claim.settingsFile.empty()))
        throw Problem(
            GST_RESOURCE_ERROR_SETTINGS,
            "the application has set LARKMOOR_HOST_DIRECTORY: the settings file there says how media "
            "come, and not this element");
    if (!claim.settingsFile.empty() && NeedsFile(claim))
        throw Problem(GST_RESOURCE_ERROR_SETTINGS,
                      "settings-file is set: it says how media come; leave transport and audio at auto");
    for (const SettingsClaim& other : claims_)
    {
        if (claim.settingsFile != other.settingsFile &&
            (!claim.settingsFile.empty() ? NeedsFile(other) || !other.settingsFile.empty()
                                         : NeedsFile(claim)))
            Refuse(other, "one settings file serves the whole process");
        if ((IsMulticast(claim) && IsUnicast(other)) || (IsUnicast(claim) && IsMulticast(other)))
            Refuse(other, "the process has one streaming mode, multicast or unicast");
        if (claim.address != other.address || claim.port != other.port)
            continue;
        if (IsUnicast(claim) && IsUnicast(other) && claim.transport != other.transport)
            Refuse(other, "a device has one RTP mode, udp or tcp");
        if (NamesCodec(claim) && NamesCodec(other) && claim.audio != other.audio)
            Refuse(other, "a device has one audio codec");
    }
}

void HostFolder::Write() const
{
    if (isForeign_)
        return;
    const std::string file = path_ + "/Larkmoor.xml";
    const std::string draft = file + ".new";
    std::ofstream stream(draft, std::ios::binary | std::ios::trunc);
    stream << SettingsText(claims_);
    stream.close();
    std::error_code error;
    fs::rename(draft, file, error); // at one stroke: channels that run may read it now
    if (!stream || error)
        throw Problem(GST_RESOURCE_ERROR_WRITE, "can't write " + file);
}

HostFolder::Hold::Hold(const SettingsClaim& claim)
{
    HostFolder& folder = The();
    const std::lock_guard guard(folder.lock_);
    folder.PrepareLocked();
    folder.Check(claim);
    place_ = folder.claims_.insert(folder.claims_.end(), claim);
    try
    {
        folder.Write();
    }
    catch (...)
    {
        folder.claims_.erase(place_);
        throw;
    }
}

HostFolder::Hold::~Hold()
{
    HostFolder& folder = The();
    const std::lock_guard guard(folder.lock_);
    folder.claims_.erase(place_);
    // The file is written anew with the next claim: what a channel reads while it stops does not matter.
}

} // namespace larkmoor::gst
