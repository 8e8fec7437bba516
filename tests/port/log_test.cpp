// How much of the log a peer gets.
#include "linux/log/log_share.h"

#include <sys/mount.h>

#include <algorithm>
#include <iterator>

#include "linux/base/device_notes.h"
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
        DeviceNotes notes;
        LogOptions options;
        options.file = directory / "device.log";
        options.target = LogTarget::NONE;
        LinuxLog::Get().Open(options, notes);
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

// Prints, on a disk of 1 MiB, more than that, then until the disk is full, then when there is room again.
[[noreturn]] void PrintOnASmallDisk(const fs::path& disk) {
    constexpr LogDomain DOMAIN{1, "Test"};
    LogOptions options;
    options.file = disk / "device.log";
    options.target = LogTarget::NONE;
    LinuxLog& log = LinuxLog::Get();
    DeviceNotes notes;
    log.Open(options, notes);
    const auto print = [&](const std::string& text, int times) {
        for (int i = 0; i < times; ++i) {
            LogPrint(LogType::CORE, LogLevel::INFO, DOMAIN, "%{public}s", text);
            log.Flush();
        }
    };
    print(std::string(900, 'x'), 1500);
    print("the latest", 1);
    fs::copy_file(options.file, disk / "seen");
    std::ofstream(disk / "sizes") << fs::file_size(options.file) + fs::file_size(disk / "device.log.1");
    fs::resize_file(options.file, 0);
    fs::remove(disk / "device.log.1");
    while (std::ofstream(disk / "filler", std::ios::app) << std::string(4096, 'f') << std::flush) {
    }
    print(std::string(900, 'x'), 10);
    const auto isNoted = [&] {
        const std::vector<DeviceNotes::Note> all = notes.All();
        return std::any_of(all.begin(), all.end(), [](const auto& note) { return note.kind == "log"; });
    };
    const bool wasNoted = isNoted();
    fs::remove(disk / "filler");
    print("room again", 1);
    log.Close();
    std::_Exit(wasNoted && !isNoted() ? 0 : 1);
}

TEST_F(Log, LeavesRoomOnTheDiskAndSaysHowManyLinesWereLost) {
    const fs::path disk = directory / "disk";
    fs::create_directory(disk);
    if (mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=1m") != 0) {
        GTEST_SKIP() << "only root can mount a small disk";
    }
    EXPECT_EXIT(PrintOnASmallDisk(disk), ::testing::ExitedWithCode(0), "");
    const auto read = [&](const char* name) {
        std::ifstream file(disk / name);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    const size_t size = std::strtoul(read("sizes").c_str(), nullptr, 10);
    const std::string seen = read("seen");
    const std::string last = read("device.log");
    umount2(disk.c_str(), MNT_DETACH);
    EXPECT_LE(size, 1024U * 1024U / 4);
    EXPECT_GE(size, 1024U * 1024U / 10);
    EXPECT_THAT(seen, HasSubstr("the latest"));
    EXPECT_THAT(last, ::testing::ContainsRegex("W Log: [0-9]+ lines were lost: no room on the disk"));
    EXPECT_THAT(last, ::testing::EndsWith("room again\n"));
}

}  // namespace
}  // namespace ZYNE::Linux
