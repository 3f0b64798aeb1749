#pragma once

#include <memory>
#include <string>
#include <vector>

namespace korvane::platform
{

/// An XML file in memory, asked by XPath 1.0 expressions, by several threads at once when it is loaded. No
/// operation throws: an expression that is broken, or that gives no nodes, finds nothing.
///
/// White space in texts and attributes is kept; comments and processing instructions don't count; entities
/// beyond the five of XML are not expanded. Texts are UTF-8, whatever the file's encoding.
class XmlDocument
{
public:
    static constexpr std::size_t kMaxBytes = 16 * 1024 * 1024; ///< of a file; 1500 devices take some 1 MiB
    static constexpr std::size_t kMaxDepth = 64;               ///< of elements in each other

    XmlDocument();
    ~XmlDocument();

    /// False, and nothing is there, for a file that can't be read, isn't well-formed, or is too large or too
    /// deep.
    bool Load(const std::string& path);

    static bool IsTooLarge(const std::string& path); ///< false also for what is not a file

    bool HasNode(const std::string& xpath) const;

    /// The text of the first child of the first node selected; empty when there is none.
    std::string FirstChildText(const std::string& xpath) const;

    /// The attribute of the first node selected; empty when there is none.
    std::string Attribute(const std::string& xpath, const std::string& name) const;

    /// The attribute of each node selected that has it, in document order.
    std::vector<std::string> Attributes(const std::string& xpath, const std::string& name) const;

    /// `value` as a string in an expression, whatever quotes it holds.
    static std::string Literal(const std::string& value);

private:
    struct Tree;
    std::unique_ptr<Tree> tree_;
};

} // namespace korvane::platform
