// JSON as collabctl prints it.
#pragma once

#include <json/value.h>

namespace ZYNE::Cli {

// To standard output, indented, UTF-8 as it is.
void PrintJson(const Json::Value& value);

// The same on one line, which is written out at once.
void PrintJsonLine(const Json::Value& value);

}  // namespace ZYNE::Cli
