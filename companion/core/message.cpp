#include "companion/core/message.h"

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>

namespace ZYNE::Companion {
namespace {

constexpr uint8_t KNOWN_CONTENTS = 0x06;  // text and PNG

bool IsButton(uint32_t button) {
    return button >= 1 && button <= MAX_BUTTON && (button < 4 || button > 7);
}

// Both have the same operations, one for each kind of value, so that one list of fields serves both ways.
class Writer {
public:
    static constexpr bool READS = false;

    template <typename Number>
    void Fixed(Number value) {
        auto rest = static_cast<std::make_unsigned_t<Number>>(value);
        for (size_t byte = 0; byte < sizeof(Number); ++byte) {
            bytes_.push_back(static_cast<char>(rest & 0xffU));
            rest = static_cast<decltype(rest)>(uint64_t{rest} >> 8U);
        }
    }
    template <typename Number>
    void InRange(Number value, Number /*least*/, Number /*most*/) {
        Fixed(value);
    }
    void Bool(bool value) { Fixed<uint8_t>(value ? 1 : 0); }
    void Name(const std::string& name, size_t /*least*/) {
        Fixed(static_cast<uint8_t>(std::min(name.size(), MAX_NAME_BYTES)));
        bytes_.append(name, 0, MAX_NAME_BYTES);
    }
    void Flags(std::initializer_list<const bool*> flags) {
        uint8_t bits = 0;
        uint32_t place = 0;
        for (const bool* flag : flags) {
            bits |= static_cast<uint8_t>(*flag ? 1U << place : 0U);
            ++place;
        }
        Fixed(bits);
    }
    void Keys(const std::set<KeyCode>& keys) {
        Fixed(static_cast<uint8_t>(keys.size()));
        for (const KeyCode code : keys) {
            Fixed(static_cast<uint8_t>(code));
        }
    }
    void Buttons(const std::set<Button>& buttons) {
        uint32_t bits = 0;
        for (const Button button : buttons) {
            bits |= 1U << button;
        }
        Fixed(bits);
    }
    void Code(KeyCode code) { Fixed(static_cast<uint8_t>(code)); }
    void Check(bool /*isSensible*/) {}

    std::string Take() { return std::move(bytes_); }

private:
    std::string bytes_;
};

// Once something is wrong it stays so, and what is read from then on means nothing.
class Reader {
public:
    static constexpr bool READS = true;

    explicit Reader(std::string_view bytes) : rest_(bytes) {}

    template <typename Number>
    void Fixed(Number& value) {
        std::make_unsigned_t<Number> bits = 0;
        for (size_t byte = 0; byte < sizeof(Number) && Check(byte < rest_.size()); ++byte) {
            bits |= static_cast<decltype(bits)>(uint64_t{static_cast<uint8_t>(rest_[byte])} << (8 * byte));
        }
        rest_.remove_prefix(std::min(sizeof(Number), rest_.size()));
        value = static_cast<Number>(bits);
    }
    template <typename Number>
    void InRange(Number& value, Number least, Number most) {
        Fixed(value);
        Check(value >= least && value <= most);
    }
    void Bool(bool& value) {
        uint8_t byte = 0;
        InRange<uint8_t>(byte, 0, 1);
        value = byte == 1;
    }
    void Name(std::string& name, size_t least) {
        uint8_t size = 0;
        Fixed(size);
        if (Check(size >= least && size <= MAX_NAME_BYTES && size <= rest_.size())) {
            name = rest_.substr(0, size);
            rest_.remove_prefix(size);
            // It may be shown to people.
            Check(std::none_of(name.begin(), name.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; }));
        }
    }
    void Flags(std::initializer_list<bool*> flags) {
        uint8_t bits = 0;
        Fixed(bits);
        for (bool* flag : flags) {
            *flag = (bits & 1U) != 0;
            bits >>= 1U;
        }
        Check(bits == 0);
    }
    void Keys(std::set<KeyCode>& keys) {
        uint8_t count = 0;
        Fixed(count);
        KeyCode least = 1;
        for (; count > 0 && isRight_; --count) {
            KeyCode code = 0;
            Code(code);
            if (Check(code >= least)) {  // ascending: there is one way to say it
                keys.insert(code);
            }
            least = code + 1;
        }
    }
    void Buttons(std::set<Button>& buttons) {
        uint32_t bits = 0;
        Fixed(bits);
        for (uint32_t button = 0; button <= MAX_BUTTON; ++button) {
            if ((bits >> button & 1U) != 0 && Check(IsButton(button))) {
                buttons.insert(static_cast<Button>(button));
            }
        }
    }
    void Code(KeyCode& code) {
        uint8_t byte = 0;
        InRange<uint8_t>(byte, 1, MAX_KEY_CODE);
        code = byte;
    }
    bool Check(bool isSensible) {
        isRight_ = isRight_ && isSensible;
        return isRight_;
    }

