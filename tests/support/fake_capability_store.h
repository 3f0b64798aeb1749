#pragma once

#include <larkmoor/capability_store.h>

#include "support/fake_host.h"

#include <cstdint>
#include <list>
#include <mutex>
#include <string>
#include <vector>

namespace korvane::test
{

/// The host's store as a list of lines, one per call of the driver and in its order:
///   value ID = NUMBER                   model = TEXT              field INDEX = TEXT
///   parameter ID "NAME" number = TEXT   parameter ID "NAME" text = TEXT
///   size TEXT = WIDTH HEIGHT FRAMETIME  frame-time = NUMBER       default-frame-time = NUMBER
class FakeCapabilityStore final : public ipcapture::ICapabilityStore
{
public:
    FakeCapabilityStore();

    std::vector<std::string> Lines() const;
    /// What stands behind " = " in the first line that begins so; empty if there is none.
    std::string Value(const std::string& lineStart) const;
    /// All of them, a line each.
    std::string Values(const std::string& lineStart) const;

    void SetValue(std::uint32_t id, std::uint32_t value) override;
    void SetModel(const char* text) override { Write("model = " + std::string(text)); }
    ipcapture::ICapabilityField* GetConnectionField(std::uint32_t index) override;
    void ReservedSlot1() override { FailReserved(); }
    ipcapture::ICapabilityParameter* AddParameter(std::uint32_t id) override;
    ipcapture::IResolutionList* GetResolutionList() override { return &resolutions_; }
    void ReservedSlot2() override { FailReserved(); }
    ipcapture::IFrameTimeList* GetFrameTimeList(std::uint32_t number) override;

private:
    struct Field final : ipcapture::ICapabilityField
    {
        Field(FakeCapabilityStore& store, std::uint32_t index) : store_(store), index_(index) {}
        void SetText(const char* text) override
        {
            store_.Write("field " + std::to_string(index_) + " = " + text);
        }
        FakeCapabilityStore& store_;
        const std::uint32_t index_;
    };
    struct Parameter final : ipcapture::ICapabilityParameter
    {
        Parameter(FakeCapabilityStore& store, std::uint32_t id) : store_(store), id_(id) {}
        void SetValue(const char* text) override;
        void ReservedSlot1() override { FailReserved(); }
        void ReservedSlot2() override { FailReserved(); }
        void SetIsText(bool isText) override { isText_ = isText; }
        void SetName(const char* text) override { name_ = text; }
        void SetReserved(std::uint32_t value) override;
        FakeCapabilityStore& store_;
        const std::uint32_t id_;
        std::string name_;
        bool isText_ = false;
    };
    struct Resolutions final : ipcapture::IResolutionList
    {
        explicit Resolutions(FakeCapabilityStore& store) : store_(store) {}
        void Add(const char* text, std::uint32_t width, std::uint32_t height,
                 std::uint32_t frameTime) override;
        FakeCapabilityStore& store_;
    };
    struct FrameTimes final : ipcapture::IFrameTimeList
    {
        explicit FrameTimes(FakeCapabilityStore& store) : store_(store) {}
        void SetDefault(std::uint32_t frameTime) override { Tell("default-frame-time", frameTime); }
        void Add(std::uint32_t frameTime) override { Tell("frame-time", frameTime); }
        void Tell(const std::string& what, std::uint32_t frameTime)
        {
            store_.Write(what + " = " + std::to_string(frameTime));
        }
        FakeCapabilityStore& store_;
    };

    void Write(std::string line);

    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
    std::list<Field> fields_;
    std::list<Parameter> parameters_;
    Resolutions resolutions_;
    FrameTimes frameTimes_;
};

} // namespace korvane::test
