#include "runtime/xml_parser.h"

#include "platform/host_process.h"
#include "runtime/one_at_a_time.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <new>
#include <utility>

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

using Document = std::shared_ptr<const platform::XmlDocument>;

/// The readers of one file that are there at the same time.
struct Readers
{
    COneAtATime turn; // to use all but the first
    std::atomic<std::uint64_t> arrivals{0};
    std::uint64_t arrivalsAtRead = 0; // when the document began to be read
    Document document;                // null when it can't be read
};

/// By path, for as long as somebody reads it.
struct OpenFiles
{
    CRecursiveLock lock;
    std::map<std::string, std::weak_ptr<Readers>> byPath;
};

/// Never destroyed: a thread of the driver may outlive the destructors of the process. They are in the
/// library's own memory, so that unloading the library leaves nothing behind: they hold nothing by then.
OpenFiles& TheOpenFiles()
{
    alignas(OpenFiles) static std::byte room[sizeof(OpenFiles)];
    static OpenFiles& files = *new (room) OpenFiles;
    return files;
}

std::shared_ptr<Readers> ReadersOf(const std::string& path)
{
    OpenFiles& files = TheOpenFiles();
    const CLockGuard guard(files.lock);
    std::shared_ptr<Readers> readers = files.byPath[path].lock();
    if (readers == nullptr)
        files.byPath[path] = readers = std::make_shared<Readers>();
    return readers;
}

Document Read(const std::string& path)
{
    auto document = std::make_shared<platform::XmlDocument>();
    if (document->Load(path))
        return document;
    if (platform::XmlDocument::IsTooLarge(path))
        platform::WriteDebugText("korvane::CXMLParser::Open: " + path +
                                 " is larger than 16 MiB and not read\r\n");
    return nullptr;
}

// A file of thousands of devices takes some hundred megabytes when it is parsed, and all channels of a server
// start at once. Whoever comes while it is read waits, and then one of them reads it anew for all of them.
Document ReadShared(const std::string& path)
{
    std::shared_ptr<Readers> readers = ReadersOf(path);
    Document document;
    {
        const std::uint64_t arrival = ++readers->arrivals;
        const COneAtATime::Turn turn(readers->turn);
        if (readers->arrivalsAtRead < arrival)
        {
            readers->arrivalsAtRead = readers->arrivals;
            readers->document = nullptr;
            readers->document = Read(path);
        }
        document = readers->document;
    }
    readers.reset();
    const CLockGuard guard(TheOpenFiles().lock);
    std::erase_if(TheOpenFiles().byPath, [](const auto& file) { return file.second.expired(); });
    return document;
}

} // namespace

bool CXMLParser::Open(const std::string& path)
{
    Document document = path.empty() ? nullptr : ReadShared(path);
    const CLockGuard guard(lock_);
    if (document == nullptr || document_ != nullptr)
        return false;
    document_ = std::move(document);
    return true;
}

void CXMLParser::Close()
{
    const CLockGuard guard(lock_);
    document_.reset();
}

// What `ask` gives for the open file; else nothing.
template <class Ask>
auto CXMLParser::IfOpen(const Ask& ask) const
{
    const CLockGuard guard(lock_);
    return document_ == nullptr ? decltype(ask(*document_)){} : ask(*document_);
}

bool CXMLParser::HasNode(const std::string& xpath) const
{
    return IfOpen([&](const platform::XmlDocument& file) { return file.HasNode(xpath); });
}

std::string CXMLParser::GetText(const std::string& xpath) const
{
    return IfOpen([&](const platform::XmlDocument& file) { return file.FirstChildText(xpath); });
}

std::string CXMLParser::GetAttribute(const std::string& xpath, const std::string& name) const
{
    return IfOpen([&](const platform::XmlDocument& file) { return file.Attribute(xpath, name); });
}

std::vector<std::string> CXMLParser::GetAttributeList(const std::string& xpath, const std::string& name) const
{
    return IfOpen([&](const platform::XmlDocument& file) { return file.Attributes(xpath, name); });
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
