#include "companion/x11/x_clipboard.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <span>
#include <stdexcept>
#include <utility>

#include <xcb/xfixes.h>

#include "companion/x11/latin1.h"

namespace ZYNE::Companion {

using Linux::XReply;

namespace {

xcb_window_t MakeWindow(const Linux::XLink& link) {
    xcb_connection_t* connection = link.connection.get();
    const xcb_window_t window = xcb_generate_id(connection);
    const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection, 0, window, link.screen->root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
        XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    return window;
}

uint8_t FollowOwners(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t selection) {
    const auto* extension = xcb_get_extension_data(connection, &xcb_xfixes_id);
    if (extension == nullptr || extension->present == 0) {
        throw std::runtime_error("the X server does not tell of what is copied");
    }
    const XReply<xcb_xfixes_query_version_reply_t> version(
        xcb_xfixes_query_version_reply(connection, xcb_xfixes_query_version(connection, 5, 0), nullptr));
    xcb_xfixes_select_selection_input(connection, window, selection,
        XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
            XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    return extension->first_event;
}

}  // namespace

XClipboard::XClipboard(Linux::EventLoop& loop, const std::string& display)
    : loop_(loop), link_(Linux::OpenX(display)), connection_(link_.connection.get()), window_(MakeWindow(link_)),
      atoms_(connection_), firstFixesEvent_(FollowOwners(connection_, window_, atoms_.clipboard)),
      reader_(loop, connection_, window_, atoms_),
      offer_(loop, connection_, atoms_, [this](ContentType type) { listener_->OnPaste(type); }) {}

void XClipboard::Start(Listener& listener) {
    listener_ = &listener;
    const XReply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(connection_, xcb_get_selection_owner(connection_, atoms_.clipboard), nullptr));
    input_ = loop_.Watch(xcb_get_file_descriptor(connection_), POLLIN, [this](uint32_t) { OnReadable(); });
    if (owner && owner->owner != XCB_NONE) {
        OnOwner(owner->owner, XCB_CURRENT_TIME);
    }
    TakeSoon();
}

bool XClipboard::IsCopying() {
    TakeAll();
    TakeSoon();
    return isCopying_;
}

// An offer counts from the server's time on, which comes with an event.
void XClipboard::Offer(const std::vector<ContentType>& types) {
    toOffer_ = types;
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, atoms_.stamp, XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(connection_);
    TakeSoon();
}

void XClipboard::TakeOffer(xcb_timestamp_t now) {
    const auto types = std::exchange(toOffer_, std::nullopt);
    if (!types || (types->empty() && !isOwner_)) {
        return;
    }
    offer_.Set(*types, now);
    xcb_set_selection_owner(connection_, types->empty() ? xcb_window_t{XCB_NONE} : window_, atoms_.clipboard, now);
    xcb_flush(connection_);
}

void XClipboard::Give(ContentType type, const std::string& content) {
    offer_.Give(type, content);
    TakeSoon();
}

void XClipboard::Read(ContentType type, std::function<void(std::string content)> done) {
    const auto found = copied_.find(type);
    if (found == copied_.end()) {
        return loop_.Post([done = std::move(done)] { done({}); });
    }
    const bool isLatin1 = found->second == atoms_.latin1;
    reader_.Read(found->second, copiedAt_, [isLatin1, done = std::move(done)](std::optional<std::string> bytes) {
        std::string content = std::move(bytes).value_or("");
        done(isLatin1 ? Latin1ToUtf8(content) : std::move(content));
    });
    TakeSoon();
}

void XClipboard::TakeAll() {
    while (const Linux::XEvent event{xcb_poll_for_event(connection_)}) {
        Take(*event);
    }
}

void XClipboard::OnReadable() {
    TakeAll();
    if (reader_.HasSlice()) {
        reader_.TakeSlice();
        TakeSoon();
    }
    if (xcb_connection_has_error(connection_) != 0) {
        input_ = {};
        copied_.clear();
        reader_.Cancel();
    }
}

void XClipboard::TakeSoon() {
    using namespace std::chrono_literals;
    if (input_) {
        soon_ = loop_.After(0ms, [this] { OnReadable(); });
    }
}

void XClipboard::Take(const xcb_generic_event_t& event) {
    const int type = event.response_type & 0x7f;
    if (type == XCB_SELECTION_REQUEST) {
        offer_.OnRequest(reinterpret_cast<const xcb_selection_request_event_t&>(event));
    } else if (type == XCB_SELECTION_NOTIFY) {
        reader_.OnNotify(reinterpret_cast<const xcb_selection_notify_event_t&>(event));
    } else if (type == XCB_PROPERTY_NOTIFY) {
        const auto& property = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        if (property.window == window_ && property.atom == atoms_.stamp) {
            TakeOffer(property.time);
        } else if (property.window == window_) {
            reader_.OnProperty(property);
        } else {
            offer_.OnProperty(property);
        }
    } else if (type == firstFixesEvent_ + XCB_XFIXES_SELECTION_NOTIFY) {
        const auto& change = reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(event);
        OnOwner(change.owner, change.selection_timestamp);
    }
}

void XClipboard::OnOwner(xcb_window_t owner, xcb_timestamp_t time) {
    copied_.clear();
    isCopying_ = false;
    const bool wasOwner = std::exchange(isOwner_, owner == window_);
    if (isOwner_ || (wasOwner && owner == XCB_NONE)) {
        return;
    }
    copiedAt_ = time;
    if (owner == XCB_NONE) {
        return OnCopied();
    }
    isCopying_ = true;
    reader_.Read(atoms_.targets, time, [this, time](const std::optional<std::string>& targets) {
        if (time == copiedAt_ && !isOwner_) {
            OnTargets(targets);
        }
    });
}

void XClipboard::OnTargets(const std::optional<std::string>& targets) {
    std::vector<xcb_atom_t> atoms(targets ? targets->size() / sizeof(xcb_atom_t) : 0);
    if (!atoms.empty()) {
        std::memcpy(atoms.data(), targets->data(), atoms.size() * sizeof(xcb_atom_t));
    }
    const auto has = [&atoms](xcb_atom_t atom) {
        return std::ranges::find(atoms, atom) != atoms.end();
    };
    for (const xcb_atom_t text : {atoms_.utf8, atoms_.plainUtf8, atoms_.latin1}) {
        if (has(text)) {
            copied_.try_emplace(ContentType::TEXT, text);
        }
    }
    if (has(atoms_.png)) {
        copied_.try_emplace(ContentType::PNG, atoms_.png);
    }
    if (copied_.empty() || !has(atoms_.secrecy)) {
        return OnCopied();
    }
    const auto found = std::exchange(copied_, {});
    reader_.Read(atoms_.secrecy, copiedAt_, [this, found, time = copiedAt_](const std::optional<std::string>& hint) {
        if (time != copiedAt_ || isOwner_) {
            return;
        }
        // A hint that cannot be had may be the word.
        if (hint && *hint != "secret") {
            copied_ = found;
        }
        OnCopied();
    });
}

void XClipboard::OnCopied() {
    isCopying_ = false;
    std::vector<ContentType> types;
    for (const auto& [type, atom] : copied_) {
        types.push_back(type);
    }
    listener_->OnCopied(types);
}

}  // namespace ZYNE::Companion
