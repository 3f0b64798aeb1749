#include "gstreamer/location.h"

#include "gstreamer/problem.h"

#include "host/base/text.h"
#include "host/device/device.h"

#include <algorithm>
#include <limits>

namespace larkmoor::gst
{

namespace
{

std::string TextOf(const char* text)
{
    return text == nullptr ? std::string() : std::string(text);
}

std::string Unescaped(const std::string& text)
{
    char* const plain = g_uri_unescape_string(text.c_str(), nullptr);
    if (plain == nullptr)
        throw Problem(GST_RESOURCE_ERROR_SETTINGS, "the location has a broken % escape");
    std::string result = plain;
    g_free(plain);
    return result;
}

std::uint64_t Number(const std::string& key, const std::string& text, std::uint64_t largest)
{
    const auto number = ReadNumber(text, largest);
    if (!number)
        throw Problem(GST_RESOURCE_ERROR_SETTINGS,
                      "\"" + key + "\" of the location is not a number from 0 to " + std::to_string(largest));
    return *number;
}

void ReadQuery(const GstUri* uri, Location& location)
{
    GHashTable* const table = gst_uri_get_query_table(uri);
    if (table == nullptr)
        return;
    std::string problem;
    GHashTableIter at;
    gpointer key = nullptr;
    gpointer value = nullptr;
    g_hash_table_iter_init(&at, table);
    try
    {
        while (g_hash_table_iter_next(&at, &key, &value))
        {
            const std::string name = TextOf(static_cast<const char*>(key));
            const std::string text = TextOf(static_cast<const char*>(value));
            if (name == "rtsp-port")
                location.rtspPort =
                    static_cast<std::uint16_t>(Number(name, text, std::numeric_limits<std::uint16_t>::max()));
            else if (name == "channel")
                location.channel = static_cast<std::uint32_t>(Number(name, text, host::kMostChannels - 1));
            else
                throw Problem(GST_RESOURCE_ERROR_SETTINGS,
                              "the location has \"" + name + "\", which is neither rtsp-port nor channel");
        }
    }
    catch (...)
    {
        g_hash_table_unref(table);
        throw;
    }
    g_hash_table_unref(table);
}

void ReadUserInfo(const std::string& text, Location& location)
{
    const std::size_t colon = text.find(':');
    location.user = Unescaped(text.substr(0, colon));
    if (colon != std::string::npos)
        location.password = Unescaped(text.substr(colon + 1));
}

void ReadParts(const GstUri* uri, Location& location)
{
    location.host = TextOf(gst_uri_get_host(uri));
    if (TextOf(gst_uri_get_scheme(uri)) != "larkmoor" || location.host.empty())
        throw Problem(GST_RESOURCE_ERROR_SETTINGS, "the location is not larkmoor://user@host:port/path");
    if (const guint port = gst_uri_get_port(uri); port != GST_URI_NO_PORT)
        location.port = static_cast<std::uint16_t>(
            Number("port", std::to_string(port), std::numeric_limits<std::uint16_t>::max()));
    ReadUserInfo(TextOf(gst_uri_get_userinfo(uri)), location);
    char* const path = gst_uri_get_path(uri);
    location.path = TextOf(path);
    g_free(path);
    location.path.erase(0, location.path.find_first_not_of('/'));
    if (location.path.find_first_of(";,!") != std::string::npos)
        throw Problem(GST_RESOURCE_ERROR_SETTINGS, "the path of the location has one of ; , !");
    ReadQuery(uri, location);
}

} // namespace

Location ReadLocation(const std::string& text)
{
    GstUri* const uri = gst_uri_from_string(text.c_str());
    if (uri == nullptr)
        throw Problem(GST_RESOURCE_ERROR_SETTINGS, "the location is not a URI");
    Location location;
    try
    {
        ReadParts(uri, location);
    }
    catch (...)
    {
        gst_uri_unref(uri);
        throw;
    }
    gst_uri_unref(uri);
    return location;
}

std::string WithoutPassword(const std::string& uri)
{
    const std::size_t begin = uri.find("://");
    if (begin == std::string::npos)
        return uri;
    const std::size_t authority = begin + 3;
    const std::size_t end = std::min(uri.find_first_of("/?#", authority), uri.size());
    const std::size_t at = uri.rfind('@', end);
    const std::size_t colon = uri.find(':', authority);
    if (at == std::string::npos || at < authority || colon > at)
        return uri;
    return uri.substr(0, colon) + uri.substr(at);
}

} // namespace larkmoor::gst
