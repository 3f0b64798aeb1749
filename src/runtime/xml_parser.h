#pragma once

#include "platform/xml_document.h"
#include "runtime/recursive_lock.h"

#include <memory>
#include <string>
#include <vector>

namespace korvane
{

/// Reads one XML file by XPath 1.0 expressions. Any thread; the lock is held for one operation. Nothing
/// throws: without an open file, and for an expression that finds nothing, the results are empty or false.
/// Parsers that open a file at the same time share what is read, which is never older than their own call.
class CXMLParser
{
public:
    /// False when the file is missing or broken, or a file is open already. The debug channel is told of one
    /// that is too large.
    bool Open(const std::string& path);
    void Close();

    bool HasNode(const std::string& xpath) const;
    std::string GetText(const std::string& xpath) const; ///< of the first child of the first node selected

    /// Of the first node selected.
    std::string GetAttribute(const std::string& xpath, const std::string& name) const;

    /// Of every node selected that has the attribute, in document order.
    std::vector<std::string> GetAttributeList(const std::string& xpath, const std::string& name) const;

    /// These look for `primary` + "/" + `key`, and when that gives nothing, for `fallback` + "/" + `key`. A
    /// key that begins with "/" is thereby found at any depth. An empty path is passed over; an empty key
    /// gives nothing.
    bool HasKey(const std::string& primary, const std::string& fallback, const std::string& key) const;
    std::string ReadText(const std::string& primary, const std::string& fallback,
                         const std::string& key) const;
    std::string ReadAttribute(const std::string& primary, const std::string& fallback, const std::string& key,
                              const std::string& name) const;
    std::vector<std::string> ReadAttributeList(const std::string& primary, const std::string& fallback,
                                               const std::string& key, const std::string& name) const;

private:
    template <class Ask>
    auto IfOpen(const Ask& ask) const;

    mutable CRecursiveLock lock_;                           // guards what follows
    std::shared_ptr<const platform::XmlDocument> document_; // of the open file
};

} // namespace korvane
