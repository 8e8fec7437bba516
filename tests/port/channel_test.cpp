// Channels without daemons: what a datagram proves, which way the latest goes, and what a peer may say.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "linux/network/channel/channel_message.h"
#include "linux/network/channel/channel_room.h"
#include "linux/network/channel/latest_flow.h"
#include "linux/network/channel/sealed_datagram.h"
#include "linux/network/channel/stream_channel.h"
#include "tests/port/played_device.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr DatagramKey KEY{1, 2, 3};
constexpr DatagramKey OTHER_KEY{1, 2, 4};

TEST(SealedDatagrams, AreTakenOnceInOrderAndUnchanged) {
    DatagramSealer sealer(KEY, 7);
    const auto seal = [&](uint64_t number, const std::string& text) {
        return std::string(sealer.Seal(number, text));
    };
    const std::string first = seal(1, "first");
    EXPECT_EQ(first.find("first"), std::string::npos);
    EXPECT_NE(first.substr(8), seal(2, "first").substr(8)) << "each number seals differently";

    EXPECT_FALSE(DatagramOpener(OTHER_KEY, 7).Open(first));
    EXPECT_FALSE(DatagramOpener(KEY, 8).Open(first)) << "of another channel";
    DatagramOpener opener(KEY, 7);
    for (size_t at = 0; at < first.size(); ++at) {
        std::string forged = first;
        forged[at] = static_cast<char>(forged[at] ^ 1);
        EXPECT_FALSE(opener.Open(forged)) << at;
    }
    EXPECT_FALSE(opener.Open(first.substr(0, 23)) || opener.Open("") || opener.Open(first + "x"));
    const auto opened = opener.Open(first);
    ASSERT_TRUE(opened) << "what was forged with its number has not used that up";
    EXPECT_EQ(opened->number, 1U);
    EXPECT_EQ(opened->bytes, "first");
    EXPECT_FALSE(opener.Open(first)) << "again";
    EXPECT_TRUE(opener.Open(seal(9, std::string(SealedDatagram::MAX_BYTES, 'x'))));
    EXPECT_FALSE(opener.Open(seal(8, "overtaken")));
    EXPECT_TRUE(opener.Open(seal(10, "")));
    EXPECT_FALSE(opener.Open(seal(11, std::string(SealedDatagram::MAX_BYTES + 1, 'x'))));
}

// Two ends of a channel of the latest, and what lies between them.
class LatestFlows : public ::testing::Test {
protected:
    // What is on its way from one end to the other.
    struct Way {
        std::vector<std::string> datagrams;
        std::vector<std::string> stream;
    };

    LatestFlow::Ways From(Way& way, std::vector<std::string>& delivered) {
        return {[&](std::string_view datagram) { way.datagrams.emplace_back(datagram); },
            [&](std::string_view numbered) {
                if (streamHasRoom) {
                    way.stream.emplace_back(numbered);
                }
                return streamHasRoom;
            },
            [&](std::string_view message) { delivered.emplace_back(message); },
            [this] {
                return now;
            }};
    }
    // How many datagrams and messages on the stream it takes to send one message.
    std::pair<size_t, size_t> Send(const std::string& message) {
        there = {};
        EXPECT_TRUE(one.Send(message));
        return {there.datagrams.size(), there.stream.size()};
    }
    // What has been sent last arrives, the datagrams first, and what the other end says to it.
    void Arrive() {
        ArriveByDatagram();
        for (const std::string& numbered : there.stream) {
            EXPECT_TRUE(other.OnStream(numbered));
        }
    }
    void ArriveByDatagram() {
        for (const std::string& datagram : there.datagrams) {
            other.OnDatagram(datagram);
        }
        for (const std::string& datagram : std::exchange(back, {}).datagrams) {
            ++acknowledgements;
            one.OnDatagram(datagram);
        }
    }

    DatagramPath::Time now{1h};
    bool streamHasRoom = true;
    Way there;
    Way back;
    size_t acknowledgements = 0;
    std::vector<std::string> got;
    std::vector<std::string> gotBack;
    LatestFlow one{DatagramSealer(KEY, 1), DatagramOpener(OTHER_KEY, 2), From(there, gotBack)};
    LatestFlow other{DatagramSealer(OTHER_KEY, 2), DatagramOpener(KEY, 1), From(back, got)};
};

