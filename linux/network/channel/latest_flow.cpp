#include "linux/network/channel/latest_flow.h"

#include <utility>

#include "linux/network/channel/channel_kind.h"
#include "linux/network/channel/channel_message.h"

namespace ZYNE::Linux {
namespace {

constexpr size_t NUMBER_BYTES = SealedDatagram::NUMBER_BYTES;

// A message that comes so long after another is not soon followed by one that makes its loss good.
constexpr std::chrono::milliseconds APART{4};

constexpr size_t MAX_WAITING = 16;
constexpr size_t MAX_WAITING_BYTES = 2 * MAX_MESSAGE_BYTES;

}  // namespace

void KeepNewest(std::deque<std::string>& messages) {
    size_t bytes = 0;
    for (const std::string& message : messages) {
        bytes += message.size();
    }
    while (messages.size() > MAX_WAITING || (bytes > MAX_WAITING_BYTES && messages.size() > 1)) {
        bytes -= messages.front().size();
        messages.pop_front();
    }
}

bool LatestFlow::Send(std::string_view message) {
    if (lastNumber_ >= SealedDatagram::LAST_NUMBER) {
        return false;
    }
    ++lastNumber_;
    const auto now = ways_.now();
    const bool isApart = now - std::exchange(sent_, now) >= APART;
    const bool fits = message.size() <= SealedDatagram::MAX_BYTES;
    const bool goesByStream = !fits || !path_.IsTrusted(now);
    if (goesByStream) {
        SendByStream(message);
    }
    if (fits && path_.Try(now)) {
        const std::string_view datagram = sealer_.Seal(lastNumber_, message);
        ways_.sendDatagram(datagram);
        if (isApart && !goesByStream) {
            ways_.sendDatagram(datagram);
        }
    }
    return true;
}

void LatestFlow::SendByStream(std::string_view message) {
    std::string numbered;
    numbered.reserve(NUMBER_BYTES + message.size());
    AppendNumber(numbered, lastNumber_);
    numbered.append(message);
    if (!waiting_.empty() || !ways_.sendByStream(numbered)) {
        waiting_.push_back(std::move(numbered));
        KeepNewest(waiting_);
    }
}

void LatestFlow::OnRoom() {
    while (!waiting_.empty() && ways_.sendByStream(waiting_.front())) {
        waiting_.pop_front();
    }
}

bool LatestFlow::OnStream(std::string_view numbered) {
    if (numbered.size() <= NUMBER_BYTES) {
        return false;
    }
    Take(LeadingNumber(numbered), numbered.substr(NUMBER_BYTES));
    return true;
}

void LatestFlow::OnDatagram(std::string_view datagram) {
    const auto opened = opener_.Open(datagram);
    if (!opened) {
        return;
    }
    const auto now = ways_.now();
    if (opened->bytes.empty()) {
        path_.OnAcknowledged(now);
        return;
    }
    Take(opened->number, opened->bytes);
    if (lastNumber_ < SealedDatagram::LAST_NUMBER && path_.MustAcknowledge(now)) {
        ways_.sendDatagram(sealer_.Seal(++lastNumber_, {}));
    }
}

void LatestFlow::Take(uint64_t number, std::string_view message) {
    if (number > delivered_) {
        delivered_ = number;
        ways_.deliver(message);
    }
}

}  // namespace ZYNE::Linux
