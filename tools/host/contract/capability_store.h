#pragma once

#include "host/contract/fault_list.h"

#include <larkmoor/capability_query.h>
#include <larkmoor/capability_store.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

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

/// What a capability query told of a device, as it came.
struct DeviceReport
{
    struct Parameter
    {
        std::uint32_t id = 0;
        std::string name;
        bool isText = false;
        std::string value;
    };
    struct Size
    {
        std::string text;
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        std::uint32_t frameTime = 0; ///< milliseconds, 0 if none is known
    };

    std::string model;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> values; ///< number and value
    std::vector<Parameter> parameters;
    std::vector<Size> sizes;
    std::vector<std::uint32_t> frameTimes;           ///< milliseconds
    std::uint32_t defaultFrameTime = 0;              ///< milliseconds, 0 if it wasn't told
    std::map<std::uint32_t, std::string> connection; ///< 1 address, 2 port, 3 user, 4 password

    /// The last value of that number; 0 if there is none.
    std::uint32_t Value(std::uint32_t number) const;

    /// The text of a parameter; empty if there is none, and for "(none)".
    std::string Text(std::uint32_t parameter) const;
};

/// Takes what a query writes. Written on the query's thread; read when the query has ended.
class CapabilityStore final : public ICapabilityStore, private IResolutionList, private IFrameTimeList
{
public:
    /// `faults` outlives this object.
    explicit CapabilityStore(FaultList& faults) : faults_(faults) {}

    const DeviceReport& Report() const { return report_; }

    void SetValue(std::uint32_t id, std::uint32_t value) override { report_.values.emplace_back(id, value); }
    void SetModel(const char* text) override { report_.model = Checked(text, "SetModel"); }
    ICapabilityField* GetConnectionField(std::uint32_t index) override
    {
        return &fields_.emplace_back(*this, index);
    }
    void ReservedSlot1() override { Reserved(); }
    ICapabilityParameter* AddParameter(std::uint32_t id) override;
    IResolutionList* GetResolutionList() override { return this; }
    void ReservedSlot2() override { Reserved(); }
    IFrameTimeList* GetFrameTimeList(std::uint32_t number) override;

private:
    class Field final : public ICapabilityField
    {
    public:
        Field(CapabilityStore& store, std::uint32_t index) : store_(store), index_(index) {}
        void SetText(const char* text) override;

    private:
        CapabilityStore& store_;
        const std::uint32_t index_;
    };

    class Parameter final : public ICapabilityParameter
    {
    public:
        Parameter(CapabilityStore& store, std::size_t place) : store_(store), place_(place) {}
        void SetValue(const char* text) override { Target().value = store_.Checked(text, "SetValue"); }
        void ReservedSlot1() override { store_.Reserved(); }
        void ReservedSlot2() override { store_.Reserved(); }
        void SetIsText(bool isText) override { Target().isText = isText; }
        void SetName(const char* text) override { Target().name = store_.Checked(text, "SetName"); }
        void SetReserved(std::uint32_t value) override;

    private:
        DeviceReport::Parameter& Target() { return store_.report_.parameters[place_]; }

        CapabilityStore& store_;
        const std::size_t place_; // in the report
    };

    void Add(const char* text, std::uint32_t width, std::uint32_t height, std::uint32_t frameTime) override;
    void Add(std::uint32_t frameTime) override { report_.frameTimes.push_back(frameTime); }
    void SetDefault(std::uint32_t frameTime) override { report_.defaultFrameTime = frameTime; }
    std::string Checked(const char* text, const char* operation); // null is a fault of the driver
    void Reserved() { faults_.Add("a reserved operation of the capability store was called"); }

    FaultList& faults_;
    DeviceReport report_;
    std::list<Field> fields_;
    std::list<Parameter> parameters_;
};

} // namespace larkmoor::host
