#include "runtime/logger_instance.h"

#include "support/fake_driver.h"

#include <gtest/gtest.h>

#include <thread>

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

TEST(LoggerInstance, HoldsNobodyUpWhileTheLogStalls)
{
    struct StallingSink final : IDebugMessage
    {
        std::string GetDeviceName() const override { return ""; }
        [[gnu::format(printf, 3, 4)]] void DebugMessage(std::int32_t, const char*, ...) override
        {
            if (calls.fetch_add(1) == 0)
                release.Wait(kWaitForever);
            else
                release.Set(); // a second line comes through while the first one is stuck
        }
        std::atomic<int> calls{0};
        CManualEvent release;
    } sink;
    CLoggerInstance logger(&sink);
    std::thread stuck([&] { logger.Message(kLevelError, "first"); });
    while (sink.calls == 0)
        std::this_thread::yield();
    std::thread second([&] { logger.Message(kLevelError, "second"); });
    EXPECT_TRUE(sink.release.Wait(test::kPatienceMs));
    sink.release.Set();
    stuck.join();
    second.join();
}

TEST(LoggerInstance, ThinsOutTextsThatDiffer)
{
    test::FakeDriver driver;
    CLoggerInstance logger(&driver);
    const auto tell = [&](int count)
    {
        const std::size_t before = driver.Messages().size();
        for (int number = 1; number <= count; ++number)
            logger.Message(kLevelError, "%d", number);
        std::vector<int> passed;
        for (const std::string& text : driver.Texts(kLevelError))
            passed.push_back(std::stoi(text));
        passed.erase(passed.begin(), passed.begin() + static_cast<std::ptrdiff_t>(before));
        return passed;
    };
    std::vector<int> expected;
    for (int number = 1, step = 1; number <= 80000; number += step)
    {
        if (number == 15) // from here on only each 16th, then each 256th and each 4096th
            number = step = 16;
        else if (number == 256 || number == 4096)
            step = number;
        expected.push_back(number); // 65535 fell back to 4095, so 65536 counts as 4096
    }
    EXPECT_EQ(tell(80000), expected);
    logger.Reset();
    EXPECT_EQ(tell(15).size(), 14u);
}

} // namespace
} // namespace korvane
