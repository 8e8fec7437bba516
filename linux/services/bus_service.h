// A service that the bus starts on demand.
#pragma once

#include <string>
#include <vector>

namespace ZYNE::Linux {

struct BusService {
    std::string name;                  // the well-known bus name that the process owns once it is ready
    std::vector<std::string> command;  // the executable's absolute path and its arguments
};

}  // namespace ZYNE::Linux