using Ways = std::pair<size_t, size_t>;
constexpr Ways BOTH{1, 1};
constexpr Ways DATAGRAM{1, 0};
constexpr Ways TWICE{2, 0};
constexpr Ways STREAM{0, 1};

TEST_F(LatestFlows, GoBothWaysUntilDatagramsAreKnownToArriveAndAgainWhenTheyMayNot) {
    EXPECT_EQ(Send("a"), BOTH);
    EXPECT_EQ(Send("b"), BOTH);
    Arrive();
    EXPECT_THAT(got, ElementsAre("b")) << "once, and what is older no more";
    for (int i = 0; i < 99; ++i) {
        now += 1ms;
        EXPECT_EQ(Send("c"), DATAGRAM);
        Arrive();
    }
    EXPECT_EQ(acknowledgements, 1U);
    EXPECT_EQ(got.size(), 100U);
    now += 1ms;
    Send("c");
    Arrive();
    EXPECT_EQ(acknowledgements, 2U);
    now += 3ms;
    EXPECT_EQ(Send("d"), DATAGRAM);
    now += 4ms;
    EXPECT_EQ(Send("e"), TWICE);
    Arrive();
    EXPECT_EQ(got.size(), 102U) << "the same one is delivered once";

    // From here on no datagram arrives.
    now += 292ms;
    EXPECT_EQ(Send("lost"), TWICE) << "no other soon makes its loss good";
    now += 1ms;
    EXPECT_EQ(Send("d"), BOTH);
    EXPECT_TRUE(other.OnStream(there.stream.front()));
    EXPECT_EQ(got.back(), "d");
    now += 2999ms;
    EXPECT_EQ(Send("e"), BOTH);
    now += 1ms;
    EXPECT_EQ(Send("f"), STREAM) << "they have been tried for long";
    now += 998ms;
    EXPECT_EQ(Send("g"), STREAM);
    now += 1ms;
    EXPECT_EQ(Send("h"), BOTH) << "once a second";
    now += 999ms;
    EXPECT_EQ(Send("i"), STREAM);
    now += 1ms;
    EXPECT_EQ(Send("j"), BOTH);
    ArriveByDatagram();
    EXPECT_EQ(got.back(), "j");
    EXPECT_EQ(Send("k"), DATAGRAM);
    now += 1h;
    EXPECT_EQ(Send("l"), BOTH) << "an old acknowledgement says nothing";
}

TEST_F(LatestFlows, DeliverNothingTwiceNorLateAndTellOfNoAcknowledgementThatIsForged) {
    Send("a");
    const Way a = there;
    Send("b");
    const Way b = there;
    for (const std::string& message : {b.stream.front(), a.stream.front(), b.stream.front()}) {
        EXPECT_TRUE(other.OnStream(message));
    }
    other.OnDatagram(a.datagrams.front());
    EXPECT_THAT(got, ElementsAre("b"));
    const std::string acknowledgement = back.datagrams.front();
    one.OnDatagram(acknowledgement.substr(1));
    one.OnDatagram(a.datagrams.front());
    EXPECT_EQ(Send("c"), BOTH);
    one.OnDatagram(acknowledgement);
    EXPECT_EQ(Send("d"), DATAGRAM);
    now += 1s;
    one.OnDatagram(acknowledgement);
    EXPECT_EQ(Send("e"), BOTH) << "it came twice";
    EXPECT_FALSE(other.OnStream("8 bytes!") || other.OnStream(""));

    EXPECT_EQ(Send(std::string(SealedDatagram::MAX_BYTES + 1, 'x')), STREAM);
    EXPECT_EQ(Send(std::string(SealedDatagram::MAX_BYTES, 'x')), BOTH);
}

TEST_F(LatestFlows, KeepTheNewestWhileTheStreamHasNoRoomAndEndWithTheirNumbers) {
    streamHasRoom = false;
    for (int i = 0; i < 100; ++i) {
        Send(std::to_string(i));
    }
    streamHasRoom = true;
    EXPECT_EQ(Send("100").second, 0U) << "it does not overtake";
    one.OnRoom();
    EXPECT_EQ(there.stream.size(), 16U);
    Arrive();
    EXPECT_EQ(got.back(), "100");
    std::deque<std::string> large(3, std::string(MAX_MESSAGE_BYTES, 'x'));
    KeepNewest(large);
    EXPECT_EQ(large.size(), 2U);

    LatestFlow last(
        DatagramSealer(KEY, 1), DatagramOpener(OTHER_KEY, 2), From(there, gotBack), SealedDatagram::LAST_NUMBER - 1);
    EXPECT_TRUE(last.Send("the last"));
    EXPECT_FALSE(last.Send("one more"));
}

