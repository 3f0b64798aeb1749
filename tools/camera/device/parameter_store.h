#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace larkmoor::camera
{

/// The parameters of a device: keys with values, read and changed over CGI. Any thread.
///
/// A key is a path of words with "_" between them (or "." in older firmware), and any head of that path names
/// the group of all keys below it.
class ParameterStore
{
public:
    using Item = std::pair<std::string, std::string>;
    using Items = std::vector<Item>;

    /// Called after values changed, with the keys whose value is another one now, on the thread that changed
    /// them and without a lock held.
    using Listener = std::function<void(const std::vector<std::string>&)>;

    /// Makes `key` known, with its value and the rule for new values: "" read-only, "*" any text, "a|b"
    /// choices, "1..30" whole numbers, "{other}" one of the words, with "," between them, of the value of the
    /// key `other`.
    void Define(const std::string& key, const std::string& value, const std::string& rule);

    /// The value, or "" for an unknown key.
    std::string Get(std::string_view key) const;

    /// The value as a whole number, `fallback` if it is not one or the key is unknown.
    std::uint32_t GetNumber(std::string_view key, std::uint32_t fallback) const;

    bool Has(std::string_view key) const;

    /// Has Line and Read tell values without the quotes, as older firmware does.
    void LeaveOutQuotes() { quote_ = ""; }

    /// The line of an answer that tells a value, `key='value'` CR LF.
    std::string Line(const std::string& key, const std::string& value) const
    {
        return key + "=" + quote_ + value + quote_ + "\r\n";
    }

    /// The answer to a read request: a line for each key that `query`, names of keys or
    /// groups with "&" between them, asks for; all of them for an empty query, nothing for unknown names.
    std::string Read(std::string_view query) const;

    /// Changes values as a client may: all items if each obeys its rule, else none. Gives the items that were
    /// refused, empty when all were taken.
    Items Change(const Items& items);

    /// Changes one value as the device itself does, whatever its rule says. An unknown key stays unknown.
    void Put(std::string_view key, const std::string& value);

    /// Adds a listener for as long as the store lives, unless it is taken back by its number.
    std::uint32_t AddListener(Listener listener);

    /// When it returns, no call of that listener is under way and none will come. Not from within a listener.
    void RemoveListener(std::uint32_t number);

private:
    struct Parameter
    {
        std::string value;
        std::string rule;
    };

    bool Allows(const Parameter& parameter, const std::string& value) const;
    void Notify(const std::vector<std::string>& keys);

    const char* quote_ = "'"; // set before anything is served
    mutable std::mutex lock_; // guards the parameters
    std::recursive_mutex
        calling_; // guards the listeners and their calls; taken before lock_, never behind it
    std::map<std::string, Parameter, std::less<>> parameters_;
    std::map<std::uint32_t, Listener> listeners_;
    std::uint32_t lastListener_ = 0;
};

/// The items of a query string: "key=value" with "&" between them, percent escapes (RFC 3986) and "+" undone.
/// An item without "=" has an empty value; empty items are left out.
ParameterStore::Items ParseQuery(std::string_view query);

} // namespace larkmoor::camera
