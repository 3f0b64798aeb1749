#include "runtime/xml_parser.h"

namespace korvane
{

namespace
{

/// What `read` gives for the first of the two paths that gives anything.
template <typename Read>
auto ReadEither(const std::string& primary, const std::string& fallback, const std::string& key,
                const Read& read) -> decltype(read(key))
{
    decltype(read(key)) result{};
    if (key.empty())
        return result;
    for (const std::string* path : {&primary, &fallback})
    {
        if (!path->empty())
            result = read(*path + "/" + key);
        if (result != decltype(result){})
            break;
    }
    return result;
}

} // namespace

CXMLParser::~CXMLParser()
{
    Close();
}

bool CXMLParser::Open(const std::string& path)
{
    const CLockGuard guard(lock_);
    if (path.empty() || isOpen_)
        return false;
    auto document = std::make_unique<platform::XmlDocument>();
    if (!document->Load(path))
        return false;
    document_ = std::move(document);
    path_ = path;
    isOpen_ = true;
    return true;
}

void CXMLParser::Close()
{
    const CLockGuard guard(lock_);
    document_.reset();
    path_.clear();
    isOpen_ = false;
}

bool CXMLParser::HasNode(const std::string& xpath) const
{
    const CLockGuard guard(lock_);
    return isOpen_ && document_->HasNode(xpath);
}

std::string CXMLParser::GetText(const std::string& xpath) const
{
    const CLockGuard guard(lock_);
    return isOpen_ ? document_->FirstChildText(xpath) : std::string();
}

std::string CXMLParser::GetAttribute(const std::string& xpath, const std::string& name) const
{
    const CLockGuard guard(lock_);
    return isOpen_ ? document_->Attribute(xpath, name) : std::string();
}

std::vector<std::string> CXMLParser::GetAttributeList(const std::string& xpath, const std::string& name) const
{
    const CLockGuard guard(lock_);
    return isOpen_ ? document_->Attributes(xpath, name) : std::vector<std::string>();
}

bool CXMLParser::HasKey(const std::string& primary, const std::string& fallback, const std::string& key) const
{
    return ReadEither(primary, fallback, key, [this](const std::string& xpath) { return HasNode(xpath); });
}

std::string CXMLParser::ReadText(const std::string& primary, const std::string& fallback,
                                 const std::string& key) const
{
    return ReadEither(primary, fallback, key, [this](const std::string& xpath) { return GetText(xpath); });
}

std::string CXMLParser::ReadAttribute(const std::string& primary, const std::string& fallback,
                                      const std::string& key, const std::string& name) const
{
    return ReadEither(primary, fallback, key,
                      [&](const std::string& xpath) { return GetAttribute(xpath, name); });
}

std::vector<std::string> CXMLParser::ReadAttributeList(const std::string& primary,
                                                       const std::string& fallback, const std::string& key,
                                                       const std::string& name) const
{
    return ReadEither(primary, fallback, key,
                      [&](const std::string& xpath) { return GetAttributeList(xpath, name); });
}

} // namespace korvane
