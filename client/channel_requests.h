// Asks for channels without waiting: for programs that want several at once.
//
//     ChannelRequests requests(entry);
//     requests.Open("org.example.chat", peer, "talk", ChannelKind::RELIABLE, 30s,
//         [&](UniqueFd channel, const std::string& problem) { loop.Post(...); });
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "client/channels.h"
#include "client/device_registry.h"
#include "linux/base/unique_fd.h"

namespace ZYNE::Client {

// Any thread. A connection and a thread of its own, on which the answers come.
class ChannelRequests {
public:
    // The channel, as Channels::Open describes it; or none, and why in one line. Must not throw.
    using Answer = std::function<void(Linux::UniqueFd channel, const std::string& problem)>;

    // Throws DeviceError when the device cannot be reached.
    explicit ChannelRequests(const DeviceEntry& device);
    ChannelRequests(const ChannelRequests&) = delete;
    ChannelRequests& operator=(const ChannelRequests&) = delete;
    // What is still asked for is given up: no answer comes any more.
    ~ChannelRequests();

    // As Channels::Open, but returns at once. `answer` is called once, also when the device has ended.
    void Open(const std::string& app, const std::string& peer, const std::string& name, ChannelKind kind,
        std::chrono::milliseconds time, Answer answer);

private:
    class Connection;

    const std::unique_ptr<Connection> connection_;
};

}  // namespace ZYNE::Client
