// The key and value reader over any text. The input's first line holds the key, the assignment and the
// separators, cut by tabs; the rest is the text.

#include "runtime/param_text.h"

#include <cstdlib>
#include <string_view>

using namespace korvane::Utils;

namespace
{

std::string_view Cut(std::string_view& text, char delimiter)
{
    const std::string_view head = text.substr(0, text.find(delimiter));
    text.remove_prefix(std::min(head.size() + 1, text.size()));
    return head;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string_view text(reinterpret_cast<const char*>(data), size);
    std::string_view arguments = Cut(text, '\n');
    const std::string_view key = Cut(arguments, '\t');
    const std::string_view assign = Cut(arguments, '\t');
    const std::string_view separators = arguments;

    const std::string value = GetParamValue(text, key, assign, separators);
    if (value.find_first_of(separators) != std::string::npos)
        std::abort(); // a value ends at the first separator
    if (!value.empty() && text.find(std::string(assign) + value) == std::string_view::npos)
        std::abort(); // a value is a piece of the text, right behind an assignment
    for (const std::string& piece : GetParamList(text, key, assign, ",", separators))
    {
        if (piece.empty() || piece.find(',') != std::string::npos)
            std::abort();
    }
    if (!MakeParamChange(value, text, key, assign, separators).empty())
        std::abort(); // setting what is there already is no change
    if (GetParamUInt(text, key, assign, separators) != 0 && value.empty())
        std::abort();

    // A text that is appended behind a separator never hides the first hit.
    if (!value.empty())
    {
        std::string longer(text);
        longer += separators[0];
        if (GetParamValue(longer += text, key, assign, separators) != value)
            std::abort();
    }
    return 0;
}
