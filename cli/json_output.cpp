#include "cli/json_output.h"

#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>

#include <json/writer.h>

#include "platform/ipc/string_conversion.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Cli {
namespace {

// The writer escapes what JSON wants escaped, and leaves what a terminal would obey.
std::string WithoutHidden(const std::string& json) {
    std::u16string shown;
    for (const char16_t unit : Str8ToStr16(json)) {
        if (unit == u'\n' || !IsHidden(unit)) {
            shown += unit;
        } else {
            constexpr std::u16string_view DIGITS = u"0123456789abcdef";
            shown += u"\\u";
            for (const unsigned shift : {12U, 8U, 4U, 0U}) {
                shown += DIGITS[(unit >> shift) & 0xfU];
            }
        }
    }
    return Str16ToStr8(shown);
}

void Write(const Json::Value& value, const char* indentation) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = indentation;
    builder["emitUTF8"] = true;
    const std::unique_ptr<Json::StreamWriter> writer(builder.newStreamWriter());
    std::ostringstream text;
    writer->write(value, &text);
    std::cout << WithoutHidden(text.str()) << '\n';
}

}  // namespace

void PrintJson(const Json::Value& value) {
    Write(value, "  ");
}

void PrintJsonLine(const Json::Value& value) {
    Write(value, "");
    std::cout.flush();
}

}  // namespace ZYNE::Cli
