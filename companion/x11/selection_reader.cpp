#include "companion/x11/selection_reader.h"

#include <chrono>
#include <utility>

#include "companion/desktop/clipboard.h"
#include "linux/desktop/x_link.h"

namespace ZYNE::Companion {
namespace {

using namespace std::chrono_literals;

constexpr auto LIMIT = 10s;
constexpr uint32_t SLICE = 64 * 1024 / 4;  // in units of four bytes

}  // namespace

SelectionReader::SelectionReader(
    Linux::EventLoop& loop, xcb_connection_t* connection, xcb_window_t window, const ClipboardAtoms& atoms)
    : loop_(loop), connection_(connection), window_(window), atoms_(atoms) {
    const std::array<std::pair<std::string_view, xcb_atom_t*>, 4> wanted{
        {{"COMPANION_CONTENT_0", &properties_[0]}, {"COMPANION_CONTENT_1", &properties_[1]},
            {"COMPANION_CONTENT_2", &properties_[2]}, {"COMPANION_CONTENT_3", &properties_[3]}}};
    LearnAtoms(connection, wanted);
}

void SelectionReader::Read(xcb_atom_t target, xcb_timestamp_t time, Done done) {
    const auto request = requests_.insert(requests_.end(), {target, time, std::move(done), {}});
    request->limit = loop_.After(LIMIT, [this, request] { Finish(request, std::nullopt); });
    if (requests_.size() == 1) {
        StartNext();
    }
}

void SelectionReader::StartNext() {
    round_ = (round_ + 1) % properties_.size();
    isIncremental_ = false;
    bytes_.clear();
    offset_ = 0;
    const Request& request = requests_.front();
    xcb_delete_property(connection_, window_, properties_[round_]);
    xcb_convert_selection(connection_, window_, atoms_.clipboard, request.target, properties_[round_], request.time);
    xcb_flush(connection_);
}

void SelectionReader::Cancel() {
    hasSlice_ = false;
    for (const Request& request : std::exchange(requests_, {})) {
        request.done(std::nullopt);
    }
}

void SelectionReader::OnNotify(const xcb_selection_notify_event_t& event) {
    const bool isAnswer =
        !requests_.empty() && event.selection == atoms_.clipboard && event.target == requests_.front().target;
    if (!isAnswer) {
        return;
    }
    if (event.property == XCB_NONE) {
        Finish(requests_.begin(), std::nullopt);
    } else if (event.property == properties_[round_]) {
        hasSlice_ = true;
    }
}

// The owner puts the next piece of a content there.
void SelectionReader::OnProperty(const xcb_property_notify_event_t& event) {
    if (!requests_.empty() && isIncremental_ && event.window == window_ && event.atom == properties_[round_] &&
        event.state == XCB_PROPERTY_NEW_VALUE) {
        hasSlice_ = true;
    }
}

// The server deletes the property with its last slice, which is how the owner learns that it was taken.
void SelectionReader::TakeSlice() {
    hasSlice_ = false;
    const Linux::XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection_,
        xcb_get_property(connection_, 1, window_, properties_[round_], XCB_ATOM_ANY, offset_, SLICE), nullptr));
    if (!reply || reply->type == XCB_NONE) {
        return isIncremental_ ? void() : Finish(requests_.begin(), std::nullopt);
    }
    if (reply->type == atoms_.incremental && !isIncremental_) {
        isIncremental_ = true;
        return;
    }
    const auto length = static_cast<size_t>(xcb_get_property_value_length(reply.get()));
    bytes_.append(static_cast<const char*>(xcb_get_property_value(reply.get())), length);
    if (bytes_.size() + reply->bytes_after > Clipboard::MAX_BYTES) {
        return Finish(requests_.begin(), std::nullopt);
    }
    if (reply->bytes_after > 0) {
        offset_ += SLICE;
        hasSlice_ = true;
        return;
    }
    const bool isLast = !isIncremental_ || (length == 0 && offset_ == 0);
    offset_ = 0;
    if (isLast) {
        Finish(requests_.begin(), std::exchange(bytes_, {}));
    }
}

void SelectionReader::Finish(Requests::iterator request, std::optional<std::string> bytes) {
    const bool wasUnderWay = request == requests_.begin();
    const Done done = std::move(request->done);
    requests_.erase(request);
    if (wasUnderWay) {
        hasSlice_ = false;
    }
    if (wasUnderWay && !requests_.empty()) {
        StartNext();
    }
    done(std::move(bytes));
}

}  // namespace ZYNE::Companion
