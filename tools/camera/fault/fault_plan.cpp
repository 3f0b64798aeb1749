#include "camera/fault/fault_plan.h"

#include "base/text.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <optional>

namespace larkmoor::camera
{

namespace
{

using std::chrono::milliseconds;

constexpr double kLargestNumber = 1e9;
constexpr milliseconds kDefaultPeriod(5000);
constexpr std::size_t kHelpColumn = 28;

const FaultDescription* Describe(std::string_view name)
{
    for (const FaultDescription& fault : FaultPlan::All())
    {
        if (name == fault.name)
            return &fault;
    }
    return nullptr;
}

/// The first of several choices.
std::string_view DefaultValue(std::string_view values)
{
    return CutBehind(values, '|') ? values : "";
}

/// Empty if the fault takes `value`, else what it takes.
std::string WhatItTakes(std::string_view values, std::string_view value)
{
    if (values.empty())
        return "takes no value";
    if (values == "text")
        return value.empty() ? "takes a text" : "";
    if (values == "ratio")
        return ReadDecimal(value, 1) ? "" : "takes a number from 0 to 1";
    if (values == "count")
        return ReadDecimal(value, kLargestNumber) ? "" : "takes a number";
    if (values == "time")
    {
        const std::optional<milliseconds> time = ReadTime(value);
        return time && time->count() > 0 ? "" : "takes a time above 0, as in 5s or 300ms";
    }
    return IsOneOf(value, values, '|') ? "" : "takes one of " + std::string(values);
}

/// `words` from the present column on, in lines that a terminal shows whole.
void AppendWrapped(std::string& text, std::string_view words)
{
    constexpr std::size_t kWidth = 72;
    while (words.size() > kWidth)
    {
        const std::size_t blank = words.rfind(' ', kWidth);
        text.append(words.substr(0, blank)).append("\n").append(kHelpColumn, ' ');
        words.remove_prefix(blank + 1);
    }
    text.append(words).append("\n");
}

} // namespace

std::string FaultPlan::HelpText()
{
    std::string text;
    const char* group = "";
    for (const FaultDescription& fault : All())
    {
        if (std::strcmp(group, fault.group) != 0)
            text += std::string(text.empty() ? "" : "\n") + fault.group + ":\n";
        group = fault.group;
        const std::string values = fault.values;
        const bool choices = values.find('|') != std::string::npos;
        std::string head = std::string("  ") + fault.name;
        if (!values.empty())
            head += "=" + (choices ? "VALUE" : values);
        head.resize(std::max(head.size() + 1, kHelpColumn), ' ');
        text += head;
        AppendWrapped(text, fault.effect);
        if (choices)
            text += std::string(kHelpColumn, ' ') + "VALUE: " + values + "\n";
    }
    return text;
}

std::string FaultPlan::Trials()
{
    std::string text;
    for (const FaultDescription& fault : All())
        if (*fault.trials != 0)
            text += fault.trials + std::string("\n");
    return text;
}

bool FaultPlan::Parse(std::string_view text, Entry& entry, std::string& error)
{
    const std::string whole(text);
    const auto fail = [&](const std::string& why)
    {
        error = "fault \"" + whole + "\": " + why;
        return false;
    };

    const auto window = CutBehind(text, '@');
    const auto value = CutBehind(text, '=');
    const std::string name(text);
    entry.what = Describe(name);
    if (entry.what == nullptr)
        return fail("there is no fault \"" + name + "\"; --help lists all");
    entry.value = value.value_or(DefaultValue(entry.what->values));
    if (const std::string complaint = value ? WhatItTakes(entry.what->values, *value) : "";
        !complaint.empty())
        return fail(name + " " + complaint);
    if (!value && std::strcmp(entry.what->values, "ratio") == 0)
        return fail(name + " needs a number from 0 to 1");

    entry.hasStart = window.has_value();
    entry.duration = entry.what->defaultDuration;
    if (!window)
        return true;
    std::string_view time = *window;
    const auto length = CutBehind(time, '+');
    const std::optional<milliseconds> start = ReadTime(time);
    if (!start)
        return fail("the start is a time as in 5s or 300ms");
    entry.start = *start;
    if (!length)
        return true;
    const std::optional<milliseconds> duration = ReadTime(*length);
    if (!duration || duration->count() == 0)
        return fail("the duration is a time above 0, as in 5s or 300ms");
    entry.duration = *duration;
    return true;
}

bool FaultPlan::Add(std::string_view text, std::string& error)
{
    std::vector<Entry> added;
    for (bool more = true; more;)
    {
        more = text.find(',') != std::string_view::npos;
        Entry entry{};
        if (!Parse(CutAt(text, ','), entry, error))
            return false;
        entry.origin = now_();
        added.push_back(std::move(entry));
    }
    const std::lock_guard guard(lock_);
    entries_.insert(entries_.end(), added.begin(), added.end());
    empty_ = false;
    return true;
}

void FaultPlan::Remove(std::string_view name)
{
    const std::lock_guard guard(lock_);
    std::erase_if(entries_, [&](const Entry& entry) { return name == entry.what->name; });
    empty_ = entries_.empty();
}

void FaultPlan::Begin()
{
    const std::lock_guard guard(lock_);
    begun_ = true;
    for (Entry& entry : entries_)
        entry.origin = now_();
}

bool FaultPlan::IsOpen(const Entry& entry) const
{
    const auto since = now_() - entry.origin - entry.start;
    return begun_ && since >= Clock::duration::zero() &&
           (entry.duration.count() == 0 || since < entry.duration);
}

std::optional<std::string> FaultPlan::FindOpen(std::string_view name,
                                               std::optional<std::string_view> value) const
{
    assert(Describe(name) != nullptr);
    if (empty_)
        return std::nullopt;
    const std::lock_guard guard(lock_);
    for (const Entry& entry : entries_)
    {
        if (name == entry.what->name && value.value_or(entry.value) == entry.value && IsOpen(entry))
            return entry.value;
    }
    return std::nullopt;
}

double FaultPlan::Number(std::string_view name, double fallback) const
{
    return ReadDecimal(Value(name), kLargestNumber).value_or(fallback);
}

milliseconds FaultPlan::Time(std::string_view name, milliseconds fallback) const
{
    const std::optional<std::string> value = FindOpen(name);
    return value ? ReadTime(*value).value_or(fallback) : milliseconds(0);
}

bool FaultPlan::Take(std::string_view name)
{
    if (empty_)
        return false;
    const std::lock_guard guard(lock_);
    for (Entry& entry : entries_)
    {
        if (name == entry.what->name && !entry.taken && IsOpen(entry))
            return entry.taken = true;
    }
    return false;
}

std::uint32_t FaultPlan::Occurrences(std::string_view name) const
{
    if (empty_)
        return 0;
    const std::lock_guard guard(lock_);
    if (!begun_)
        return 0;
    const Clock::time_point now = now_();
    std::uint32_t count = 0;
    for (const Entry& entry : entries_)
    {
        auto since = std::chrono::duration_cast<milliseconds>(now - entry.origin - entry.start);
        if (name != entry.what->name || since.count() < 0)
            continue;
        if (entry.duration.count() != 0)
            since = std::min(since, entry.duration - milliseconds(1));
        const bool comesAgain = !entry.value.empty() || !entry.hasStart;
        const milliseconds period = ReadTime(entry.value).value_or(kDefaultPeriod);
        count += entry.hasStart ? 1 : 0;
        if (comesAgain)
            count += static_cast<std::uint32_t>(since / period);
    }
    return count;
}

} // namespace larkmoor::camera
