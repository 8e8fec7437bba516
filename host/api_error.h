// Why the device refuses a program's request.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace ZYNE::Host {

class ApiError : public std::runtime_error {
public:
    // `name` is the last part of one of the names that device_api.xml lists.
    ApiError(std::string name, const std::string& message) : std::runtime_error(message), name_(std::move(name)) {}

    const std::string& Name() const { return name_; }

private:
    std::string name_;
};

}  // namespace ZYNE::Host
