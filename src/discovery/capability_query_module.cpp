#include "discovery/capability_query_module.h"

#include "device/host_call.h"
#include "platform/host_process.h"
#include "runtime/base_thread.h"
#include "runtime/guarded.h"

#include <string>

namespace korvane
{

namespace
{

constexpr std::uint32_t kTimeoutMs = 10000;
constexpr std::uint32_t kExitOfException = 0x123456;
constexpr const char* kNeverInAddress = "@#$%^&*(){}[]/\\+=|:;,~'\"!?";

struct Outcome
{
    std::uint32_t code = kOtherFailure;
    std::string text; // empty: the query is done
};

Outcome Fetch(CCameraPropertiesEx& properties, ipcapture::ICapabilityStore* store)
{
    Outcome outcome;
    if (!properties.FetchProperties(&outcome.code))
    {
        outcome.text = "Failed to get camera properties";
        if (outcome.code == kLoginRefused)
            outcome.text += ", login failed (invalid credentials)";
        else if (outcome.code == kOffline)
            outcome.text += ", device is offline or is located in unaccessible subnet";
        return outcome;
    }
    if (!properties.SaveProperties(store))
        outcome.text = "Failed to save capability query results";
    return outcome;
}

} // namespace

CCapabilityQueryModule::CCapabilityQueryModule(ipcapture::ICapabilitySink* sink,
                                               std::uint8_t videoStandardFlag)
    : videoStandardFlag_(videoStandardFlag != 0 ? 1 : 0), sink_(sink)
{
    device_.networkTimeoutMs = kTimeoutMs;
    device_.signalLossTimeoutMs = kTimeoutMs;
}

CCapabilityQueryModule::~CCapabilityQueryModule()
{
    StopQuery();
}

std::uint32_t CCapabilityQueryModule::StartQuery(const char* address, std::uint16_t port, const char* user,
                                                 const char* password, ipcapture::ICapabilityStore* store)
{
    const bool runs = Guarded(false,
                              [&]
                              {
                                  const COneAtATime::Turn turn(turn_);
                                  if (thread_.HasHandle())
                                      return false;
                                  store_ = store;
                                  return Prepare(address, port, user, password) &&
                                         thread_.Start(&ThreadEntry, this, "Capability query");
                              });
    return runs ? 1 : 0;
}

bool CCapabilityQueryModule::Prepare(const char* address, std::uint16_t port, const char* user,
                                     const char* password)
{
    if (address == nullptr || user == nullptr || password == nullptr)
        return false;
    device_.address = address;
    device_.port = port;
    device_.user = user;
    device_.password = password;
    Properties made(CreateProperties());
    if (!made)
        return false;
    const CLockGuard guard(propertiesLock_);
    properties_ = made;
    return true;
}

CCapabilityQueryModule::Properties CCapabilityQueryModule::ShareProperties()
{
    const CLockGuard guard(propertiesLock_);
    return properties_;
}

void CCapabilityQueryModule::TerminateQuery()
{
    if (const Properties properties = ShareProperties())
        properties->CancelFetch();
}

std::uint32_t CCapabilityQueryModule::ThreadEntry(void* module)
{
    return Guarded(kExitOfException, // of which the sink hears nothing
                   [=]
                   {
                       static_cast<CCapabilityQueryModule*>(module)->RunQuery();
                       return 0u;
                   });
}

void CCapabilityQueryModule::RunQuery()
{
    // Once the fetch has begun nothing of this object is touched: it may be gone when the device answers.
    ipcapture::ICapabilitySink* const sink = sink_;
    Outcome outcome;
    if (device_.address.find_first_of(kNeverInAddress) != std::string::npos)
    {
        outcome.text = "Failed to start capability fetching thread. Device address is invalid!";
        outcome.code = kBadAddress;
    }
    else
    {
        ipcapture::ICapabilityStore* const store = store_;
        const Properties properties = ShareProperties();
        if (!properties || store == nullptr)
            outcome.text = "Failed to start capability fetching thread. Internal error occurs";
        else
            outcome = Fetch(*properties, store);
    }
    if (sink == nullptr)
        return;
    if (outcome.text.empty())
        CallHost([sink] { sink->OnQueryDone(); });
    else
        CallHost([sink, &outcome] { sink->OnQueryFailed(outcome.code, outcome.text.c_str()); });
}

void CCapabilityQueryModule::StopQuery()
{
    TerminateQuery();
    const COneAtATime::Turn turn(turn_);
    const bool isOwnThread = thread_.Id() == platform::Thread::CurrentId();
    if (thread_.HasHandle() && !isOwnThread &&
        !EndThread(thread_, 2 * device_.networkTimeoutMs, [this] { TerminateQuery(); }))
    {
        if (thread_.GiveUp())
            platform::WriteDebugText(
                "korvane::CCapabilityQueryModule::StopQuery: The thread of the query was given up\r\n");
        if (ipcapture::ICapabilitySink* const sink = sink_)
            CallHost([sink] { sink->OnQueryKilled(); });
    }
    thread_.Close();
    const CLockGuard propertiesGuard(propertiesLock_);
    properties_.Release();
    store_ = nullptr;
}

} // namespace korvane
