// The clipboard of a display system: what programs here have copied, and what is offered to them from elsewhere.
//
// Used on one thread, the companion's loop, on which the listener is called too. No operation throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ZYNE::Companion {

enum class ContentType : uint8_t { TEXT = 1, PNG = 2 };  // UTF-8; a picture

class Clipboard {
public:
    // No content of the clipboard that is carried may be larger.
    static constexpr size_t MAX_BYTES = size_t{16} << 20U;

    class Listener {
    public:
        // A program of this device has copied something else. `types` is what of it can cross: nothing when there is no
        // such thing, or when it is marked as secret.
        virtual void OnCopied(const std::vector<ContentType>& types) = 0;
        // A program wants what Offer has offered. To be answered with Give, once for each call.
        virtual void OnPaste(ContentType type) = 0;

    protected:
        ~Listener() = default;
    };

    // Whether a program has copied something here of which OnCopied is still to come: what it is has to be asked first.
    // May call the listener.
    virtual bool IsCopying() = 0;
    // Offers content of another device to programs of this one, from now on; empty takes an offer back.
    virtual void Offer(const std::vector<ContentType>& types) = 0;
    // The answer to OnPaste; empty when the content cannot be had.
    virtual void Give(ContentType type, const std::string& content) = 0;
    // Reads what was copied here. `done` gets the content, empty when it cannot be had, within ten seconds; a large one
    // comes in pieces, and the loop goes on meanwhile.
    virtual void Read(ContentType type, std::function<void(std::string content)> done) = 0;

protected:
    ~Clipboard() = default;
};

}  // namespace ZYNE::Companion
