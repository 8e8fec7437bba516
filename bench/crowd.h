// Many devices that one process plays: each announces itself, can be reached, and says nothing more.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "linux/fabric/fabric_domain.h"
#include "linux/fabric/partitions.h"

namespace ZYNE::Bench {

// In open mode: nobody asks for certificates.
class Crowd {
public:
    Crowd(const std::string& account, const std::string& tag);
    ~Crowd();

    void Add(size_t devices);

private:
    struct Member;

    Linux::FabricDomain domain_;
    const Linux::Partitions partitions_;
    std::vector<std::unique_ptr<Member>> members_;
};

}  // namespace ZYNE::Bench
