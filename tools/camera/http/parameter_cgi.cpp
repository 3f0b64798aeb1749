#include "camera/http/parameter_cgi.h"

#include "base/text.h"
#include "camera/encoding/video_parameters.h"

#include <algorithm>
#include <utility>

namespace larkmoor::camera
{

namespace
{

constexpr std::size_t kBinaryBytes = 4096;
constexpr std::size_t kHugeBytes = 10 * 1024 * 1024;

/// True if `key` is a parameter of one of the streams in `streams`, as in "c0_s0/c0_s1".
bool BelongsToOneOf(const std::string& key, std::string_view streams)
{
    const std::vector<std::string_view> all = Split(streams, '/');
    return std::any_of(all.begin(), all.end(),
                       [&](std::string_view stream)
                       { return key.find("_" + std::string(stream) + "_") != std::string::npos; });
}

} // namespace

HttpResponse ParameterCgi::Set(const HttpRequest& request)
{
    ParameterStore::Items items = ParseQuery(request.query);
    // These two steer the web pages of a device and are no parameters.
    std::erase_if(items, [](const auto& item) { return item.first == "return" || item.first == "update"; });
    CompleteQuality(items);
    const ParameterStore::Items refused = PlaysInvalid(items) ? items : store_.Change(items);
    std::string text;
    for (const auto& item : items)
    {
        const bool bad = std::find(refused.begin(), refused.end(), item) != refused.end();
        text += bad ? item.first + "=ERR_INVALID\r\n" : store_.Line(item.first, item.second);
    }
    return Answer(std::move(text));
}

bool ParameterCgi::PlaysInvalid(const ParameterStore::Items& items) const
{
    if (!faults_.Active("cgi-invalid"))
        return false;
    const std::string chosen = faults_.Value("cgi-invalid");
    return chosen.empty() ||
           std::any_of(items.begin(), items.end(),
                       [&](const auto& item) { return BelongsToOneOf(item.first, chosen); });
}

HttpResponse ParameterCgi::Answer(std::string text)
{
    if (faults_.Active("cgi-garbage"))
    {
        const std::string kind = faults_.Value("cgi-garbage");
        if (kind == "binary")
        {
            text.resize(kBinaryBytes);
            std::generate(text.begin(), text.end(), [&] { return static_cast<char>(dice_.Below(256)); });
        }
        else if (kind == "10mb")
        {
            const std::string line = text.empty() ? "system_info_modelname='\r\n" : text;
            while (text.size() < kHugeBytes)
                text += line;
            text.resize(kHugeBytes);
        }
        else if (kind == "empty")
            text.clear();
        else
        {
            // Every second quote goes, so that each value has one alone.
            bool keep = false;
            std::erase_if(text, [&](char c) { return c == '\'' && (keep = !keep, !keep); });
        }
    }
    HttpResponse response;
    response.body = std::move(text);
    return response;
}

} // namespace larkmoor::camera
