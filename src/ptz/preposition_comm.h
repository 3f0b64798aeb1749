#pragma once

#include "runtime/debug_message.h"

#include <cstdint>
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

} // namespace korvane
