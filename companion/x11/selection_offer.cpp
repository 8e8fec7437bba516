#include "companion/x11/selection_offer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "companion/x11/latin1.h"
#include "linux/desktop/x_link.h"

namespace ZYNE::Companion {
namespace {

using namespace std::chrono_literals;

constexpr auto LIMIT = 10s;
constexpr size_t PIECE = size_t{64} * 1024;
constexpr size_t MOST_PAIRS = 32;
constexpr uint8_t BITS_8 = 8;
constexpr uint8_t BITS_32 = 32;

}  // namespace

SelectionOffer::SelectionOffer(Linux::EventLoop& loop, xcb_connection_t* connection, const ClipboardAtoms& atoms,
    std::function<void(ContentType)> onPaste)
    : loop_(loop), connection_(connection), atoms_(atoms), onPaste_(std::move(onPaste)) {}

void SelectionOffer::Set(const std::vector<ContentType>& types, xcb_timestamp_t time) {
    types_ = types;
    time_ = time;
}

std::vector<xcb_atom_t> SelectionOffer::TargetsOf(ContentType type) const {
    return type == ContentType::TEXT ? std::vector{atoms_.utf8, atoms_.plainUtf8, atoms_.latin1}
                                     : std::vector{atoms_.png};
}

// Programs of old name no property and mean one that is called like the target.
void SelectionOffer::OnRequest(const xcb_selection_request_event_t& event) {
    auto request = std::make_shared<Request>(Request{event, {}, 1});
    if (request->event.property == XCB_NONE) {
        request->event.property = event.target;
    }
    const bool isEarlier = event.time != XCB_CURRENT_TIME && static_cast<int32_t>(event.time - time_) < 0;
    if (event.selection != atoms_.clipboard || types_.empty() || isEarlier) {
        Answer(*request, false);
    } else if (event.target == atoms_.multiple) {
        StartSeveral(request);
    } else {
        Start({request, 0, event.target, request->event.property});
    }
    xcb_flush(connection_);
}

void SelectionOffer::StartSeveral(const std::shared_ptr<Request>& request) {
    const Linux::XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection_,
        xcb_get_property(
            connection_, 0, request->event.requestor, request->event.property, XCB_ATOM_ANY, 0, 2 * MOST_PAIRS),
        nullptr));
    if (!reply || reply->format != BITS_32 || reply->value_len < 2) {
        return Answer(*request, false);
    }
    const auto* first = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
    request->pairs.assign(first, first + size_t{reply->value_len / 2} * 2);
    request->open = request->pairs.size() / 2;
    const std::vector<uint32_t> pairs = request->pairs;
    for (size_t pair = 0; pair < pairs.size(); pair += 2) {
        Start({request, pair, pairs[pair], pairs[pair + 1]});
    }
}

void SelectionOffer::Start(const Conversion& conversion) {
    const xcb_window_t window = conversion.request->event.requestor;
    if (conversion.target == atoms_.targets) {
        return AnswerTargets(conversion);
    }
    if (conversion.target == atoms_.timestamp) {
        xcb_change_property(
            connection_, XCB_PROP_MODE_REPLACE, window, conversion.property, XCB_ATOM_INTEGER, BITS_32, 1, &time_);
        return Finish(conversion, true);
    }
    const auto offered = std::ranges::find_if(types_, [&](ContentType type) {
        const auto targets = TargetsOf(type);
        return std::ranges::find(targets, conversion.target) != targets.end();
    });
    if (offered == types_.end()) {
        return Finish(conversion, false);
    }
    const ContentType type = *offered;
    waiting_[type].push_back(conversion);
    if (waiting_[type].size() == 1) {
        onPaste_(type);
    }
}

void SelectionOffer::AnswerTargets(const Conversion& conversion) {
    std::vector<xcb_atom_t> targets{atoms_.targets, atoms_.multiple, atoms_.timestamp};
    for (const ContentType type : types_) {
        const auto more = TargetsOf(type);
        targets.insert(targets.end(), more.begin(), more.end());
    }
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, conversion.request->event.requestor, conversion.property,
        XCB_ATOM_ATOM, BITS_32, static_cast<uint32_t>(targets.size()), targets.data());
    Finish(conversion, true);
}

