#pragma once

#include "runtime/debug_message.h"
#include "runtime/one_at_a_time.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace korvane
{

/// One numbered place for a preset, as the device reports it.
struct PrepositionRecord
{
    std::string name;           ///< empty for a free place
    std::uint32_t position = 0; ///< from 0
};

/// The preset list's road to the device. Each call makes one request, on the calling thread.
class IPrepositionComm : public IDebugMessage
{
public:
    virtual bool GetPrepositions(std::vector<PrepositionRecord>& records) = 0;
    virtual bool AddPreposition(const std::string& name) = 0;
    virtual bool RecallPreposition(const std::string& name, std::uint32_t speed) = 0;
    virtual bool DeletePreposition(const std::string& name) = 0;
};

/// A camera's presets as the host sees them: by name, in an order. The camera is the only store; the list
/// mirrors its table and remembers which preset the head stands on. A list that could not be read is read
/// again at its next use.
///
/// Any thread, one at a time in here; `AddPreposition` stays for its request. `ClearCurrent` waits for
/// nobody.
class CPrepositionList
{
public:
    explicit CPrepositionList(std::uint32_t channel) : channel_(channel) {}
    virtual ~CPrepositionList() = default;

    virtual std::uint32_t GetCount(); ///< presets with a name
    virtual bool GetName(std::uint32_t index, std::string& name);
    virtual bool GetCurrentName(std::string& name); ///< false when the head stands on no known preset
    virtual bool RecallPreposition(const std::string& name, std::uint32_t speed);
    virtual std::int32_t AddPreposition(const std::string& name); ///< a result code of `IIPPTZApi`
    virtual bool DeletePreposition(const std::string& name);

    /// Takes a comm (not owned, outlives the list's use) and the number of places of the camera, and reads
    /// the list. Nothing happens, with false, when either is null or 0.
    bool Attach(IPrepositionComm* comm, std::uint32_t maximum);

    bool Load();                              ///< reads the list anew; false leaves it empty
    void ClearCurrent() { current_ = kNone; } ///< reads no list
    std::uint32_t Maximum() const { return maximum_; }
    std::uint32_t Channel() const { return channel_; }

private:
    static constexpr std::uint32_t kNone = UINT32_MAX;

    bool Fill();
    void LoadOnce();
    void Clear();
    std::int32_t Add(const std::string& name);
    std::uint32_t IndexOf(const std::string& name);
    bool NotePreposition(const std::string& name);
    bool Forget(const std::string& name);

    const std::uint32_t channel_;
    IPrepositionComm* comm_ = nullptr;
    std::uint32_t maximum_ = 0;
    COneAtATime turn_;                            // to use what follows; comes before that of the comm
    std::map<std::uint32_t, std::string> places_; // by position; free ones with an empty name
    std::vector<std::uint32_t> named_;            // all positions with a name, in the host's order
    std::atomic<std::uint32_t> current_{kNone};   // index into named_
    bool loaded_ = false;
};

} // namespace korvane
