#include "plugin/utils/json_utils.h"

#include <climits>

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
    EXPECT_EQ(device.journal.Count("E CFWKService: strtol exec error"), bad.size());
    errno = ERANGE;
    EXPECT_EQ(StringUtils::GetResult("5", 10), std::pair(true, 5L));
    EXPECT_EQ(StringUtils::GetResult("", 10), std::pair(false, 0L));
    EXPECT_EQ(device.journal.Lines().back(), "E CFWKService: str is empty");
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
