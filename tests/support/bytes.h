#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace korvane::test
{

using Bytes = std::vector<std::uint8_t>;

inline Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// "00ff" and so on, two digits a byte.
inline Bytes FromHex(const std::string& hex)
{
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

} // namespace korvane::test
