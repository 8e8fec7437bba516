#include "plugin/utils/json_utils.h"

#include <climits>

#include "plugin/utils/log.h"
#include "plugin/utils/string_utils.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

TEST(JsonText, IsParsedWholeOrLeavesNull) {
    const auto nested = [](size_t levels) {
        return std::string(levels, '[') + std::string(levels, ']');
    };
    const std::vector<std::pair<std::string, bool>> texts{{R"({"a":1})", true}, {"5", true}, {"[\"\xff\"]", true},
        {"/* a */ {} b", true}, {"{'a':1}", false}, {nested(1000), true}, {nested(1001), false},
        {std::string(100000, '['), false}, {"", false}, {" \n", false}, {R"({"a":[1,{"b":)", false}};
    for (const auto& [text, accepted] : texts) {
        Json::Value value("what was there before");
        EXPECT_EQ(JsonUtils::StringToJsonInternal(text, &value), accepted) << text;
        EXPECT_EQ(value.isNull(), !accepted) << text;
    }
}

TEST(JsonMember, IsReadOnlyWhenItHasTheTypeAndElseLeavesTheOutputAlone) {
    Json::Value object;
    ASSERT_TRUE(JsonUtils::StringToJsonInternal(
        R"({"int":-7,"whole":1.0,"big":2147483648,"half":1.5,"true":true,"text":"x","":"unnamed","null":null})",
        &object));
    int number = 99;
    std::string text = "kept";
    for (const char* key : {"big", "half", "true", "text", "null", "missing", ""}) {
        EXPECT_FALSE(JsonUtils::GetInt(object, key, number)) << key;
    }
    for (const char* key : {"int", "true", "null", "missing", ""}) {
        EXPECT_FALSE(JsonUtils::GetString(object, key, text)) << key;
    }
    for (Json::Value other : {Json::Value("int"), Json::Value(Json::arrayValue), Json::Value()}) {
        EXPECT_FALSE(JsonUtils::GetInt(other, "int", number) || JsonUtils::GetString(other, "text", text));
    }
    EXPECT_EQ(number, 99);
    EXPECT_EQ(text, "kept");
    EXPECT_TRUE(JsonUtils::GetInt(object, "int", number) && number == -7);
    EXPECT_TRUE(JsonUtils::GetInt(object, "whole", number) && number == 1);
    EXPECT_TRUE(JsonUtils::GetString(object, "text", text) && text == "x");
}

class WholeNumber : public Testing::LibraryTest {};

TEST_F(WholeNumber, IsTheWholeTextInItsBaseWithinTheRangeOfALong) {
    EXPECT_EQ(StringUtils::GetResult("0x1f", 16), std::pair(true, 31L));
    EXPECT_EQ(StringUtils::GetResult("FFFFFFFF", 16), std::pair(true, 4294967295L));
    EXPECT_EQ(StringUtils::GetResult(std::to_string(LONG_MIN), 10), std::pair(true, LONG_MIN));
    EXPECT_TRUE(device.journal.Lines().empty());

    const std::vector<std::pair<std::string, int>> bad{{"1G", 16}, {"10 ", 10}, {"x", 10}, {"5", 1},
        {std::string("12\0zz", 5), 10}, {std::string("\0zz", 3), 10}, {std::string("1f\0", 3), 16},
        {"99999999999999999999", 10}};
    for (const auto& [text, base] : bad) {
        EXPECT_EQ(StringUtils::GetResult(text, base), std::pair(false, 0L)) << text;
    }
    ExpectCount("E CFWKService: strtol exec error", bad.size());
    errno = ERANGE;
    EXPECT_EQ(StringUtils::GetResult("5", 10), std::pair(true, 5L));
    EXPECT_EQ(StringUtils::GetResult("", 10), std::pair(false, 0L));
    ExpectLast("E CFWKService: str is empty");
}

constexpr LogDomain LOG = LogDomains::DEVICE_DETECT;

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
    ExpectLines({"I DeviceDetect: -1 4294967295 1d 18446744073709551615 ff",
        "I DeviceDetect: -9223372036854775808 -56 -128 0.500000", "I DeviceDetect: " + text + "|{literal}|(null)|view",
        "I DeviceDetect: 100% {d} %d %s %{} %"});
}

TEST_F(LogLine, HasTypeDomainAndAHeadOfBareFileLineAndFunction) {
    std::vector<std::pair<uint32_t, std::string>> domains;
    for (const LogDomain& domain : {LogDomains::CFWK_SERVICE, LogDomains::CFWK_CALLBACK, LogDomains::DEVICE_DETECT,
             LogDomains::COLLECTION, LogDomains::DETECT, LogDomains::DATASHARE}) {
        CFWK_LOGI(domain, "text");
        const int line = __LINE__ - 1;
        const Testing::Journal::Entry entry = device.journal.Entries().back();
        EXPECT_EQ(static_cast<int>(entry.type), 3);
        EXPECT_EQ(entry.place, "utils_test.cpp:" + std::to_string(line));
        EXPECT_EQ(entry.function, "TestBody");
        domains.emplace_back(entry.domain.id, entry.domain.tag);
    }
    EXPECT_THAT(domains,
        ElementsAre(std::pair(0xD004615, "CFWKService"), std::pair(0xD004616, "CFWKCallback"),
            std::pair(0xD004617, "DeviceDetect"), std::pair(0xD00461B, "Collection"), std::pair(0xD00461C, "Detect"),
            std::pair(0xD00461D, "Datashare")));
    CFWK_LOGW(LOG, "warning");
    ExpectLast("W DeviceDetect: warning");
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
    ExpectLines({"E DeviceDetect: <private> %{public}s <private>", "D DeviceDetect: debug",
        "I DeviceDetect: information", "E DeviceDetect: secret %{public}s 5"});
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
