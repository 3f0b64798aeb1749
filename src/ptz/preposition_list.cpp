#include "ptz/preposition_list.h"

#include "runtime/guarded.h"

#include <larkmoor/ip_ptz.h>

#include <algorithm>

namespace korvane
{

namespace
{

constexpr const char* kAddFunction = "korvane::CPrepositionList::AddPreposition";

bool IsValidName(const std::string& name)
{
    return !name.empty() && name.find_first_of("&!<>'\"") == std::string::npos;
}

} // namespace

bool CPrepositionList::Attach(IPrepositionComm* comm, std::uint32_t maximum)
{
    if (comm == nullptr || maximum == 0)
        return false;
    comm_ = comm;
    maximum_ = maximum;
    return Load();
}

bool CPrepositionList::Load()
{
    const COneAtATime::Turn turn(turn_);
    Clear();
    loaded_ = Guarded(false, [this] { return Fill(); });
    if (!loaded_)
        Clear(); // half a list is none
    return loaded_;
}

void CPrepositionList::Clear()
{
    places_.clear();
    named_.clear();
    current_ = kNone;
}

bool CPrepositionList::Fill()
{
    std::vector<PrepositionRecord> records;
    if (comm_ == nullptr || !comm_->GetPrepositions(records))
        return false;
    for (const PrepositionRecord& record : records)
    {
        places_[record.position] = record.name;
        if (!record.name.empty())
            named_.push_back(record.position);
    }
    return true;
}

void CPrepositionList::LoadOnce()
{
    const COneAtATime::Turn turn(turn_);
    if (!loaded_)
        Load();
}

std::uint32_t CPrepositionList::GetCount()
{
    const COneAtATime::Turn turn(turn_);
    LoadOnce();
    return static_cast<std::uint32_t>(named_.size());
}

bool CPrepositionList::GetName(std::uint32_t index, std::string& name)
{
    const COneAtATime::Turn turn(turn_);
    LoadOnce();
    if (index >= named_.size())
        return false;
    name = places_.at(named_[index]);
    return true;
}

bool CPrepositionList::GetCurrentName(std::string& name)
{
    const COneAtATime::Turn turn(turn_);
    return CPrepositionList::GetName(current_, name);
}

std::uint32_t CPrepositionList::IndexOf(const std::string& name)
{
    const COneAtATime::Turn turn(turn_);
    const auto place =
        std::find_if(places_.begin(), places_.end(), [&](const auto& entry) { return entry.second == name; });
    if (place == places_.end() || name.empty())
        return kNone;
    return static_cast<std::uint32_t>(std::ranges::find(named_, place->first) - named_.begin());
}

bool CPrepositionList::RecallPreposition(const std::string& name, std::uint32_t speed)
{
    LoadOnce();
    const std::uint32_t index = IndexOf(name);
    if (index == kNone || !comm_->RecallPreposition(name, speed))
        return false;
    current_ = index;
    return true;
}

std::int32_t CPrepositionList::AddPreposition(const std::string& name)
{
    LoadOnce();
    if (comm_ == nullptr)
        return ipcapture::kPTZNotQueued;
    if (!IsValidName(name))
    {
        comm_->DebugMessage(1, "%s: A preposition \"%s\" cannot be added - the name is invalid.",
                            kAddFunction, name.c_str());
        return ipcapture::kPTZBadArgument;
    }
    const std::int32_t result = Add(name);
    if (result == ipcapture::kPTZPresetListFull)
        comm_->DebugMessage(
            1,
            "%s: A preposition \"%s\" cannot be added. Camera supports saving not more than %u prepositions.",
            kAddFunction, name.c_str(), maximum_);
    return result;
}

std::int32_t CPrepositionList::Add(const std::string& name)
{
    const std::uint32_t count = GetCount();
    const COneAtATime::Turn turn(turn_);
    if (count >= maximum_)
        return ipcapture::kPTZPresetListFull;
    return comm_->AddPreposition(name) && NotePreposition(name) ? ipcapture::kPTZDone
                                                                : ipcapture::kPTZNotQueued;
}

// The device is told only the name; the first free place stands for it until the list is read again.
bool CPrepositionList::NotePreposition(const std::string& name)
{
    const auto place =
        std::find_if(places_.begin(), places_.end(), [](const auto& entry) { return entry.second.empty(); });
    if (place == places_.end())
        return false;
    place->second = name;
    named_.push_back(place->first);
    current_ = IndexOf(name);
    return true;
}

bool CPrepositionList::DeletePreposition(const std::string& name)
{
    LoadOnce();
    return !name.empty() && comm_ != nullptr && comm_->DeletePreposition(name) && Forget(name);
}

bool CPrepositionList::Forget(const std::string& name)
{
    const COneAtATime::Turn turn(turn_);
    const std::uint32_t index = IndexOf(name);
    if (index == kNone)
        return false;
    places_[named_[index]].clear();
    named_.erase(named_.begin() + index);
    current_ = kNone;
    return true;
}

} // namespace korvane
