// A link to another device of the account: it is up, and both devices say so.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "linux/network/link/secure_channel.h"
#include "linux/network/link/stream.h"

namespace ZYNE::Linux {

// Any thread. What arrives on a link is its device's, whatever the message says.
class Link {
public:
    Link(std::string udid, std::string networkId, std::string address, std::shared_ptr<SecureChannel> channel)
        : udid_(std::move(udid)), networkId_(std::move(networkId)), address_(std::move(address)),
          channel_(std::move(channel)) {}

    const std::string& Udid() const { return udid_; }
    const std::string& NetworkId() const { return networkId_; }  // of the run of the device
    const std::string& Address() const { return address_; }      // of its end

    // False when the link has ended, or when so much waits that the device does not seem to take it.
    bool Send(Stream stream, std::string message) const { return channel_->Send(stream, std::move(message)); }
    size_t Waiting(Stream stream) const { return channel_->Waiting(stream); }

    const std::shared_ptr<SecureChannel>& Channel() const { return channel_; }

private:
    const std::string udid_;
    const std::string networkId_;
    const std::string address_;
    const std::shared_ptr<SecureChannel> channel_;
};
using LinkPtr = std::shared_ptr<const Link>;

// Uses one stream of every link. Called on the loop's thread, which it must not block; no lock is held.
class LinkUser {
public:
    // The first for this link. A device has at most one link at a time.
    virtual void OnLinkUp(const LinkPtr& link) = 0;
    // False when the message is not one of this stream: the link is ended.
    virtual bool OnLinkMessage(const LinkPtr& link, std::string_view message) = 0;
    // The last for this link.
    virtual void OnLinkDown(const LinkPtr& link) = 0;

protected:
    ~LinkUser() = default;
};

}  // namespace ZYNE::Linux
