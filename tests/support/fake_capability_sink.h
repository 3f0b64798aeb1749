#pragma once

#include <larkmoor/capability_query.h>

#include "support/fake_host.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

namespace korvane::test
{

/// What a host hears of a query: "done", "failed CODE TEXT" and "killed", one after the other.
class FakeCapabilitySink final : public ipcapture::ICapabilitySink
{
public:
    std::string Heard() const;
    /// Waits for one call at least; gives what was heard, or an empty text if nothing comes.
    std::string WaitForEnd();
    void OnCall(std::function<void()> action) { action_ = std::move(action); } ///< runs in each call

    void ReservedSlot1() override { FailReserved(); }
    void OnQueryDone() override { Note("done"); }
    void OnQueryFailed(std::uint32_t code, const char* text) override
    {
        Note("failed " + std::to_string(code) + " " + text);
    }
    void OnQueryKilled() override { Note("killed"); }

private:
    void Note(const std::string& text);

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::string heard_;
    std::function<void()> action_;
};

} // namespace korvane::test
