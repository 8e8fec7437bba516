// Where devices of one account publish and read.
#pragma once

#include <string>

namespace ZYNE::Linux {

class Partitions {
public:
    // In account mode the certificates keep accounts apart.
    Partitions() = default;
    // In open mode the account's name does, as a part of every partition's name.
    explicit Partitions(const std::string& openAccountName);

    // What the device `udid` announces.
    std::string Of(const std::string& udid) const;
    // What all devices announce.
    std::string OfAll() const;
    // What is meant for the device `udid` in the run of it that `networkId` names.
    std::string To(const std::string& udid, const std::string& networkId) const;

private:
    std::string prefix_;
};

}  // namespace ZYNE::Linux
