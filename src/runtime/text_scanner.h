#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace korvane
{

/// Takes one piece after the other off the front of a text, by the rules of the %s and %u of scanf: words and
/// numbers may have blanks and line ends in front. No state but the rest of the text; no lock.
class TextScanner
{
public:
    explicit TextScanner(std::string_view text) : rest_(text) {}

    bool Literal(std::string_view text) ///< false, and nothing is taken, if the rest begins otherwise
    {
        const bool isThere = rest_.starts_with(text);
        Drop(isThere ? text.size() : 0);
        return isThere;
    }

    bool Word(std::string& word, std::size_t maxCharacters) ///< false for an empty one
    {
        SkipSpace();
        word = rest_.substr(0, std::min(rest_.find_first_of(kSpace), maxCharacters));
        Drop(word.size());
        return !word.empty();
    }

    /// Leaves `number` as it was if there is none, `invalid_argument`, or one that `Integer` cannot hold,
    /// `result_out_of_range`; that one is taken all the same.
    template <class Integer>
    std::errc Number(Integer& number)
    {
        SkipSpace();
        const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), number);
        Drop(static_cast<std::size_t>(end - rest_.data()));
        return error;
    }

    void SkipSpace() { Drop(rest_.find_first_not_of(kSpace)); }
    void Drop(std::size_t count)
    {
        rest_.remove_prefix(std::min(count, rest_.size()));
    } ///< so many characters

private:
    static constexpr std::string_view kSpace = " \t\n\v\f\r";

    std::string_view rest_;
};

} // namespace korvane
