// The whole discovery of a device whose answers are the input: one after the other between bytes of value 1.
// An answer that begins with a byte of value 2 is a refusal, with 3 none at all; behind the last all are
// empty.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "discovery/vivotek_camera_properties.h"
#include "require.h"

namespace
{

using namespace korvane;

class Answers : public IParameterSource
{
public:
    explicit Answers(std::string_view input) : rest_(input) {}
    ~Answers() override { Require(requests_ <= 8); }

    bool Get(const std::string& uri, std::string& body) override
    {
        Require(uri.starts_with("/cgi-bin/admin/getparam.cgi?"));
        ++requests_;
        const std::size_t end = std::min(rest_.find('\1'), rest_.size());
        body = rest_.substr(0, std::min(end, rest_.find('\0'))); // as far as it is text
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        status_ = body.starts_with('\2') ? 401 : body.starts_with('\3') ? 0 : 200;
        return status_ == 200;
    }
    std::uint32_t StatusCode() const override { return status_; }

private:
    std::string_view rest_;
    std::uint32_t status_ = 0;
    int requests_ = 0;
};

/// Takes all that a query may write, and holds it to what a host can rely on.
class Store final : public ipcapture::ICapabilityStore,
                    ipcapture::ICapabilityField,
                    ipcapture::ICapabilityParameter,
                    ipcapture::IResolutionList,
                    ipcapture::IFrameTimeList
{
public:
    void SetValue(std::uint32_t id, std::uint32_t value) override { Require(id <= 12 && value <= 256); }
    void SetModel(const char* text) override { Require(std::strchr(text, ' ') != nullptr); }
    ipcapture::ICapabilityField* GetConnectionField(std::uint32_t) override { return this; }
    ipcapture::ICapabilityParameter* AddParameter(std::uint32_t id) override
    {
        Require((id >= 1 && id <= 18) || id == 101 || id == 102);
        return this;
    }
    ipcapture::IResolutionList* GetResolutionList() override { return this; }
    ipcapture::IFrameTimeList* GetFrameTimeList(std::uint32_t) override { return this; }

private:
    void ReservedSlot1() override { std::abort(); }
    void ReservedSlot2() override { std::abort(); }
    void SetText(const char* text) override { Require(text != nullptr); }
    void SetValue(const char* text) override { Require(*text != '\0'); }
    void SetIsText(bool) override {}
    void SetName(const char* text) override { Require(*text != '\0'); }
    void SetReserved(std::uint32_t value) override { Require(value == 0); }
    void Add(const char*, std::uint32_t width, std::uint32_t height, std::uint32_t frameTime) override
    {
        Require(++sizes_ <= 256 && width >= 1 && width <= 65535 && height >= 1 && height <= 65535);
        Require(frameTime <= 1000);
    }
    void SetDefault(std::uint32_t frameTime) override { Require(frameTime <= 1000); }
    void Add(std::uint32_t frameTime) override { Require(frameTime <= 1000); }

    int sizes_ = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    CVivotekCameraProperties properties(DEVICE_INFO("10.0.0.9", 80, "root", "", ""), size % 2,
                                        std::make_unique<Answers>(input), CSettingsFile(""));
    std::uint32_t code = 0;
    Store store;
    if (properties.FetchProperties(&code))
        Require(code == 0 && properties.SaveProperties(&store));
    else
        Require(code == 1 || code == 3);
    return 0;
}
