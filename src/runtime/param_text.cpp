#include "runtime/param_text.h"

#include "runtime/text.h"

#include <algorithm>

namespace korvane::Utils
{

namespace
{

constexpr std::size_t kNone = std::string_view::npos;

} // namespace

std::string GetParamValue(std::string_view text, std::string_view key, std::string_view assign,
                          std::string_view separators)
{
    if (key.empty() || assign.empty() || separators.empty())
        return {};

    std::size_t hit = text.find(key);
    while (hit != kNone)
    {
        const std::size_t separatorBefore = text.find_last_of(separators, hit);
        const std::size_t lineStart = separatorBefore == kNone ? 0 : separatorBefore + 1;
        const std::size_t lineEnd = std::min(text.find_first_of(separators, hit), text.size());
        const std::size_t assignAt = std::min(text.find(assign, hit), text.size());
        const bool isItem = assignAt < lineEnd;
        if (isItem && Trim(text.substr(lineStart, assignAt - lineStart)) == key)
        {
            const std::size_t valueAt = assignAt + assign.size();
            const std::size_t valueEnd = std::min(text.find_first_of(separators, valueAt), text.size());
            if (valueAt < valueEnd)
                return std::string(text.substr(valueAt, valueEnd - valueAt));
        }
        // A hit without an assignment in its line leads on to the next assignment, over whatever lies
        // between. Past the hit in any case: a key that begins with a separator would be found again for
        // ever.
        hit = text.find(key, std::max(isItem ? lineEnd : assignAt, hit + 1));
    }
    return {};
}

std::uint32_t GetParamUInt(std::string_view text, std::string_view key, std::string_view assign,
                           std::string_view separators)
{
    return ToUInt32(GetParamValue(text, key, assign, separators));
}

std::vector<std::string> GetParamList(std::string_view text, std::string_view key, std::string_view assign,
                                      std::string_view delimiter, std::string_view separators)
{
    std::vector<std::string> pieces;
    const std::string value = GetParamValue(text, key, assign, separators);
    if (delimiter.empty())
        return pieces;
    std::size_t at = 0;
    while (at < value.size())
    {
        const std::size_t end = std::min(value.find(delimiter, at), value.size());
        if (end > at)
            pieces.push_back(value.substr(at, end - at));
        at = end + delimiter.size();
    }
    return pieces;
}

std::string MakeParamChange(std::string_view wanted, std::string_view text, std::string_view key,
                            std::string_view assign, std::string_view separators)
{
    if (wanted.empty() || wanted == GetParamValue(text, key, assign, separators))
        return {};
    return std::string(key).append(assign).append(wanted);
}

std::string MakeParamChange(std::uint32_t wanted, std::string_view text, std::string_view key,
                            std::string_view assign, std::string_view separators)
{
    return MakeParamChange(std::to_string(wanted), text, key, assign, separators);
}

} // namespace korvane::Utils