const std::string LEAST(64, 'a');
const std::string GREATEST(64, 'b');

// The room of one device, and a peer that says what the test has it say.
class ChannelRoomTest : public ::testing::Test {
protected:
    // Where the peer's udid is smaller, it is the peer that matches.
    void Link(const std::string& own, const std::string& peers) {
        udid = own;
        self.emplace(OpenIdentity(own, "home"));
        peer.emplace(OpenIdentity(peers, "home"));
        room = std::make_shared<ChannelRoom>(
            ChannelRoom::Host{std::shared_ptr<EventLoop>(std::shared_ptr<void>(), &self->Loop()), own,
                [](const std::string& of, const std::string& name) {
                    return of != "app"   ? ChannelDeclaration::NO_APP
                        : name != "name" ? ChannelDeclaration::NO_CHANNEL
                                         : ChannelDeclaration::DECLARED;
                },
                table,
                [this](const std::string&) {
                    ++excesses;
                }});
        self->onMessage = [this, peers](Stream stream, std::string_view message) {
            return room->OnMessage(self->links.FindLink(peers), stream, message);
        };
        peer->onMessage = [this](Stream, std::string_view message) {
            heard.Add(Describe(message));
            return true;
        };
        peer->Dial(self->Port());
        ASSERT_TRUE(Eventually([&] { return self->HasLink(peers) && peer->HasLink(own); }));
        self->Do([&] {
            table->Put(std::make_shared<Peer>(
                Peer{{.udid = peers, .networkId = {}, .deviceName = {}}, {}, self->links.FindLink(peers)}));
        });
        peersUdid = peers;
    }
    ~ChannelRoomTest() override {
        if (self) {
            self->Do([&] { room->Stop(); });
        }
        peer.reset();
        self.reset();
    }

    static std::string Describe(std::string_view message) {
        if (!IsChannelControl(message)) {
            const auto type = ReadChannelPart(message)->type;
            return type == ChannelPart::Type::END ? "end" : type == ChannelPart::Type::LAST ? "whole" : "part";
        }
        const auto control = *ReadChannelControl(message);
        return control.has_offer()  ? "offer"
            : control.has_match()   ? "match " + std::to_string(control.match().number())
            : control.has_refusal() ? "refusal " + std::to_string(control.refusal().reason())
            : control.has_credit()  ? "credit " + std::to_string(control.credit().bytes())
                                    : "withdrawal";
    }
    bool Says(const std::string& message, Stream stream = Stream::CHANNEL) {
        return peer->Sends(udid, stream, message);
    }
    bool Says(const Wire::ChannelControl& control) { return Says(WriteChannelControl(control)); }
    bool Offers(uint32_t number, const std::string& of = "app", const std::string& name = "name", uint32_t kind = 1) {
        Wire::ChannelControl control;
        control.mutable_offer()->set_number(number);
        control.mutable_offer()->set_app(of);
        control.mutable_offer()->set_name(name);
        control.mutable_offer()->set_kind(kind);
        return Says(control);
    }
    bool Credits(uint32_t number, uint32_t bytes) {
        Wire::ChannelControl control;
        control.mutable_credit()->set_number(number);
        control.mutable_credit()->set_bytes(bytes);
        return Says(control);
    }
    bool Matches(uint32_t number) {
        Wire::ChannelControl control;
        control.mutable_match()->set_number(number);
        control.mutable_match()->set_own(5);
        return Says(control);
    }
    bool SaysPart(uint32_t channel, ChannelPart::Type type, const std::string& bytes) {
        std::string message(1, static_cast<char>(type));
        for (const unsigned shift : {24U, 16U, 8U, 0U}) {
            message += static_cast<char>(channel >> shift);
        }
        return Says(message + bytes);
    }
    // The app's end goes to `app`.
    uint32_t Opens(std::chrono::milliseconds time = 30s, ChannelKind kind = ChannelKind::RELIABLE) {
        return room->Open(
            {{"app", "name", kind}, peersUdid, time}, [this](ChannelRefusal refusal, UniqueFd descriptor) {
                app = std::move(descriptor);
                answers.Add(refusal);
            });
    }
    bool LosesTheLink() {
        const bool isLost = Eventually([&] { return !self->HasLink(peersUdid) && !peer->HasLink(udid); });
        self->Do([&] { room->Stop(); });
        return isLost;
    }

