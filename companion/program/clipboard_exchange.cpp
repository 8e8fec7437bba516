#include "companion/program/clipboard_exchange.h"

#include <algorithm>
#include <utility>

namespace ZYNE::Companion {
namespace {

using namespace std::chrono_literals;

enum Kind : uint8_t { WANT = 1, PIECE = 2, NONE = 3 };

constexpr size_t HEAD_BYTES = 6;
constexpr size_t PIECE_BYTES = size_t{32} << 10U;
constexpr auto FETCH_TIME = 10s;  // since the last piece

std::string Head(Kind kind, uint32_t number, ContentType type) {
    std::string head(1, static_cast<char>(kind));
    for (unsigned int shift = 0; shift < 32; shift += 8) {
        head += static_cast<char>(number >> shift);
    }
    return head + static_cast<char>(type);
}

uint32_t NumberOf(std::string_view message) {
    uint32_t number = 0;
    for (unsigned int byte = 0; byte < 4; ++byte) {
        number |= static_cast<uint32_t>(static_cast<unsigned char>(message[1 + byte])) << (8 * byte);
    }
    return number;
}

uint8_t BitsOf(const std::vector<ContentType>& types) {
    uint8_t bits = 0;
    for (const ContentType type : types) {
        bits = static_cast<uint8_t>(bits | (1U << static_cast<unsigned int>(type)));
    }
    return bits;
}

std::vector<ContentType> TypesOf(uint8_t bits) {
    std::vector<ContentType> types;
    for (const ContentType type : {ContentType::TEXT, ContentType::PNG}) {
        if ((bits & (1U << static_cast<unsigned int>(type))) != 0) {
            types.push_back(type);
        }
    }
    return types;
}

}  // namespace

void ClipboardExchange::OnCopied(const std::vector<ContentType>& types) {
    ownNumber_ = ++lastNumber_;
    offer_ = Offer{"", ownNumber_, types};
    if (!late_.empty()) {
        TellOffer(std::exchange(late_, {}));
    }
}

void ClipboardExchange::OnOffer(const std::string& peer, const Copied& offer) {
    std::vector<ContentType> types = TypesOf(offer.types);
    if (types.empty() && (!offer_ || offer_->peer != peer)) {
        return;  // what is here is from elsewhere, and stays
    }
    ownNumber_ = ++lastNumber_;
    told_[peer] = ownNumber_;  // it need not hear of its own
    offer_ = Offer{peer, offer.number, types};
    clipboard_.Offer(types);
}

// What was copied just before is on its way.
void ClipboardExchange::OnPointerGone(const std::string& peer) {
    if (clipboard_.IsCopying()) {
        late_ = peer;
    } else {
        TellOffer(peer);
    }
}

void ClipboardExchange::TellOffer(const std::string& peer) {
    if (!offer_ || told_[peer] == ownNumber_) {
        return;
    }
    if (links_.Send(peer, Copied{ownNumber_, BitsOf(offer_->types)})) {
        told_[peer] = ownNumber_;
    }
}

void ClipboardExchange::OnPaste(ContentType type) {
    Fetch(type, [this, type](const std::string& content) { clipboard_.Give(type, content); });
}

void ClipboardExchange::Fetch(ContentType type, Done done) {
    if (!offer_ || std::ranges::find(offer_->types, type) == offer_->types.end()) {
        done({});
    } else if (offer_->peer.empty()) {
        clipboard_.Read(type, std::move(done));
    } else {
        Ask(type, std::move(done));
    }
}

void ClipboardExchange::Ask(ContentType type, Done done) {
    const auto same = std::ranges::find_if(wanted_, [&](const Wanted& wanted) {
        return wanted.peer == offer_->peer && wanted.number == offer_->number && wanted.type == type;
    });
    if (same != wanted_.end()) {
        same->done.push_back(std::move(done));
        return;
    }
    wanted_.push_back({offer_->peer, offer_->number, type, {}, {std::move(done)}, {}});
    if (wanted_.size() == 1) {
        AskNext();
    }
}

void ClipboardExchange::AskNext() {
    Wanted& wanted = wanted_.front();
    wanted.limit = loop_.After(FETCH_TIME, [this] { Finish(false); });
    if (links_.SendContent(wanted.peer, Head(WANT, wanted.number, wanted.type)) != PeerLinks::Sent::DONE) {
        Finish(false);
    }
}

bool ClipboardExchange::IsWanted(const std::string& peer, uint32_t number, ContentType type) const {
    return !wanted_.empty() && wanted_.front().peer == peer && wanted_.front().number == number &&
        wanted_.front().type == type;
}

void ClipboardExchange::Finish(bool isComplete) {
    const Wanted wanted = std::move(wanted_.front());
    wanted_.pop_front();
    if (!wanted_.empty()) {
        AskNext();
    }
    for (const Done& done : wanted.done) {
        done(isComplete ? wanted.content : std::string());
    }
}

void ClipboardExchange::TakePiece(std::string_view bytes) {
    Wanted& wanted = wanted_.front();
    if (bytes.empty()) {
        Finish(true);
    } else if (bytes.size() > Clipboard::MAX_BYTES - wanted.content.size()) {
        Finish(false);
    } else {
        wanted.content += bytes;
        wanted.limit = loop_.After(FETCH_TIME, [this] { Finish(false); });
    }
}

void ClipboardExchange::OnContent(const std::string& peer, std::string_view message) {
    if (message.size() < HEAD_BYTES) {
        return;
    }
    const auto kind = static_cast<Kind>(message[0]);
    const uint32_t number = NumberOf(message);
    const auto type = static_cast<ContentType>(message[HEAD_BYTES - 1]);
    if (kind == WANT) {
        Serve(peer, number, type);
    } else if (IsWanted(peer, number, type)) {
        if (kind == PIECE) {
            TakePiece(message.substr(HEAD_BYTES));
        } else {
            Finish(false);
        }
    }
}

void ClipboardExchange::Serve(const std::string& peer, uint32_t number, ContentType type) {
    // Only what the peer was told of may it have, and no more than one content is read for it at a time.
    const auto before = outgoing_.find(peer);
    const bool isReading = before != outgoing_.end() && before->second.content.empty();
    if (number != ownNumber_ || told_[peer] != number || isReading) {
        links_.SendContent(peer, Head(NONE, number, type));
        return;
    }
    outgoing_.insert_or_assign(peer, Outgoing{number, type, {}, 0, false});  // it no longer waits for another one
    Fetch(type, [this, peer, number, type](const std::string& content) {
        const auto outgoing = outgoing_.find(peer);
        if (outgoing == outgoing_.end() || outgoing->second.number != number || outgoing->second.type != type ||
            !outgoing->second.content.empty()) {
            return;
        }
        if (content.empty()) {
            links_.SendContent(peer, Head(NONE, number, outgoing->second.type));
            outgoing_.erase(outgoing);
            return;
        }
        outgoing->second.content = content;
        SendMore(peer);
    });
}

// True when it was taken; otherwise it goes on when there is room, or not at all.
bool ClipboardExchange::SendPiece(const std::string& peer, Outgoing& outgoing) {
    const std::string_view piece = std::string_view(outgoing.content).substr(outgoing.sent, PIECE_BYTES);
    const std::string message = Head(PIECE, outgoing.number, outgoing.type).append(piece);
    switch (links_.SendContent(peer, message)) {
    case PeerLinks::Sent::DONE:
        outgoing.sent += piece.size();
        outgoing.isEnded = piece.empty();
        return true;
    case PeerLinks::Sent::GONE:
        outgoing.isEnded = true;
        return false;
    default:
        return false;
    }
}

void ClipboardExchange::SendMore(const std::string& peer) {
    const auto outgoing = outgoing_.find(peer);
    if (outgoing == outgoing_.end() || outgoing->second.content.empty()) {
        return;
    }
    while (!outgoing->second.isEnded && SendPiece(peer, outgoing->second)) {
    }
    if (outgoing->second.isEnded) {
        outgoing_.erase(outgoing);
    }
}

void ClipboardExchange::OnContentRoom(const std::string& peer) {
    SendMore(peer);
}

void ClipboardExchange::OnPeerDown(const std::string& peer) {
    told_.erase(peer);
    if (late_ == peer) {
        late_.clear();
    }
    outgoing_.erase(peer);
    while (!wanted_.empty() && wanted_.front().peer == peer) {
        Finish(false);
    }
    if (offer_ && offer_->peer == peer) {
        offer_.reset();
        clipboard_.Offer({});
    }
}

}  // namespace ZYNE::Companion
