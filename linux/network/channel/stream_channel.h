// A channel of the kind RELIABLE or BULK: each end gives the other credit for what it may send.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "linux/network/channel/app_channel.h"

namespace ZYNE::Linux {

// As AppChannel. A message costs its bytes and a little more. The receiver gives back what its app has taken, so for an
// app that reads slowly no more than WINDOW waits, and then its peer's app is not read from any more.
class StreamChannel final : public AppChannel {
public:
    static constexpr size_t WINDOW = size_t{256} << 10U;
    static constexpr size_t COST = 64;  // of a message besides its bytes

    using AppChannel::AppChannel;

    bool OnCredit(uint32_t bytes) override;

private:
    size_t MayRead() override;
    void OnAppMessage(std::string_view message) override;
    bool OnMessage(std::string_view message) override;
    void OnDelivered(size_t bytes) override;

    size_t credit_ = WINDOW;   // what the peer takes
    size_t granted_ = WINDOW;  // what this end takes
    size_t owed_ = 0;          // taken by the app, and not given back yet
};

}  // namespace ZYNE::Linux
