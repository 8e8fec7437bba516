// JSON as collabctl prints it.
#pragma once

#include <json/value.h>

namespace ZYNE::Cli {

// To standard output, indented, UTF-8 as it is.
void PrintJson(const Json::Value& value);

}  // namespace ZYNE::Cli
