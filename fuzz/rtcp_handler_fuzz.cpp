// RTCP datagrams, each behind one byte of length. The handler's user hears of a BYE exactly as often as a
// walk written down a second time says: once for each run of sender reports.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "require.h"
#include "transport/rtcp_handler.h"

namespace
{

class Counter : public korvane::IRTCPHandlerUser
{
public:
    void OnRTCPBye() override { ++byes; }
    int byes = 0;
};

struct Model
{
    bool seen = false;
    int byes = 0;

    void Walk(const std::vector<std::uint8_t>& datagram)
    {
        std::size_t at = 0;
        while (at + 4 <= datagram.size())
        {
            const std::size_t next = at + 4 + 4u * (datagram[at + 2] * 256u + datagram[at + 3]);
            if (next > datagram.size())
                return;
            if (datagram[at + 1] == 200 && next - at >= 16)
                seen = true;
            if (datagram[at + 1] == 203 && seen)
            {
                seen = false;
                ++byes;
            }
            at = next;
        }
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    korvane::CRTCPHandler handler(nullptr); // not started: its peer is the address 0
    korvane::CUDPClient client(nullptr);
    Counter user;
    handler.SetUser(&user);
    Model model;
    while (size > 0)
    {
        const std::size_t length = std::min<std::size_t>(data[0], size - 1);
        const std::vector<std::uint8_t> datagram(data + 1, data + 1 + length);
        data += 1 + length;
        size -= 1 + length;

        handler.OnDatagram(client, {}, datagram.data(), static_cast<std::uint32_t>(length));
        model.Walk(datagram);
        Require(user.byes == model.byes);
        if (length >= 2)
            handler.OnRTPSequence(static_cast<std::uint16_t>(datagram[0] << 8 | datagram[1]));

        korvane::platform::SocketAddress foreign;
        foreign.address = 1;
        handler.OnDatagram(client, foreign, datagram.data(), static_cast<std::uint32_t>(length));
        Require(user.byes == model.byes);
    }
    return 0;
}