    bool IsRight() const { return isRight_; }
    bool IsAtEnd() const { return rest_.empty(); }

private:
    std::string_view rest_;
    bool isRight_ = true;
};

// The fields of each message in their order. `Io` is a Writer, for constant messages, or a Reader.
template <typename Io, typename Value>
void VisitField(Io& io, Value& visit) {
    io.template InRange<uint32_t>(visit, 1, std::numeric_limits<Visit>::max());
}

template <typename Io, typename Value>
void TotalField(Io& io, Value& total) {
    io.Fixed(total.number);
    io.template InRange<int64_t>(total.x, -MAX_TOTAL, MAX_TOTAL);
    io.template InRange<int64_t>(total.y, -MAX_TOTAL, MAX_TOTAL);
}

template <typename Io, typename Value>
void GateField(Io& io, Value& gate) {
    auto side = static_cast<uint8_t>(gate.side);
    io.template InRange<uint8_t>(side, 0, static_cast<uint8_t>(Side::BOTTOM));
    if constexpr (Io::READS) {
        gate.side = static_cast<Side>(side & 3U);
    }
    io.Fixed(gate.place);
    io.Name(gate.display, 0);
}

template <typename Io, typename Value>
void ReasonField(Io& io, Value& reason) {
    auto number = static_cast<uint8_t>(reason);
    io.template InRange<uint8_t>(
        number, static_cast<uint8_t>(Reason::OVER_EDGE), static_cast<uint8_t>(Reason::NONSENSE));
    if constexpr (Io::READS) {
        reason = static_cast<Reason>(number);
    }
}

// Of a message that says how far the pointer has been moved, what follows that.
template <typename Io, typename Body>
void MovedFields(Io& io, Body& body) {
    using Kind = std::remove_const_t<Body>;
    if constexpr (std::is_same_v<Kind, Key>) {
        io.Code(body.key.code);
        io.Bool(body.key.isDown);
    } else if constexpr (std::is_same_v<Kind, Click>) {
        io.template InRange<uint8_t>(body.button.button, 1, MAX_BUTTON);
        io.Check(IsButton(body.button.button));
        io.Bool(body.button.isDown);
    } else if constexpr (std::is_same_v<Kind, Wheel>) {
        io.template InRange<int32_t>(body.scroll.dx, -MAX_SCROLL, MAX_SCROLL);
        io.template InRange<int32_t>(body.scroll.dy, -MAX_SCROLL, MAX_SCROLL);
    } else if constexpr (std::is_same_v<Kind, Left>) {
        io.Name(body.device, 1);
        GateField(io, body.gate);
    }
}

// Of a message about a visit, what follows the number of the visit.
template <typename Io, typename Body>
void VisitFields(Io& io, Body& body) {
    using Kind = std::remove_const_t<Body>;
    if constexpr (std::is_same_v<Kind, Enter>) {
        GateField(io, body.gate);
        io.Flags({&body.locks.caps, &body.locks.num, &body.locks.scroll});
        io.Keys(body.keys);
        io.Buttons(body.buttons);
    } else if constexpr (std::is_same_v<Kind, Refused> || std::is_same_v<Kind, Ended>) {
        ReasonField(io, body.reason);
    } else if constexpr (std::is_same_v<Kind, Alive>) {
        io.Fixed(body.micros);
        TotalField(io, body.total);
    } else if constexpr (std::is_same_v<Kind, Echo>) {
        io.Fixed(body.micros);
    } else if constexpr (!std::is_same_v<Kind, Entered>) {
        TotalField(io, body.total);
        MovedFields(io, body);
    }
}

// Of any message.
template <typename Io, typename Body>
void Fields(Io& io, Body& body) {
    using Kind = std::remove_const_t<Body>;
    if constexpr (std::is_same_v<Kind, Hello>) {
    } else if constexpr (std::is_same_v<Kind, Status>) {
        io.Flags({&body.hasScreens, &body.isLocked});
    } else if constexpr (std::is_same_v<Kind, Copied>) {
        io.Fixed(body.number);
        io.Fixed(body.types);
        io.Check((body.types & ~KNOWN_CONTENTS) == 0);
    } else {
        VisitField(io, body.visit);
        VisitFields(io, body);
    }
}

template <typename Body>
std::optional<Message> ReadBody(Reader& reader) {
    Body body;
    Fields(reader, body);
    return reader.IsRight() && reader.IsAtEnd() ? std::optional<Message>(std::move(body)) : std::nullopt;
}

using BodyReader = std::optional<Message> (*)(Reader&);

// In the order of the alternatives of Message.
constexpr std::array<BodyReader, std::variant_size_v<Message>> BODY_READERS{ReadBody<Hello>, ReadBody<Status>,
    ReadBody<Enter>, ReadBody<Entered>, ReadBody<Refused>, ReadBody<Key>, ReadBody<Click>, ReadBody<Wheel>,
    ReadBody<Left>, ReadBody<Ended>, ReadBody<Copied>, ReadBody<Move>, ReadBody<Alive>, ReadBody<Echo>};

}  // namespace

