#include "support/fake_capability_store.h"

#include <gtest/gtest.h>

#include <utility>

namespace korvane::test
{

FakeCapabilityStore::FakeCapabilityStore() : resolutions_(*this), frameTimes_(*this) {}

std::vector<std::string> FakeCapabilityStore::Lines() const
{
    const std::lock_guard guard(mutex_);
    return lines_;
}

std::string FakeCapabilityStore::Value(const std::string& lineStart) const
{
    const std::string values = Values(lineStart);
    return values.substr(0, values.find('\n'));
}

std::string FakeCapabilityStore::Values(const std::string& lineStart) const
{
    std::string values;
    for (const std::string& line : Lines())
    {
        if (line.starts_with(lineStart))
            values += (values.empty() ? "" : "\n") + line.substr(line.find(" = ") + 3);
    }
    return values;
}

void FakeCapabilityStore::Write(std::string line)
{
    const std::lock_guard guard(mutex_);
    lines_.push_back(std::move(line));
}

void FakeCapabilityStore::SetValue(std::uint32_t id, std::uint32_t value)
{
    Write("value " + std::to_string(id) + " = " + std::to_string(value));
}

ipcapture::ICapabilityField* FakeCapabilityStore::GetConnectionField(std::uint32_t index)
{
    return &fields_.emplace_back(*this, index);
}

ipcapture::ICapabilityParameter* FakeCapabilityStore::AddParameter(std::uint32_t id)
{
    return &parameters_.emplace_back(*this, id);
}

ipcapture::IFrameTimeList* FakeCapabilityStore::GetFrameTimeList(std::uint32_t number)
{
    EXPECT_EQ(number, 1u);
    return &frameTimes_;
}

void FakeCapabilityStore::Parameter::SetValue(const char* text)
{
    store_.Write("parameter " + std::to_string(id_) + " \"" + name_ +
                 (isText_ ? "\" text = " : "\" number = ") + text);
}

void FakeCapabilityStore::Parameter::SetReserved(std::uint32_t value)
{
    EXPECT_EQ(value, 0u);
}

void FakeCapabilityStore::Resolutions::Add(const char* text, std::uint32_t width, std::uint32_t height,
                                           std::uint32_t frameTime)
{
    store_.Write("size " + std::string(text) + " = " + std::to_string(width) + " " + std::to_string(height) +
                 " " + std::to_string(frameTime));
}

} // namespace korvane::test