    std::string udid;
    std::string peersUdid;
    std::atomic<int> excesses{0};
    const std::shared_ptr<PeerTable> table = std::make_shared<PeerTable>();
    std::shared_ptr<ChannelRoom> room;
    UniqueFd app;
    Told<ChannelRefusal> answers;
    Told<std::string> heard;
    std::optional<PlayedDevice> self;
    std::optional<PlayedDevice> peer;
};

TEST_F(ChannelRoomTest, EndsAChannelWhosePeerSendsMoreThanItMayAndNothingElse) {
    Link(LEAST, GREATEST);
    ASSERT_TRUE(Offers(5));
    const uint32_t number = Opens();
    ASSERT_TRUE(answers.Reaches(1));
    EXPECT_THAT(answers.All(), ElementsAre(ChannelRefusal::NONE));
    EXPECT_THAT(heard.Until("match 5"), ElementsAre("offer", "match 5"));
    // What its app does not read waits here, a window at most besides what the kernel holds.
    const std::string part(SecureChannel::LARGE_BYTES - 16, 'x');
    for (int i = 0; i < 200; ++i) {
        SaysPart(number, ChannelPart::Type::LAST, part);
    }
    const auto all = heard.Until("end");
    EXPECT_LT(all.size(), 8U);
    for (size_t i = 2; i + 1 < all.size(); ++i) {
        EXPECT_TRUE(all.at(i).starts_with("credit ")) << all.at(i);
    }
    std::array<char, MAX_MESSAGE_BYTES> message{};
    EXPECT_EQ(recv(app.Get(), message.data(), message.size(), 0), static_cast<ssize_t>(part.size()));
    EXPECT_TRUE(self->HasLink(peersUdid)) << "late messages of a channel that has ended are no fault";
}

TEST_F(ChannelRoomTest, RefusesWhatNobodyHasAndKeepsFewOffers) {
    Link(LEAST, GREATEST);
    EXPECT_TRUE(Offers(1, "other") && Offers(2, "app", "other"));
    for (uint32_t number = 0; number <= ChannelRoom::MAX_OFFERS; ++number) {
        EXPECT_TRUE(Offers(100 + number));
    }
    EXPECT_TRUE(heard.Reaches(3));
    EXPECT_THAT(heard.All(), ElementsAre("refusal 1", "refusal 2", "refusal 0"));
    EXPECT_EQ(excesses, 3);
    // Those that are withdrawn make room, and are not met.
    Wire::ChannelControl withdrawal;
    withdrawal.mutable_withdrawal()->set_number(100);
    EXPECT_TRUE(Says(withdrawal) && Offers(200));
    Opens();
    EXPECT_TRUE(heard.Reaches(5) && answers.Reaches(1));
    EXPECT_THAT(heard.All(), ElementsAre("refusal 1", "refusal 2", "refusal 0", "offer", "match 101"));
    // A program that has left waits no longer, and who withdraws just after the match has its channel ended.
    withdrawal.mutable_withdrawal()->set_number(101);
    EXPECT_TRUE(Says(withdrawal));
    char byte = 0;
    EXPECT_EQ(recv(app.Get(), &byte, 1, 0), 0);
    room->Withdraw(Opens(30s, ChannelKind::BULK));
    EXPECT_THAT(heard.Until("withdrawal"), ::testing::Contains("offer").Times(2));
    Opens(0ms, ChannelKind::BULK);
    EXPECT_TRUE(answers.Reaches(2));
    EXPECT_EQ(answers.All().back(), ChannelRefusal::NOBODY);
}

