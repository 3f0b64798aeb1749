#include "runtime/text.h"
#include "support/thread_watch.h"

#include <larkmoor/exports.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

extern "C" int PlainHostRun(const char* library);

namespace korvane
{
namespace
{

const std::string kSource = LARKMOOR_SOURCE_DIR;
const std::string kLibrary = std::string(LARKMOOR_BINARY_DIR) + "/liblarkmoor.so";

/// What a command prints, errors included; `status` is its exit status.
std::string Output(const std::string& command, int& status)
{
    const std::string withErrors = command + " 2>&1";
    FILE* const pipe = popen(withErrors.c_str(), "r");
    std::string text;
    std::array<char, 4096> block{};
    for (std::size_t count = 0; (count = std::fread(block.data(), 1, block.size(), pipe)) > 0;)
        text.append(block.data(), count);
    status = pclose(pipe);
    return text;
}

std::string FileText(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> Headers()
{
    std::vector<std::string> headers;
    for (const auto& entry : std::filesystem::directory_iterator(kSource + "/include/larkmoor"))
        headers.push_back(entry.path().string());
    std::sort(headers.begin(), headers.end());
    return headers;
}

TEST(Contract, EachHeaderCompilesAlone)
{
    const std::vector<std::string> headers = Headers();
    ASSERT_GE(headers.size(), 13u);
    for (const char* compiler : {"g++", "clang++"})
    {
        for (const std::string& header : headers)
        {
            int status = 0;
            const std::string printed =
                Output(std::string(compiler) +
                           " -std=c++11 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror "
                           "-fsyntax-only -I" +
                           kSource + "/include -x c++ -include " + header + " /dev/null",
                       status);
            EXPECT_EQ(status, 0) << compiler << " " << header << "\n" << printed;
        }
    }
}

/// The tables of virtual functions as clang prints them for the host's compiler family, one line per slot.
std::string SlotTables()
{
    int status = 0;
    const std::string dump = Output("clang++ --target=i686-pc-windows-msvc -std=c++20 -nostdinc -isystem " +
                                        kSource + "/tests/contract/msvc -I" + kSource +
                                        "/include -Xclang -fdump-vtable-layouts -S -emit-llvm -o /dev/null " +
                                        kSource + "/tests/contract/slots.cpp",
                                    status);
    EXPECT_EQ(status, 0) << dump;

    // "VFTable for 'Base' in 'Derived' (n entries)." and then "  2 | type
    // korvane::ipcapture::Class::Name(...) [pure]".
    std::string tables;
    std::istringstream lines(dump);
    bool inTable = false;
    for (std::string line; std::getline(lines, line);)
    {
        if (line.starts_with("VFTable for "))
        {
            inTable = true;
            const std::size_t end = line.rfind('\'');
            const std::size_t start = line.rfind('\'', end - 1) + 1;
            tables += line.substr(start, end - start) + "\n";
        }
        else if (line.find('|') == std::string::npos)
            inTable = false;
        else if (inTable && line.find(" RTTI") == std::string::npos)
            tables += "    " + line.substr(line.find('|') + 2) + "\n";
    }
    for (const char* dropped : {"korvane::ipcapture::", "std::", " [pure]"})
        tables = Utils::ReplaceAll(tables, dropped, "");
    return tables;
}

/// The names of the interfaces that a header defines.
std::vector<std::string> InterfacesOf(const std::string& header)
{
    std::vector<std::string> names;
    std::istringstream lines(FileText(header));
    for (std::string line; std::getline(lines, line);)
    {
        if (line.starts_with("class "))
            names.push_back(line.substr(6, line.find_first_of(" ;", 6) - 6));
    }
    return names;
}

TEST(Contract, EachInterfaceHasItsSlotsInOrder)
{
    const std::string tables = SlotTables();
    EXPECT_EQ(tables, FileText(kSource + "/tests/contract/slots.golden"));
    for (const std::string& header : Headers())
    {
        for (const std::string& name : InterfacesOf(header))
            EXPECT_NE(("\n" + tables).find("\n" + name + "\n    "), std::string::npos)
                << name << " of " << header << " has no table";
    }
}

TEST(Contract, TheLibraryShowsSixteenNames)
{
    int status = 0;
    const std::string printed = Output("nm -D --defined-only " + kLibrary, status);
    ASSERT_EQ(status, 0) << printed;
    std::set<std::string> names;
    std::istringstream lines(printed);
    for (std::string address, type, name; lines >> address >> type >> name;)
        names.insert(name);
    const std::set<std::string> expected = {
        "CreateIPCapture",      "CreateIPCaptureEx",           "CreateIPCaptureEx2",
        "CreateIPCaptureEx3",   "CreateIPCaptureEx4",          "DeleteIPCapture",
        "DeleteIPCaptureEx",    "DeleteIPCaptureEx2",          "DeleteIPCaptureEx3",
        "DeleteIPCaptureEx4",   "CreateCapabilityQueryModule", "DeleteCapabilityQueryModule",
        "InitCapabilityQuery",  "StartCapabilityQuery",        "TerminateCapabilityQuery",
        "UninitCapabilityQuery"};
    EXPECT_EQ(names, expected);
}

TEST(Contract, APlainHostCanUseTheLibraryWithoutATrace)
{
    ASSERT_EQ(PlainHostRun(kLibrary.c_str()), 0); // what the system's loader keeps for good is there now
    const int before = test::CountOpenDescriptors();
    for (int round = 0; round < 100; ++round)
    {
        ASSERT_EQ(dlopen(kLibrary.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr)
            << "still loaded, round " << round;
        ASSERT_EQ(PlainHostRun(kLibrary.c_str()), 0);
    }
    EXPECT_EQ(test::CountOpenDescriptors(), before);
}

} // namespace
} // namespace korvane
