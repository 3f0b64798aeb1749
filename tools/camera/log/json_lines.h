#pragma once

#include <fstream>
#include <mutex>
#include <string>
#include <string_view>

namespace larkmoor::camera
{

/// A text file that gets one JSON object (RFC 8259) a line. Any thread; each line is whole and in the file
/// when Write returns, so that whoever follows the file sees it at once.
class JsonLines
{
public:
    /// Makes the file anew. False leaves it closed and says in `error` why.
    [[nodiscard]] bool Open(const std::string& path, std::string& error);

    void Write(const std::string& object);

    /// `text` in double quotes, with everything escaped that has to be; bytes that are not ASCII stand as
    /// \u00XX, so that a line is well-formed whatever a client sent.
    static std::string Quote(std::string_view text);

private:
    std::mutex lock_; // guards the file; innermost
    std::ofstream file_;
};

} // namespace larkmoor::camera
