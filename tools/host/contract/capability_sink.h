#pragma once

#include "host/contract/fault_list.h"

#include <larkmoor/capability_query.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

/// How a capability query ended.
struct QueryEnd
{
    enum class Kind
    {
        None, ///< it hasn't
        Done,
        Failed,
        Killed, ///< given up by the driver when its module was deleted
    };

    Kind kind = Kind::None;
    std::uint32_t code = 0; ///< of a failure: 0 bad address, 1 login refused, 3 anything else
    std::string text;       ///< of a failure
};

/// Hears how a query ends, on the driver's threads, and tells whoever waits.
class CapabilitySink final : public ICapabilitySink
{
public:
    /// `faults` outlives this object.
    explicit CapabilitySink(FaultList& faults) : faults_(faults) {}

    QueryEnd End() const;
    bool WaitFor(std::chrono::milliseconds time); ///< true as soon as the query has ended

    void ReservedSlot1() override { faults_.Add("a reserved operation of the capability sink was called"); }
    void OnQueryDone() override { SetEnd({QueryEnd::Kind::Done, 0, {}}); }
    void OnQueryFailed(std::uint32_t code, const char* text) override;
    void OnQueryKilled() override { SetEnd({QueryEnd::Kind::Killed, 0, {}}); }

private:
    void SetEnd(QueryEnd end);

    FaultList& faults_;
    mutable std::mutex lock_; // over `end_`
    std::condition_variable changed_;
    QueryEnd end_;
};

} // namespace larkmoor::host
