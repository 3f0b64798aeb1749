#pragma once

#include <cstdint>

namespace korvane::ipcapture
{

/// One text of the connection. Implemented and owned by the host.
class ICapabilityField
{
public:
    virtual ~ICapabilityField() = default;

    virtual void SetText(const char* text) = 0; ///< zero-ended; copied during the call
};

/// One numbered property: what the host keeps and gives back at `Open`. Implemented and owned by the host.
class ICapabilityParameter
{
public:
    virtual ~ICapabilityParameter() = default;

    virtual void SetValue(const char* text) = 0; ///< "(none)" stands for an empty value
    virtual void ReservedSlot1() = 0;            ///< never called by the driver
    virtual void ReservedSlot2() = 0;            ///< never called by the driver
    virtual void SetIsText(bool isText) = 0;     ///< false: a number in decimal text
    virtual void SetName(const char* text) = 0;
    virtual void SetReserved(std::uint32_t value) = 0; ///< always 0
};

class IResolutionList
{
public:
    virtual ~IResolutionList() = default;

    /// `text` is like "640x480"; `width` and `height` in pixels; `frameTime` in milliseconds, 0 if none is
    /// known.
    virtual void Add(const char* text, std::uint32_t width, std::uint32_t height,
                     std::uint32_t frameTime) = 0;
};

class IFrameTimeList
{
public:
    virtual ~IFrameTimeList() = default;

    virtual void SetDefault(std::uint32_t frameTime) = 0; ///< milliseconds
    virtual void Add(std::uint32_t frameTime) = 0;        ///< milliseconds
};

/// Where a capability query writes what it found. Implemented and owned by the host, valid until the query
/// has ended; written on the query's thread. The objects that the getters give are never null and the host's.
class ICapabilityStore
{
public:
    virtual ~ICapabilityStore() = default;

    virtual void SetValue(std::uint32_t id, std::uint32_t value) = 0;
    virtual void SetModel(const char* text) = 0;
    virtual ICapabilityField*
    GetConnectionField(std::uint32_t index) = 0; ///< 1 address, 2 port, 3 user, 4 password
    virtual void ReservedSlot1() = 0;            ///< never called by the driver
    virtual ICapabilityParameter* AddParameter(std::uint32_t id) = 0;
    virtual IResolutionList* GetResolutionList() = 0;
    virtual void ReservedSlot2() = 0;                                   ///< never called by the driver
    virtual IFrameTimeList* GetFrameTimeList(std::uint32_t number) = 0; ///< always called with 1
};

} // namespace korvane::ipcapture
