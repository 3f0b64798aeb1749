// The responses of one session, each behind a byte that chooses the method and cut from the next by a zero.

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "require.h"
#include "transport/rtsp_response_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::string_view kMethods[] = {"DESCRIBE", "SETUP", "PLAY", "OPTIONS"};
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    korvane::CRTSPResponseParser parser;
    const korvane::RTSPResponse& response = parser.Response();

    while (!rest.empty())
    {
        const std::string_view method = kMethods[static_cast<unsigned char>(rest.front()) % 4];
        const std::string_view text = rest.substr(1, rest.find('\0', 1) - 1);
        rest.remove_prefix(std::min(rest.size(), text.size() + 2));

        korvane::CRTSPResponseParser other = parser;
        const bool passed = parser.Parse(method, text);
        if (passed)
            Require(response.status == 200 || response.status == 401);
        Require(response.protocol.size() <= 128 && response.contentType.size() <= 256);
        Require(response.contentBase.empty() || response.contentBase.size() >= 7);
        Require(response.session.find_first_of(";\r\n") == std::string::npos);
        Require((response.realm + response.nonce).find_first_of("\",\r\n") == std::string::npos);
        Require(response.challengeScheme <= korvane::RTSPResponse::kDigest);
        if (method != "DESCRIBE")
        {
            // The same response without a body says the same.
            const std::size_t end = text.find("\r\n\r\n");
            if (end != std::string_view::npos)
                Require(other.Parse(method, text.substr(0, end + 4)) == passed);
        }
    }

    parser.Reset();
    Require(response.cseq == 0 && response.session.empty() && response.description.video.control.empty());
    return 0;
}
