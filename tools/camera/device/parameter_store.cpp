#include "camera/device/parameter_store.h"

#include "base/text.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace larkmoor::camera
{

namespace
{

/// True if `key` is `name` itself or lies in the group `name`.
bool IsAskedFor(std::string_view key, std::string_view name)
{
    if (!key.starts_with(name))
        return false;
    return key.size() == name.size() || key[name.size()] == '_' || key[name.size()] == '.';
}

std::string Unescape(std::string_view text)
{
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const std::string_view digits = text.substr(i + 1, 2);
        unsigned char byte = 0;
        if (text[i] == '%' && digits.size() == 2 &&
            std::from_chars(digits.begin(), digits.end(), byte, 16).ptr == digits.end())
        {
            plain += static_cast<char>(byte);
            i += 2;
        }
        else
            plain += text[i] == '+' ? ' ' : text[i];
    }
    return plain;
}

} // namespace

void ParameterStore::Define(const std::string& key, const std::string& value, const std::string& rule)
{
    const std::lock_guard guard(lock_);
    parameters_[key] = {value, rule};
}

std::string ParameterStore::Get(std::string_view key) const
{
    const std::lock_guard guard(lock_);
    const auto found = parameters_.find(key);
    return found == parameters_.end() ? std::string() : found->second.value;
}

std::uint32_t ParameterStore::GetNumber(std::string_view key, std::uint32_t fallback) const
{
    return ReadNumber<std::uint32_t>(Get(key)).value_or(fallback);
}

bool ParameterStore::Has(std::string_view key) const
{
    const std::lock_guard guard(lock_);
    return parameters_.find(key) != parameters_.end();
}

std::string ParameterStore::Read(std::string_view query) const
{
    const std::vector<std::string_view> names = Split(query, '&');
    std::string text;
    const std::lock_guard guard(lock_);
    for (const auto& [key, parameter] : parameters_)
    {
        const bool wanted =
            query.empty() || std::any_of(names.begin(), names.end(),
                                         [&key = key](auto name) { return IsAskedFor(key, name); });
        if (wanted)
            text += Line(key, parameter.value);
    }
    return text;
}

bool ParameterStore::Allows(const Parameter& parameter, const std::string& value) const
{
    // What would break the lines of the answers is not a value, whatever the rule.
    if (value.find_first_of("'&\r\n") != std::string::npos)
        return false;
    const std::string& rule = parameter.rule;
    if (rule.empty() || rule == "*")
        return !rule.empty() || value == parameter.value;
    if (rule.front() == '{' && rule.back() == '}')
    {
        const auto other = parameters_.find(std::string_view(rule).substr(1, rule.size() - 2));
        return other != parameters_.end() && IsOneOf(value, other->second.value, ',');
    }
    const std::size_t dots = rule.find("..");
    if (dots == std::string::npos)
        return IsOneOf(value, rule, '|');
    const auto number = ReadNumber(value);
    const auto least = ReadNumber(std::string_view(rule).substr(0, dots));
    const auto most = ReadNumber(std::string_view(rule).substr(dots + 2));
    return number && least && most && *number >= *least && *number <= *most;
}

ParameterStore::Items ParameterStore::Change(const Items& items)
{
    std::vector<std::string> changed;
    Items refused;
    {
        const std::lock_guard guard(lock_);
        for (const auto& [key, value] : items)
        {
            const auto found = parameters_.find(key);
            if (found == parameters_.end() || !Allows(found->second, value))
                refused.emplace_back(key, value);
        }
        if (!refused.empty())
            return refused;
        for (const auto& [key, value] : items)
        {
            Parameter& parameter = parameters_[key];
            if (parameter.value == value)
                continue;
            parameter.value = value;
            changed.push_back(key);
        }
    }
    Notify(changed);
    return {};
}

void ParameterStore::Put(std::string_view key, const std::string& value)
{
    {
        const std::lock_guard guard(lock_);
        const auto found = parameters_.find(key);
        if (found == parameters_.end() || found->second.value == value)
            return;
        found->second.value = value;
    }
    Notify({std::string(key)});
}

void ParameterStore::Notify(const std::vector<std::string>& keys)
{
    if (keys.empty())
        return;
    const std::lock_guard calling(calling_);
    for (const auto& [number, listener] : listeners_)
        listener(keys);
}

std::uint32_t ParameterStore::AddListener(Listener listener)
{
    const std::lock_guard calling(calling_);
    listeners_[++lastListener_] = std::move(listener);
    return lastListener_;
}

void ParameterStore::RemoveListener(std::uint32_t number)
{
    const std::lock_guard calling(calling_);
    listeners_.erase(number);
}

ParameterStore::Items ParseQuery(std::string_view query)
{
    ParameterStore::Items items;
    for (std::string_view item : Split(query, '&'))
    {
        const std::string_view key = CutAt(item, '=');
        items.emplace_back(Unescape(key), Unescape(item));
    }
    return items;
}

} // namespace larkmoor::camera
