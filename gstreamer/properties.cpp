#include "gstreamer/properties.h"

#include "gstreamer/location.h"

#include "host/base/text.h"
#include "host/device/device.h"

#include <array>

GST_DEBUG_CATEGORY_EXTERN(larkmoor_src_debug);
#define GST_CAT_DEFAULT larkmoor_src_debug

namespace larkmoor::gst
{

namespace
{

enum Property : guint
{
    kDeviceFile = 1,
    kLocation,
    kUser,
    kPassword,
    kCodec,
    kTransport,
    kWidth,
    kHeight,
    kFramerate,
    kQuality,
    kChannel,
    kAudio,
    kSettingsFile,
    kLibrary,
    kFailAfter,
    kStats,
};

constexpr auto kFlags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
constexpr auto kBefore = static_cast<GParamFlags>(kFlags | GST_PARAM_MUTABLE_READY);
constexpr auto kAlways = static_cast<GParamFlags>(kFlags | GST_PARAM_MUTABLE_PLAYING);
// Readable by nobody: whatever prints properties, as dot files do, leaves it out.
constexpr auto kSecret =
    static_cast<GParamFlags>(G_PARAM_WRITABLE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_READY);

template <std::size_t N>
GType EnumType(const char* name, const std::array<GEnumValue, N>& values)
{
    return g_enum_register_static(name, values.data());
}

GType CodecType()
{
    static const std::array<GEnumValue, 5> kValues = {
        {{static_cast<gint>(CodecChoice::Auto), "As the device file says, else H.264", "auto"},
         {static_cast<gint>(CodecChoice::H264), "H.264", "h264"},
         {static_cast<gint>(CodecChoice::Mpeg4), "MPEG-4 Part 2", "mpeg4"},
         {static_cast<gint>(CodecChoice::Mjpeg), "Motion JPEG", "mjpeg"},
         {0, nullptr, nullptr}}};
    static const GType type = EnumType("LarkmoorSrcCodec", kValues);
    return type;
}

GType TransportType()
{
    static const std::array<GEnumValue, 6> kValues = {
        {{static_cast<gint>(TransportChoice::Auto), "As others of the process have it, else UDP", "auto"},
         {static_cast<gint>(TransportChoice::Udp), "RTP over UDP", "udp"},
         {static_cast<gint>(TransportChoice::Tcp), "RTP in the RTSP connection", "tcp"},
         {static_cast<gint>(TransportChoice::Multicast), "RTP to a group", "multicast"},
         {static_cast<gint>(TransportChoice::Http), "Motion JPEG over HTTP", "http"},
         {0, nullptr, nullptr}}};
    static const GType type = EnumType("LarkmoorSrcTransport", kValues);
    return type;
}

GType AudioType()
{
    static const std::array<GEnumValue, 6> kValues = {
        {{static_cast<gint>(AudioChoice::None), "No sound", "none"},
         {static_cast<gint>(AudioChoice::Auto), "The best that the device has", "auto"},
         {static_cast<gint>(AudioChoice::Aac), "AAC", "aac"},
         {static_cast<gint>(AudioChoice::G711), "G.711", "g711"},
         {static_cast<gint>(AudioChoice::G726), "G.726", "g726"},
         {0, nullptr, nullptr}}};
    static const GType type = EnumType("LarkmoorSrcAudio", kValues);
    return type;
}

void AddText(GObjectClass* type, Property id, const char* name, const char* nick, const char* text,
             GParamFlags flags = kBefore)
{
    g_object_class_install_property(type, id, g_param_spec_string(name, nick, text, nullptr, flags));
}

void AddNumber(GObjectClass* type, Property id, const char* name, const char* nick, const char* text,
               guint least, guint most, guint usual, GParamFlags flags)
{
    g_object_class_install_property(type, id, g_param_spec_uint(name, nick, text, least, most, usual, flags));
}

void AddChoice(GObjectClass* type, Property id, const char* name, const char* nick, const char* text,
               GType choice)
{
    g_object_class_install_property(type, id, g_param_spec_enum(name, nick, text, choice, 0, kBefore));
}

std::string Text(const GValue& value)
{
    const gchar* const text = g_value_get_string(&value);
    return text == nullptr ? std::string() : std::string(text);
}

double Rate(const GValue& value)
{
    return static_cast<double>(gst_value_get_fraction_numerator(&value)) /
           gst_value_get_fraction_denominator(&value);
}

bool SetText(SourceSettings& settings, guint id, const GValue& value)
{
    switch (id)
    {
    case kDeviceFile:
        settings.deviceFile = Text(value);
        return true;
    case kUser:
        settings.user = Text(value);
        return true;
    case kPassword:
        settings.password = Text(value);
        return true;
    case kSettingsFile:
        settings.settingsFile = Text(value);
        return true;
    case kLibrary:
        settings.library = Text(value);
        return true;
    default:
        return false;
    }
}

bool SetOther(SourceSettings& settings, guint id, const GValue& value)
{
    switch (id)
    {
    case kCodec:
        settings.codec = static_cast<CodecChoice>(g_value_get_enum(&value));
        return true;
    case kTransport:
        settings.transport = static_cast<TransportChoice>(g_value_get_enum(&value));
        return true;
    case kAudio:
        settings.audio = static_cast<AudioChoice>(g_value_get_enum(&value));
        return true;
    case kWidth:
        settings.picture.width = g_value_get_uint(&value);
        return true;
    case kHeight:
        settings.picture.height = g_value_get_uint(&value);
        return true;
    case kFramerate:
        settings.picture.intervalMs = host::IntervalOfRate(Rate(value));
        return true;
    case kQuality:
        settings.quality = g_value_get_uint(&value);
        return true;
    case kChannel:
        settings.channel = g_value_get_uint(&value);
        return true;
    case kFailAfter:
        settings.failAfterSeconds = g_value_get_uint(&value);
        return true;
    default:
        return false;
    }
}

} // namespace

void InstallProperties(GObjectClass* type)
{
    const SourceSettings usual;
    AddText(type, kDeviceFile, "device-file", "Device file",
            "What the device is, as \"larkmoor-host query --save\" writes it");
    AddText(type, kLocation, "location", "Location",
            "larkmoor://user@host:port/path?rtsp-port=N&channel=N, over what the device file says");
    AddText(type, kUser, "user", "User", "Login, over that of the location and of the device file");
    AddText(type, kPassword, "password", "Password",
            "The same; unless it is set anywhere, that of the environment variable LARKMOOR_PASSWORD",
            kSecret);
    AddChoice(type, kCodec, "codec", "Codec", "What the pictures are asked for in", CodecType());
    AddChoice(type, kTransport, "transport", "Transport", "How pictures and sound come", TransportType());
    AddNumber(type, kWidth, "width", "Width",
              "Of the pictures asked for, in pixels; may change while it plays", 1, G_MAXUINT16,
              usual.picture.width, kAlways);
    AddNumber(type, kHeight, "height", "Height",
              "Of the pictures asked for, in pixels; may change while it plays", 1, G_MAXUINT16,
              usual.picture.height, kAlways);
    g_object_class_install_property(
        type, kFramerate,
        gst_param_spec_fraction("framerate", "Frame rate",
                                "Pictures a second asked for, 0/1 for no wish; may change while it plays", 0,
                                1, 1000, 1, 25, 1, kAlways));
    AddNumber(type, kQuality, "quality", "Quality", "Of the pictures, 0 worst to 100 best", 0, 100,
              usual.quality, kBefore);
    AddNumber(type, kChannel, "channel", "Channel", "Video channel of the device, from 0", 0,
              host::kMostChannels - 1, 0, kBefore);
    AddChoice(type, kAudio, "audio", "Audio", "Whether sound is asked for, and in which codec", AudioType());
    AddText(type, kSettingsFile, "settings-file", "Settings file",
            "A settings file of the driver, in the place of the one that is made from the properties");
    AddText(type, kLibrary, "library", "Library", "The driver; unless set, where it is installed");
    AddNumber(type, kFailAfter, "fail-after", "Fail after",
              "Seconds without a picture after which it is an error, 0 for never", 0, G_MAXINT32, 0, kAlways);
    g_object_class_install_property(
        type, kStats,
        g_param_spec_boxed("stats", "Statistics", "What has come and gone so far", GST_TYPE_STRUCTURE,
                           static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS)));
    gst_type_mark_as_plugin_api(CodecType(), static_cast<GstPluginAPIFlags>(0));
    gst_type_mark_as_plugin_api(TransportType(), static_cast<GstPluginAPIFlags>(0));
    gst_type_mark_as_plugin_api(AudioType(), static_cast<GstPluginAPIFlags>(0));
}

