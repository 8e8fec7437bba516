// What collabd --check looks at beyond the configuration file itself.
#pragma once

#include <string>
#include <vector>

#include "host/config.h"

namespace ZYNE::Host {

// Everything wrong with the files that `config` names (credentials, the apps' manifests, the table of system services,
// the provider file) and with its interfaces: one text each, with the file and, if there is one, the line. Starts
// nothing and changes nothing.
std::vector<std::string> FindMistakes(const Config& config);

}  // namespace ZYNE::Host
