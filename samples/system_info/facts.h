// What this machine tells about itself.
#pragma once

#include <functional>
#include <map>
#include <string>

#include <json/value.h>

namespace Sample {

// From a fact's name to what reads it: a string or a boolean.
const std::map<std::string, std::function<Json::Value()>>& Facts();

}  // namespace Sample
