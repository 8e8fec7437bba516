// Both directions of a channel of the kind LATEST at one of its ends: what goes which way, and what is delivered.
//
// Each message gets a number. It goes as a datagram, and over the link's stream as well until datagrams are known to
// arrive; from then on as the same datagram twice when none was sent just before. The receiver delivers what is newer
// than all that it has delivered. An acknowledgement is a datagram without bytes, with a number from the same row.
// Nothing happens unless a message is sent or comes.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

#include "linux/network/channel/datagram_path.h"
#include "linux/network/channel/sealed_datagram.h"

namespace ZYNE::Linux {

// Takes from the front, where the oldest are, what is more than may wait for room.
void KeepNewest(std::deque<std::string>& messages);

// One thread.
class LatestFlow {
public:
    struct Ways {
        std::function<void(std::string_view datagram)> sendDatagram;
        // Takes a message with its number, or has no room.
        std::function<bool(std::string_view numbered)> sendByStream;
        std::function<void(std::string_view message)> deliver;
        std::function<DatagramPath::Time()> now = std::chrono::steady_clock::now;
    };

    LatestFlow(DatagramSealer sealer, DatagramOpener opener, Ways ways, uint64_t lastNumber = 0)
        : sealer_(std::move(sealer)), opener_(std::move(opener)), ways_(std::move(ways)), lastNumber_(lastNumber) {}

    // False when there are no more numbers: the channel has come to its end.
    bool Send(std::string_view message);
    // The stream has room again.
    void OnRoom();

    // What has come. False when it cannot have a number and a message.
    bool OnStream(std::string_view numbered);
    void OnDatagram(std::string_view datagram);

private:
    void SendByStream(std::string_view message);
    void Take(uint64_t number, std::string_view message);

    DatagramSealer sealer_;
    DatagramOpener opener_;
    const Ways ways_;
    DatagramPath path_;
    uint64_t lastNumber_;                // of what was sent
    DatagramPath::Time sent_{};          // the last message was
    uint64_t delivered_ = 0;             // the number of the last one
    std::deque<std::string> waiting_{};  // for room on the stream, with their numbers
};

}  // namespace ZYNE::Linux
