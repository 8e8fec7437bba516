// What is given to collabctl on standard input.
#pragma once

#include <iostream>
#include <iterator>
#include <string>

namespace ZYNE::Cli {

// `given` itself; for "-", all of standard input.
inline std::string OrStandardInput(const std::string& given) {
    return given == "-" ? std::string(std::istreambuf_iterator<char>(std::cin), {}) : given;
}

}  // namespace ZYNE::Cli
