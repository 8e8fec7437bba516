// How much of the log a peer gets.
#include "linux/log/log_share.h"

#include "linux/log/linux_log.h"
#include "platform/log/log_print.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

class Log : public PortTest {
protected:
    // Prints 500 lines for a peer and one for the device, and ends the process.
    [[noreturn]] void PrintAndEnd() const {
        constexpr LogDomain DOMAIN{1, "Test"};
        LogOptions options;
        options.file = directory / "device.log";
        options.target = LogTarget::NONE;
        LinuxLog::Get().Open(options);
        {
            const LogShareScope scope(std::make_shared<LogShare>("desk"));
            for (int i = 0; i < 500; ++i) {
                LogPrint(LogType::CORE, LogLevel::ERROR, DOMAIN, "the peer's");
            }
        }
        LogPrint(LogType::CORE, LogLevel::INFO, DOMAIN, "the device's own");
        LinuxLog::Get().Close();
        std::_Exit(0);
    }
};

TEST_F(Log, HasNoMoreOfAPeerThanItsShareAndSaysHowMuchThereWas) {
    EXPECT_EXIT(PrintAndEnd(), ::testing::ExitedWithCode(0), "");
    std::ifstream file(directory / "device.log");
    std::vector<std::string> last(2);
    int ofThePeer = 0;
    for (std::string line; std::getline(file, line); last = {last[1], line}) {
        ofThePeer += line.ends_with("the peer's") ? 1 : 0;
    }
    EXPECT_EQ(ofThePeer, 400);
    EXPECT_THAT(last[0], HasSubstr("I Test: the device's own"));
    EXPECT_THAT(last[1], HasSubstr("W Log: 100 more lines for device desk suppressed"));
}

TEST_F(Log, GivesAPeerNewLinesWhenItsMinuteIsOverAndReportsEachSuppressionOnce) {
    LogShare::Clock::time_point now;
    LogShare share("desk", [&] { return now; });
    const auto takeAll = [&] {
        size_t taken = 0;
        while (share.Take()) {
            ++taken;
        }
        return taken;
    };
    EXPECT_EQ(takeAll(), 400u);
    EXPECT_TRUE(share.WantsReport());
    now += 60s - 1ns;
    EXPECT_FALSE(share.Take());
    EXPECT_FALSE(share.WantsReport());
    now += 1ns;
    EXPECT_EQ(takeAll(), 400u);
    EXPECT_EQ(share.Report(), "3 more lines for device desk suppressed");
    EXPECT_FALSE(share.WantsReport());
    EXPECT_FALSE(share.Take());
    EXPECT_TRUE(share.WantsReport());
}

}  // namespace
}  // namespace ZYNE::Linux
