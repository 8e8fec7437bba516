// The DDS library's own lines, in our log.
#pragma once

#include <string>

namespace ZYNE::Linux {

// From now on, and for good, the library's warnings and errors are logged as warnings instead of going to standard
// error. The names in certificates, which are udids, are masked.
void RouteDdsLog();

// The last error that the library printed since it was asked before; empty when there is none.
std::string TakeLastDdsError();

}  // namespace ZYNE::Linux
