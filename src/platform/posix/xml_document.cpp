#include "platform/xml_document.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <pugixml.hpp>

namespace korvane::platform
{

namespace
{

// Texts of white space alone are kept, as a document that preserves white space does.
constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_ws_pcdata;

bool ReadFile(const std::string& path, std::string& bytes)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) // reading a pipe could wait for ever
        return false;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error || size == 0 || size > XmlDocument::kMaxBytes)
        return false;
    std::ifstream file(path, std::ios::binary);
    bytes.resize(static_cast<std::size_t>(size));
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(file.gcount())); // it may have been cut in between
    return !bytes.empty();
}

/// Walks without recursion, since the depth is not known yet.
struct DepthLimit : pugi::xml_tree_walker
{
    bool for_each(pugi::xml_node&) override { return depth() < static_cast<int>(XmlDocument::kMaxDepth); }
};

bool IsTooDeep(pugi::xml_document& document)
{
    DepthLimit limit;
    return !document.traverse(limit);
}

bool HasOneRootElement(const pugi::xml_document& document)
{
    return std::count_if(document.begin(), document.end(),
                         [](const pugi::xml_node& node) { return node.type() == pugi::node_element; }) == 1;
}

/// The nodes selected, in document order; none also for an expression that is broken.
pugi::xpath_node_set Select(const pugi::xml_document& document, const std::string& xpath)
{
    try
    {
        pugi::xpath_node_set found = document.select_nodes(xpath.c_str());
        found.sort();
        return found;
    }
    catch (const pugi::xpath_exception&)
    {
        return {};
    }
}

} // namespace

struct XmlDocument::Tree
{
    std::string bytes; // which the document refers to
    pugi::xml_document document;
};

XmlDocument::XmlDocument() : tree_(std::make_unique<Tree>()) {}

XmlDocument::~XmlDocument() = default;

bool XmlDocument::Load(const std::string& path)
{
    std::string& bytes = tree_->bytes;
    const bool isLoaded = ReadFile(path, bytes) &&
                          tree_->document.load_buffer_inplace(bytes.data(), bytes.size(), kParseOptions) &&
                          !IsTooDeep(tree_->document) && HasOneRootElement(tree_->document);
    if (!isLoaded)
        tree_->document.reset(); // a broken file leaves a part of its tree
    return isLoaded;
}

bool XmlDocument::IsTooLarge(const std::string& path)
{
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) &&
           std::filesystem::file_size(path, error) > kMaxBytes && !error;
}

bool XmlDocument::HasNode(const std::string& xpath) const
{
    return !Select(tree_->document, xpath).empty();
}

std::string XmlDocument::FirstChildText(const std::string& xpath) const
{
    const pugi::xpath_node found = Select(tree_->document, xpath).first();
    const pugi::xpath_node text = found.attribute() ? found : found.node().first_child();
    return pugi::xpath_query("string()").evaluate_string(text);
}

std::string XmlDocument::Attribute(const std::string& xpath, const std::string& name) const
{
    return Select(tree_->document, xpath).first().node().attribute(name.c_str()).value();
}

std::vector<std::string> XmlDocument::Attributes(const std::string& xpath, const std::string& name) const
{
    std::vector<std::string> values;
    for (const pugi::xpath_node& node : Select(tree_->document, xpath))
    {
        if (const pugi::xml_attribute attribute = node.node().attribute(name.c_str()))
            values.emplace_back(attribute.value());
    }
    return values;
}

std::string XmlDocument::Literal(const std::string& value)
{
    if (value.find('"') == std::string::npos)
        return "\"" + value + "\"";
    // XPath 1.0 has no escape: pieces without double quotes, and double quotes in single ones, put together.
    std::string pieces = "\"";
    for (const char character : value)
        pieces += character == '"' ? std::string("\",'\"',\"") : std::string(1, character);
    return "concat(" + pieces + "\")";
}

} // namespace korvane::platform
