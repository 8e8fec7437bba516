// Many devices that one process plays: each keeps a link to the device under test, and says nothing more.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/event_loop.h"

namespace ZYNE::Bench {

// In open mode: nobody asks for certificates.
class Crowd {
public:
    // They connect to `port` on loopback, where a device of `account` takes connections.
    Crowd(std::string account, uint16_t port);
    ~Crowd();

    // Returns at once; they come one after the other.
    void Add(size_t devices);

    // How many links have ended; nobody is to end one.
    size_t Lost() const { return lost_; }

private:
    class Member;

    void DialNext();

    const std::string account_;
    const uint16_t port_;
    std::atomic<size_t> lost_{0};
    std::vector<std::unique_ptr<Member>> members_;  // the loop's thread only, as is what follows
    size_t dialled_ = 0;
    bool isDialling_ = false;
    Linux::EventLoop loop_;  // last: its thread uses the others
};

}  // namespace ZYNE::Bench
