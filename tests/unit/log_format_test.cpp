#include "plugin/utils/log.h"
#include "tests/support/simulated_device.h"

namespace ZYNE {
namespace {

constexpr LogDomain LOG = CollaborationFwk::LogDomains::DEVICE_DETECT;

class LogLine : public Testing::LibraryTest {};

TEST_F(LogLine, TakesEachArgumentByItsOwnTypeAndTheConversionsSign) {
    enum class Colour : uint8_t { RED = 200 };
    const std::string text("a\0b", 3);
    const char* none = nullptr;
    CFWK_LOGI(LOG, "%{public}d %{public}u %{public}ud %{public}lu %{public}x", uint32_t{4294967295}, -1, true,
        uint64_t{18446744073709551615U}, uint8_t{255});
    CFWK_LOGI(LOG, "%{public}d %{public}d %{public}d %{public}f", INT64_MIN, Colour::RED, int8_t{-128}, 0.5);
    CFWK_LOGI(LOG, "%{public}s|{%{public}s}|%{public}s|%{public}s", text, "literal", none, std::string_view("view"));
    CFWK_LOGI(LOG, "100% {d} %d %s %{} %");
    EXPECT_THAT(device.journal.Lines(),
        ElementsAre("I DeviceDetect: -1 4294967295 1d 18446744073709551615 ff",
            "I DeviceDetect: -9223372036854775808 -56 -128 0.500000",
            "I DeviceDetect: " + text + "|{literal}|(null)|view", "I DeviceDetect: 100% {d} %d %s %{} %"));
}

TEST_F(LogLine, HasTypeDomainAndAHeadOfBareFileLineAndFunction) {
    using namespace CollaborationFwk;
    std::vector<std::pair<uint32_t, std::string>> domains;
    for (const LogDomain& domain : {LogDomains::CFWK_SERVICE, LogDomains::CFWK_CALLBACK, LogDomains::DEVICE_DETECT,
             LogDomains::COLLECTION, LogDomains::DETECT, LogDomains::DATASHARE}) {
        CFWK_LOGI(domain, "text");
        const int line = __LINE__ - 1;
        const Testing::Journal::Entry entry = device.journal.Entries().back();
        EXPECT_EQ(static_cast<int>(entry.type), 3);
        EXPECT_EQ(entry.place, "log_format_test.cpp:" + std::to_string(line));
        EXPECT_EQ(entry.function, "TestBody");
        domains.emplace_back(entry.domain.id, entry.domain.tag);
    }
    EXPECT_THAT(domains,
        ElementsAre(std::pair(0xD004615, "CFWKService"), std::pair(0xD004616, "CFWKCallback"),
            std::pair(0xD004617, "DeviceDetect"), std::pair(0xD00461B, "Collection"), std::pair(0xD00461C, "Detect"),
            std::pair(0xD00461D, "Datashare")));
    CFWK_LOGW(LOG, "warning");
    EXPECT_EQ(device.journal.Lines().back(), "W DeviceDetect: warning");
}

TEST_F(LogLine, ShowsPrivateValuesAndLowLevelsOnlyWhenThePortSaysSo) {
    for (const bool open : {false, true}) {
        LogService::showPrivate = open;
        LogService::minLevel = open ? LogLevel::DEBUG : LogLevel::WARN;
        CFWK_LOGD(LOG, "debug");
        CFWK_LOGI(LOG, "information");
        CFWK_LOGE(LOG, "%{private}s %{public}s %{private}d", "secret", "%{public}s", 5);
    }
    LogService::showPrivate = false;
    LogService::minLevel = LogLevel::INFO;
    EXPECT_THAT(device.journal.Lines(),
        ElementsAre("E DeviceDetect: <private> %{public}s <private>", "D DeviceDetect: debug",
            "I DeviceDetect: information", "E DeviceDetect: secret %{public}s 5"));
}

}  // namespace
}  // namespace ZYNE