TEST_F(ChannelRoomTest, GivesCreditAsTheAppReadsAndSendsNoMoreThanItGets) {
    Link(GREATEST, LEAST);
    const uint32_t number = Opens();
    EXPECT_TRUE(heard.Reaches(1) && Matches(number) && answers.Reaches(1));
    std::array<char, MAX_MESSAGE_BYTES> message{};
    size_t sent = 0;
    const timeval pause{0, 300000};
    setsockopt(app.Get(), SOL_SOCKET, SO_SNDTIMEO, &pause, sizeof(pause));
    while (send(app.Get(), message.data(), message.size(), 0) > 0) {
        ++sent;
    }
    const auto whole = [&] {
        const auto all = heard.All();
        return std::ranges::count(all, "whole");
    };
    EXPECT_EQ(whole(), 3) << "the window, but for what is too little for another of the greatest";
    EXPECT_TRUE(Credits(number, 3 * (MAX_MESSAGE_BYTES + StreamChannel::COST)));
    EXPECT_TRUE(Eventually([&] { return whole() == 6; }));
    EXPECT_TRUE(Credits(number, StreamChannel::WINDOW)) << "more than was taken";
    EXPECT_TRUE(LosesTheLink());
    EXPECT_EQ(recv(app.Get(), message.data(), message.size(), 0), 0);
}

struct Rubbish {
    const char* name;
    Stream stream;
    std::string message;
};

void PrintTo(const Rubbish& row, std::ostream* out) {
    *out << row.name;
}

class RubbishOnAChannel : public ChannelRoomTest, public ::testing::WithParamInterface<Rubbish> {};

TEST_P(RubbishOnAChannel, EndsTheLink) {
    Link(LEAST, GREATEST);
    EXPECT_TRUE(Offers(5));
    EXPECT_EQ(Opens(), 1U);
    EXPECT_TRUE(heard.Until("match 5").size() == 2 && answers.Reaches(1));
    // Of the greatest size that a whole message may have; another part makes it too much.
    for (size_t bytes = 0; bytes + 16000 < MAX_MESSAGE_BYTES; bytes += 16000) {
        EXPECT_TRUE(SaysPart(1, ChannelPart::Type::MORE, std::string(16000, 'x')));
    }
    EXPECT_TRUE(Says(GetParam().message, GetParam().stream));
    EXPECT_TRUE(LosesTheLink());
}

std::string Control(const std::function<void(Wire::ChannelControl&)>& fill) {
    Wire::ChannelControl control;
    fill(control);
    return WriteChannelControl(control);
}

INSTANTIATE_TEST_SUITE_P(Rows, RubbishOnAChannel,
    ::testing::Values(Rubbish{"no type", Stream::CHANNEL, "rubbish"},
        Rubbish{"no type in bulk", Stream::BULK, "rubbish"},
        Rubbish{"an unknown part", Stream::CHANNEL, std::string("\4\0\0\0\1x", 6)},
        Rubbish{"half a part", Stream::CHANNEL, std::string("\2\0\0\0", 4)},
        Rubbish{"a part without bytes", Stream::CHANNEL, std::string("\2\0\0\0\1", 5)},
        Rubbish{"an end with bytes", Stream::CHANNEL, std::string("\3\0\0\0\1x", 6)},
        Rubbish{"a part on the wrong stream", Stream::BULK, std::string("\2\0\0\0\1x", 6)},
        Rubbish{"a message that is too large", Stream::CHANNEL, std::string("\2\0\0\0\1", 5) + std::string(2000, 'x')},
        Rubbish{"no control", Stream::CHANNEL, std::string(1, '\0')},
        Rubbish{"control that is none", Stream::CHANNEL, std::string("\0rubbish", 8)},
        Rubbish{"control in bulk", Stream::BULK, Control([](auto& control) { control.mutable_withdrawal(); })},
        Rubbish{"a match from who does not match", Stream::CHANNEL,
            Control([](auto& control) { control.mutable_match(); })},
        Rubbish{"an offer without names", Stream::CHANNEL,
            Control([](auto& control) { control.mutable_offer()->set_kind(1); })},
        Rubbish{"datagrams without a key", Stream::CHANNEL, Control([](auto& control) {
                    control.mutable_offer()->set_app("app");
                    control.mutable_offer()->set_name("name");
                    control.mutable_offer()->set_kind(3);
                    control.mutable_offer()->mutable_datagrams()->set_port(1);
                })},
        Rubbish{"an unknown kind", Stream::CHANNEL, Control([](auto& control) {
                    control.mutable_offer()->set_app("app");
                    control.mutable_offer()->set_name("name");
                    control.mutable_offer()->set_kind(4);
                })},
        Rubbish{"too much credit", Stream::CHANNEL, Control([](auto& control) {
                    control.mutable_credit()->set_number(1);
                    control.mutable_credit()->set_bytes(1);
                })}));

}  // namespace
}  // namespace ZYNE::Linux