bool IsLatest(const Message& message) {
    return std::holds_alternative<Move>(message) || std::holds_alternative<Alive>(message) ||
        std::holds_alternative<Echo>(message);
}

std::string Write(const Message& message) {
    Writer writer;
    const auto* hello = std::get_if<Hello>(&message);
    writer.Fixed(hello != nullptr ? hello->version : WIRE_VERSION);
    writer.Fixed(static_cast<uint8_t>(message.index()));
    std::visit([&writer](const auto& body) { Fields(writer, body); }, message);
    return writer.Take();
}

std::optional<Message> Read(std::string_view bytes) {
    Reader reader(bytes);
    uint16_t version = 0;
    uint8_t type = 0;
    reader.Fixed(version);
    reader.Fixed(type);
    if (!reader.IsRight() || type >= BODY_READERS.size()) {
        return std::nullopt;
    }
    if (version != WIRE_VERSION) {
        // A Hello of another version may say more.
        return type == 0 ? std::optional<Message>(Hello{version}) : std::nullopt;
    }
    return BODY_READERS.at(type)(reader);
}

std::string Words(Reason reason) {
    switch (reason) {
    case Reason::OVER_EDGE:
        return "moved over the edge";
    case Reason::ASKED:
        return "asked to go home";
    case Reason::LOCKED:
        return "a screen is locked";
    case Reason::NO_DISPLAY:
        return "no display";
    case Reason::SWITCHED_OFF:
        return "switched off";
    case Reason::SILENT:
        return "nothing heard for too long";
    case Reason::GONE:
        return "the peer is gone";
    case Reason::BUSY:
        return "another pointer is there";
    case Reason::NO_NEIGHBOUR:
        return "no neighbour there";
    case Reason::CAPTURE_FAILED:
        return "the pointer cannot be taken";
    default:
        return "the peer does not keep to the rules";
    }
}

}  // namespace ZYNE::Companion
