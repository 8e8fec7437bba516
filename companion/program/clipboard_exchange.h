// Carries what was copied from device to device: first only the fact, the content when somebody pastes it.
//
// A device that has got an offer from a peer passes it on as its own when the pointer goes to a third one, and fetches
// the content when it is wanted there. Messages of the channel "clipboard", numbers little endian:
//
//     1  number u32, type u8          wants the content of that offer
//     2  number u32, type u8, bytes   a piece of it, in order; an empty one is the end
//     3  number u32, type u8          it cannot be had
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "companion/core/message.h"
#include "companion/desktop/clipboard.h"
#include "companion/program/peer_links.h"
#include "linux/base/event_loop.h"

namespace ZYNE::Companion {

// The loop's thread alone.
class ClipboardExchange final : public Clipboard::Listener {
public:
    ClipboardExchange(Linux::EventLoop& loop, Clipboard& clipboard, PeerLinks& links)
        : loop_(loop), clipboard_(clipboard), links_(links) {}
    ClipboardExchange(const ClipboardExchange&) = delete;
    ClipboardExchange& operator=(const ClipboardExchange&) = delete;
    ~ClipboardExchange() = default;

    void OnCopied(const std::vector<ContentType>& types) override;
    void OnPaste(ContentType type) override;

    // The pointer has gone to the peer: it is told what there is to paste.
    void OnPointerGone(const std::string& peer);
    void OnOffer(const std::string& peer, const Copied& offer);
    void OnContent(const std::string& peer, std::string_view message);
    void OnContentRoom(const std::string& peer);
    void OnPeerDown(const std::string& peer);

private:
    using Done = std::function<void(const std::string& content)>;

    // What can be pasted here. Its origin is a peer, or this device when `peer` is empty.
    struct Offer {
        std::string peer;
        uint32_t number = 0;  // the origin's
        std::vector<ContentType> types;
    };
    struct Wanted {
        std::string peer;
        uint32_t number;
        ContentType type;
        std::string content;
        std::vector<Done> done;
        Linux::EventLoop::Source limit;
    };
    struct Outgoing {
        uint32_t number;
        ContentType type;
        std::string content;
        size_t sent = 0;
        bool isEnded = false;
    };

    void TellOffer(const std::string& peer);
    void Fetch(ContentType type, Done done);
    void Ask(ContentType type, Done done);
    void AskNext();
    bool IsWanted(const std::string& peer, uint32_t number, ContentType type) const;
    // What is being fetched is here, or cannot be had.
    void Finish(bool isComplete);
    void TakePiece(std::string_view bytes);
    void Serve(const std::string& peer, uint32_t number, ContentType type);
    void SendMore(const std::string& peer);
    bool SendPiece(const std::string& peer, Outgoing& outgoing);

    Linux::EventLoop& loop_;
    Clipboard& clipboard_;
    PeerLinks& links_;
    uint32_t lastNumber_ = 0;
    std::optional<Offer> offer_;
    uint32_t ownNumber_ = 0;                    // under which this device offers it to others
    std::map<std::string, uint32_t> told_;      // the number that each peer was told last
    std::string late_;                          // the peer to be told once what was copied last is known; may be empty
    std::deque<Wanted> wanted_;                 // from peers, one after another: the first is being fetched
    std::map<std::string, Outgoing> outgoing_;  // one for each peer
};

}  // namespace ZYNE::Companion
