// The clipboard of an X display, which is the selection CLIPBOARD; the primary selection is left alone.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <xcb/xcb.h>

#include "companion/desktop/clipboard.h"
#include "companion/x11/clipboard_atoms.h"
#include "companion/x11/selection_offer.h"
#include "companion/x11/selection_reader.h"
#include "linux/base/event_loop.h"
#include "linux/desktop/x_link.h"

namespace ZYNE::Companion {

// The loop's thread. It has a connection of its own: large contents hold up no input. When the connection breaks, what
// is under way ends without content, and nothing more happens.
class XClipboard final : public Clipboard {
public:
    // `display` such as ":1"; empty for the environment's. Throws std::runtime_error with one line.
    XClipboard(Linux::EventLoop& loop, const std::string& display);

    // From now on `listener`, which outlives this, is called; first about what is there already. Once.
    void Start(Listener& listener);

    bool IsCopying() override;
    void Offer(const std::vector<ContentType>& types) override;
    void Give(ContentType type, const std::string& content) override;
    void Read(ContentType type, std::function<void(std::string content)> done) override;

private:
    void OnReadable();
    void Take(const xcb_generic_event_t& event);
    void OnOwner(xcb_window_t owner, xcb_timestamp_t time);
    void OnTargets(const std::optional<std::string>& targets);
    void OnCopied();
    void TakeOffer(xcb_timestamp_t now);
    void TakeAll();
    // What was read already while something was sent.
    void TakeSoon();

    Linux::EventLoop& loop_;
    const Linux::XLink link_;
    xcb_connection_t* const connection_;
    const xcb_window_t window_;
    const ClipboardAtoms atoms_;
    const uint8_t firstFixesEvent_;
    SelectionReader reader_;
    SelectionOffer offer_;
    Listener* listener_ = nullptr;
    std::optional<std::vector<ContentType>> toOffer_;  // until the server has said what time it is
    bool isOwner_ = false;
    bool isCopying_ = false;  // what was copied is being asked
    xcb_timestamp_t copiedAt_ = XCB_CURRENT_TIME;
    std::map<ContentType, xcb_atom_t> copied_;  // what another program has, and how it calls it
    Linux::EventLoop::Source input_;
    Linux::EventLoop::Source soon_;
};

}  // namespace ZYNE::Companion