void SelectionOffer::Give(ContentType type, const std::string& content) {
    const auto shared = std::make_shared<const std::string>(content);
    const bool isGiven = !content.empty() && content.size() <= Clipboard::MAX_BYTES;
    for (const Conversion& conversion : std::exchange(waiting_[type], {})) {
        if (isGiven && conversion.target == atoms_.latin1) {
            Put(conversion, std::make_shared<const std::string>(Utf8ToLatin1(content)));
        } else if (isGiven) {
            Put(conversion, shared);
        }
        Finish(conversion, isGiven);
    }
    xcb_flush(connection_);
}

void SelectionOffer::Put(const Conversion& conversion, const std::shared_ptr<const std::string>& content) {
    const xcb_window_t window = conversion.request->event.requestor;
    if (content->size() <= PIECE) {
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, conversion.property, conversion.target, BITS_8,
            static_cast<uint32_t>(content->size()), content->data());
        return;
    }
    const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &events);
    const auto size = static_cast<uint32_t>(content->size());
    xcb_change_property(
        connection_, XCB_PROP_MODE_REPLACE, window, conversion.property, atoms_.incremental, BITS_32, 1, &size);
    LimitTime(transfers_.insert(
        transfers_.end(), {window, conversion.property, conversion.target, content, 0, Linux::EventLoop::Source()}));
}

void SelectionOffer::OnProperty(const xcb_property_notify_event_t& event) {
    const auto transfer = std::ranges::find_if(
        transfers_, [&](const Transfer& one) { return one.window == event.window && one.property == event.atom; });
    if (transfer != transfers_.end() && event.state == XCB_PROPERTY_DELETE) {
        SendPiece(transfer);
    }
}

// The last piece has no bytes.
void SelectionOffer::SendPiece(Transfers::iterator transfer) {
    const size_t length = std::min(PIECE, transfer->content->size() - transfer->sent);
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, transfer->window, transfer->property, transfer->target,
        BITS_8, static_cast<uint32_t>(length), transfer->content->data() + transfer->sent);
    xcb_flush(connection_);
    transfer->sent += length;
    if (length == 0) {
        transfers_.erase(transfer);
    } else {
        LimitTime(transfer);
    }
}

void SelectionOffer::LimitTime(Transfers::iterator transfer) {
    transfer->limit = loop_.After(LIMIT, [this, transfer] { transfers_.erase(transfer); });
}

void SelectionOffer::Finish(const Conversion& conversion, bool isDone) {
    Request& request = *conversion.request;
    if (!isDone && !request.pairs.empty()) {
        request.pairs[conversion.pair + 1] = XCB_NONE;
    }
    if (--request.open > 0) {
        return;
    }
    if (!request.pairs.empty()) {
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, request.event.requestor, request.event.property,
            atoms_.pairs, BITS_32, static_cast<uint32_t>(request.pairs.size()), request.pairs.data());
    }
    Answer(request, isDone || !request.pairs.empty());
}

void SelectionOffer::Answer(const Request& request, bool isDone) {
    // Events are 32 bytes long on the wire, however short their content is.
    union {
        xcb_selection_notify_event_t notify;
        std::array<char, 32> bytes;
    } event{};
    event.notify.response_type = XCB_SELECTION_NOTIFY;
    event.notify.time = request.event.time;
    event.notify.requestor = request.event.requestor;
    event.notify.selection = request.event.selection;
    event.notify.target = request.event.target;
    event.notify.property = isDone ? request.event.property : xcb_atom_t{XCB_NONE};
    xcb_send_event(connection_, 0, request.event.requestor, XCB_EVENT_MASK_NO_EVENT, event.bytes.data());
}

}  // namespace ZYNE::Companion
