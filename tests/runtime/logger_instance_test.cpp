#include "runtime/logger_instance.h"

#include "support/fake_driver.h"

#include <gtest/gtest.h>

#include <set>

namespace korvane
{
namespace
{

TEST(LoggerInstance, DropsATextThatRepeats)
{
    test::FakeDriver driver;
    CLoggerInstance logger(&driver);
    for (int i = 0; i < 3; ++i)
        logger.Message(kLevelWarning, "lost %d%%", 5);
    logger.Message(kLevelError, "%s", "");
    logger.Message(kLevelError, "%s", "other");
    logger.Message(kLevelWarning, "lost %d%%", 5);
    const std::vector<test::MessageRecord> expected = {{2, "lost 5%"}, {1, "other"}, {2, "lost 5%"}};
    EXPECT_EQ(driver.Messages(), expected); // and a "%" in the finished text is no directive

    logger.Reset();
    logger.Message(kLevelWarning, "lost %d%%", 5);
    EXPECT_EQ(driver.Messages().size(), 4u);
}

class CountingSink final : public IDebugMessage
{
public:
    std::string GetDeviceName() const override { return std::string(); }
    [[gnu::format(printf, 3, 4)]] void DebugMessage(std::int32_t, const char*, ...) override { ++count; }

    int count = 0;
};

TEST(LoggerInstance, ThinsOutTextsThatDiffer)
{
    CountingSink sink;
    CLoggerInstance logger(&sink);
    std::set<int> passed;
    for (int number = 1; number <= 80000; ++number)
    {
        const int before = sink.count;
        logger.Message(kLevelError, "failure %d", number);
        if (sink.count != before)
            passed.insert(number);
    }

    std::set<int> expected;
    for (int number = 1; number <= 14; ++number)
        expected.insert(number);
    for (int number = 16; number < 255; number += 16)
        expected.insert(number);
    for (int number = 256; number < 4095; number += 256)
        expected.insert(number);
    for (int number = 4096; number < 65535; number += 4096)
        expected.insert(number);
    expected.insert(65536); // 65535 fell back to 4095, so this one counts as 4096
    expected.insert({69632, 73728, 77824});
    EXPECT_EQ(passed, expected);

    logger.Reset();
    const int before = sink.count;
    for (int number = 0; number < 15; ++number)
        logger.Message(kLevelError, "failure %d", number);
    EXPECT_EQ(sink.count, before + 14);
}

} // namespace
} // namespace korvane