void SetLocation(Source& source, const std::string& uri)
{
    Location location;
    if (!uri.empty())
        location = ReadLocation(uri);
    source.Set(
        [&](SourceSettings& settings)
        {
            settings.location = WithoutPassword(uri);
            if (!location.password.empty())
                settings.password = location.password;
        });
}

bool SetProperty(Source& source, guint id, const GValue& value)
{
    if (id == kLocation)
    {
        try
        {
            SetLocation(source, Text(value));
        }
        catch (const Problem&)
        {
            // A property can't be refused: the state change tells what is wrong with it.
            source.Set([&](SourceSettings& settings) { settings.location = WithoutPassword(Text(value)); });
        }
        return true;
    }
    bool isKnown = false;
    source.Set([&](SourceSettings& settings)
               { isKnown = SetText(settings, id, value) || SetOther(settings, id, value); });
    return isKnown;
}

bool GetProperty(const Source& source, guint id, GValue& value)
{
    const SourceSettings settings = source.Settings();
    const auto text = [&value](const std::string& what)
    {
        g_value_set_string(&value, what.empty() ? nullptr : what.c_str());
        return true;
    };
    const auto number = [&value](std::uint32_t what) { return (g_value_set_uint(&value, what), true); };
    const auto choice = [&value](auto what)
    { return (g_value_set_enum(&value, static_cast<gint>(what)), true); };
    switch (id)
    {
    case kDeviceFile:
        return text(settings.deviceFile);
    case kLocation:
        return text(settings.location);
    case kUser:
        return text(settings.user);
    case kCodec:
        return choice(settings.codec);
    case kTransport:
        return choice(settings.transport);
    case kWidth:
        return number(settings.picture.width);
    case kHeight:
        return number(settings.picture.height);
    case kFramerate:
        settings.picture.intervalMs == 0
            ? gst_value_set_fraction(&value, 0, 1)
            : gst_value_set_fraction(&value, 1000, static_cast<gint>(settings.picture.intervalMs));
        return true;
    case kQuality:
        return number(settings.quality);
    case kChannel:
        return number(settings.channel);
    case kAudio:
        return choice(settings.audio);
    case kSettingsFile:
        return text(settings.settingsFile);
    case kLibrary:
        return text(settings.library);
    case kFailAfter:
        return number(settings.failAfterSeconds);
    case kStats:
        g_value_take_boxed(&value, source.Statistics());
        return true;
    default:
        return false;
    }
}

} // namespace larkmoor::gst
