// Gives other programs what is offered to them.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <xcb/xcb.h>

#include "companion/desktop/clipboard.h"
#include "companion/x11/clipboard_atoms.h"
#include "linux/base/event_loop.h"

namespace ZYNE::Companion {

// The loop's thread. A content of more than 64 KiB goes in pieces, each when the program has taken the one before; one
// that takes none for ten seconds gets no more.
class SelectionOffer {
public:
    // `onPaste` is called when a content is wanted: once until it is given.
    SelectionOffer(Linux::EventLoop& loop, xcb_connection_t* connection, const ClipboardAtoms& atoms,
        std::function<void(ContentType)> onPaste);

    // Offered from `time` on.
    void Set(const std::vector<ContentType>& types, xcb_timestamp_t time);
    // To those that wait for it; empty refuses.
    void Give(ContentType type, const std::string& content);

    void OnRequest(const xcb_selection_request_event_t& event);
    // Of a window that gets a content.
    void OnProperty(const xcb_property_notify_event_t& event);

private:
    // One event of a program; several conversions when it asks for several at once.
    struct Request {
        xcb_selection_request_event_t event;
        std::vector<uint32_t> pairs;  // of targets and properties, when it asks for several
        size_t open = 0;              // conversions that are not done
    };
    struct Conversion {
        std::shared_ptr<Request> request;
        size_t pair;  // which of the pairs
        xcb_atom_t target;
        xcb_atom_t property;
    };
    struct Transfer {
        xcb_window_t window;
        xcb_atom_t property;
        xcb_atom_t target;
        std::shared_ptr<const std::string> content;
        size_t sent;
        Linux::EventLoop::Source limit;
    };
    using Transfers = std::list<Transfer>;

    void StartSeveral(const std::shared_ptr<Request>& request);
    void Start(const Conversion& conversion);
    void Finish(const Conversion& conversion, bool isDone);
    void Answer(const Request& request, bool isDone);
    void AnswerTargets(const Conversion& conversion);
    void Put(const Conversion& conversion, const std::shared_ptr<const std::string>& content);
    void SendPiece(Transfers::iterator transfer);
    void LimitTime(Transfers::iterator transfer);
    std::vector<xcb_atom_t> TargetsOf(ContentType type) const;

    Linux::EventLoop& loop_;
    xcb_connection_t* const connection_;
    const ClipboardAtoms& atoms_;
    const std::function<void(ContentType)> onPaste_;
    std::vector<ContentType> types_;
    xcb_timestamp_t time_ = XCB_CURRENT_TIME;
    std::map<ContentType, std::vector<Conversion>> waiting_;
    Transfers transfers_;
};

}  // namespace ZYNE::Companion
