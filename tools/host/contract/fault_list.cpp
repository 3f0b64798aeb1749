#include "host/contract/fault_list.h"

namespace larkmoor::host
{

void FaultList::Add(const std::string& text)
{
    const std::lock_guard guard(lock_);
    ++count_;
    if (texts_.size() < kKept)
        texts_.push_back(text);
}

std::uint64_t FaultList::Count() const
{
    const std::lock_guard guard(lock_);
    return count_;
}

std::vector<std::string> FaultList::Texts() const
{
    const std::lock_guard guard(lock_);
    return texts_;
}

} // namespace larkmoor::host
