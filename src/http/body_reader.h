#pragma once

#include "platform/http_service.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace Web
{

/// Reads a whole body in blocks. `storedRequest` gives the request to read from, or null once it was closed;
/// it is asked before each wait, since another thread may close the request at any time.
template <typename StoredRequest>
std::uint32_t ReadWholeBody(std::vector<std::uint8_t>& buffer, const StoredRequest& storedRequest)
{
    constexpr std::uint32_t kMaxBytes = 0x10000000; // 256 MiB; no answer of a camera comes near it
    constexpr std::uint32_t kBlockBytes = 10240;

    const auto available = [&]
    {
        std::uint32_t count = 0;
        const auto request = storedRequest();
        return request && request->BytesAvailable(count) == korvane::platform::HttpError::kNone ? count : 0u;
    };
    buffer.clear();
    std::uint32_t total = 0;
    std::uint32_t waiting = available();
    while (waiting != 0 && total < kMaxBytes)
    {
        const std::uint32_t block = std::min(waiting, kBlockBytes);
        buffer.resize(total + block);
        std::uint32_t count = 0;
        if (const auto request = storedRequest())
            request->Read(buffer.data() + total, block, count);
        total += count;
        waiting = available();
    }
    return total;
}

} // namespace Web
