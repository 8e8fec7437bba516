// One bare round trip between two processes over the transport that devices use, with the certificates of devices.
#pragma once

#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include "linux/account/credentials.h"
#include "linux/base/unique_fd.h"
#include "linux/network/link/secure_channel.h"

namespace ZYNE::Bench {

// Where one of the two waits for the other: a port on loopback.
class LinkPort {
public:
    LinkPort();

    uint16_t Number() const;
    // Blocks until the other one comes.
    Linux::UniqueFd Accept() const;

private:
    Linux::UniqueFd socket_;
};

// One end. Each of the two has the credentials of a device of its own.
class LinkEnd {
public:
    // Both block until the other end has proved who it is.
    LinkEnd(const std::filesystem::path& credentials, const LinkPort& port);
    LinkEnd(const std::filesystem::path& credentials, uint16_t port);
    LinkEnd(const LinkEnd&) = delete;
    LinkEnd& operator=(const LinkEnd&) = delete;
    ~LinkEnd();

    // Sends `size` bytes and blocks until as many have come back.
    void RoundTrip(size_t size);
    // Sends back what comes, until the other end is gone.
    void Echo();

private:
    using Role = Linux::SecureChannel::Role;
    LinkEnd(const Linux::Credentials& credentials, Role role, Linux::UniqueFd socket);

    Linux::SecureChannel::Handlers Handlers();
    void Take(std::string_view message);
    // Blocks until `state` is reached, or the end, which is an error.
    void WaitFor(const bool& state);

    const Linux::TlsContext tls_;
    const Linux::MeetingKey key_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isOpen_ = false;  // from here on: guarded by mutex_
    bool isEcho_ = false;
    bool isAnswered_ = false;  // what was sent has come back
    bool hasEnded_ = false;
    size_t size_ = 0;                                // of what was sent
    std::shared_ptr<Linux::SecureChannel> channel_;  // set once, before anything comes
    Linux::EventLoop loop_;                          // last: its thread uses the others
};

}  // namespace ZYNE::Bench
