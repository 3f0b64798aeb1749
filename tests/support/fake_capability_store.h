#pragma once

#include <larkmoor/capability_store.h>

#include "support/fake_host.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <list>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace korvane::test
{

/// The host's store as a list of lines, one per call of the driver and in its order:
///   value ID = NUMBER                   model = TEXT              field INDEX = TEXT
///   parameter ID "NAME" number = TEXT   parameter ID "NAME" text = TEXT
///   size TEXT = WIDTH HEIGHT FRAMETIME  frame-time = NUMBER       default-frame-time = NUMBER
class FakeCapabilityStore final : public ipcapture::ICapabilityStore, public HostObject
{
public:
    std::vector<std::string> Lines() const { return lines_.Get(); }
    /// What stands behind " = " in the first line that begins so; empty if there is none.
    std::string Value(const std::string& lineStart) const
    {
        const std::string values = Values(lineStart);
        return values.substr(0, values.find('\n'));
    }
    /// All of them, a line each.
    std::string Values(const std::string& lineStart) const
    {
        std::string values;
        for (const std::string& line : Lines())
        {
            if (line.starts_with(lineStart))
                values += (values.empty() ? "" : "\n") + line.substr(line.find(" = ") + 3);
        }
        return values;
    }

    void OnLine(std::function<void()> action) { action_ = std::move(action); } ///< runs behind each line

    void SetValue(std::uint32_t id, std::uint32_t value) override { Write("value ", id, " = ", value); }
    void SetModel(const char* text) override { Write("model = ", text); }
    ipcapture::ICapabilityField* GetConnectionField(std::uint32_t index) override
    {
        return Answer(&fields_.emplace_back(*this, index));
    }
    void ReservedSlot1() override { FailReserved(); }
    ipcapture::ICapabilityParameter* AddParameter(std::uint32_t id) override
    {
        return Answer(&parameters_.emplace_back(*this, id));
    }
    ipcapture::IResolutionList* GetResolutionList() override { return Answer(&resolutions_); }
    void ReservedSlot2() override { FailReserved(); }
    ipcapture::IFrameTimeList* GetFrameTimeList(std::uint32_t number) override
    {
        EXPECT_EQ(number, 1u);
        return Answer(&frameTimes_);
    }

private:
    template <typename Interface>
    struct Part : Interface
    {
        explicit Part(FakeCapabilityStore& storeOf, std::uint32_t idOf = 0) : store(storeOf), id(idOf) {}
        FakeCapabilityStore& store;
        const std::uint32_t id;
    };
    struct Field final : Part<ipcapture::ICapabilityField>
    {
        using Part::Part;
        void SetText(const char* text) override { store.Write("field ", id, " = ", text); }
    };
    struct Parameter final : Part<ipcapture::ICapabilityParameter>
    {
        using Part::Part;
        void SetValue(const char* text) override
        {
            store.Write("parameter ", id, " \"", name, isText ? "\" text = " : "\" number = ", text);
        }
        void ReservedSlot1() override { FailReserved(); }
        void ReservedSlot2() override { FailReserved(); }
        void SetIsText(bool is) override { isText = store.Answer(is); }
        void SetName(const char* text) override { name = store.Answer(text); }
        void SetReserved(std::uint32_t value) override { EXPECT_EQ(store.Answer(value), 0u); }
        std::string name;
        bool isText = false;
    };
    struct Resolutions final : Part<ipcapture::IResolutionList>
    {
        using Part::Part;
        void Add(const char* text, std::uint32_t width, std::uint32_t height,
                 std::uint32_t frameTime) override
        {
            store.Write("size ", text, " = ", width, ' ', height, ' ', frameTime);
        }
    };
    struct FrameTimes final : Part<ipcapture::IFrameTimeList>
    {
        using Part::Part;
        void SetDefault(std::uint32_t time) override { store.Write("default-frame-time = ", time); }
        void Add(std::uint32_t time) override { store.Write("frame-time = ", time); }
    };

    void Write(const auto&... pieces)
    {
        Called();
        std::ostringstream line;
        (line << ... << pieces);
        lines_.Add(line.str());
        action_();
    }

    WatchedList<std::string> lines_;
    std::function<void()> action_ = [] {};
    std::list<Field> fields_;
    std::list<Parameter> parameters_;
    Resolutions resolutions_{*this};
    FrameTimes frameTimes_{*this};
};

} // namespace korvane::test
