// A device that is attacked while it serves an honest one, all on loopback.
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <fstream>
#include <future>
#include <iostream>

#include "linux/account/account_directory.h"
#include "linux/account/certificate.h"
#include "linux/network/control/control.pb.h"
#include "linux/network/control/control_message.h"
#include "linux/network/link/network_log.h"
#include "tests/network/hostile_peers.h"
#include "tests/port/played_device.h"
#include "tests/scenario/scenario.h"

namespace ZYNE::Testing {
namespace {

using namespace std::chrono_literals;
using Linux::LinkIdentity;
using Linux::LinkPtr;
using Linux::PlayedDevice;
using Linux::Stream;
using Linux::UniqueFd;
using Linux::Wire::ControlMessage;
using std::chrono::milliseconds;
using ::testing::Contains;
using ::testing::Not;
using Clock = std::chrono::steady_clock;

// What an attack may cost: the time of 99 in 100 honest requests, the memory of the device that is attacked at its
// worst moment, and all lines of its log, those about honest requests too, for each attack lasts less than a minute.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr unsigned LENIENCE = 16;  // a sanitizer takes its time, and keeps what was freed
#else
constexpr unsigned LENIENCE = 1;
#endif
constexpr auto SLOWEST = 500ms * LENIENCE;
constexpr size_t MAX_GROWTH_KIB = (size_t{48} << 10U) * LENIENCE;
constexpr size_t MAX_LINES = 1000;

constexpr std::array<Stream, Linux::STREAMS> ALL_STREAMS{
    Stream::LINK, Stream::CONTROL, Stream::PROFILE, Stream::CHANNEL, Stream::BULK};
constexpr auto FLOOD_TIME = 1200ms;
// On its own, for tests run side by side and all hear all beacons of a port.
constexpr uint16_t BEACON_PORT = 47921;

void Repeat(milliseconds time, const std::function<void()>& step) {
    for (const auto end = Clock::now() + time; Clock::now() < end;) {
        step();
    }
}

// Asks a device for one item, again and again.
class Prober {
public:
    explicit Prober(const TestDevice& asker)
        : thread_([this, &asker](const std::stop_token& stop) {
              Client::Device client = asker.Api();
              while (!stop.stop_requested()) {
                  const auto start = Clock::now();
                  const Client::InfoAnswer answer = client.Info().Get("pc", {"service.hello"});
                  times_.push_back(std::chrono::floor<milliseconds>(Clock::now() - start));
                  failures_ += answer.code == 0 && answer.records.front().second == "hello from the service" ? 0 : 1;
              }
          }) {}

    void End() {
        thread_.request_stop();
        thread_.join();
        std::sort(times_.begin(), times_.end());
    }
    size_t Count() const { return times_.size(); }
    size_t Failures() const { return failures_; }
    milliseconds Slowest99() const { return times_.at(times_.size() * 99 / 100); }

private:
    std::vector<milliseconds> times_;
    size_t failures_ = 0;
    std::jthread thread_;
};

class Hostile : public Scenario {
protected:
    void SetUp() override {
        // Few descriptors, as many systems give.
        const DeviceSetup common{.hasTestProvider = true,
            .network = "interface = \"lo\"\nport = 0\nbeacon_port = " + std::to_string(BEACON_PORT) + "\n",
            .launcher = {"/bin/sh", "-c", "ulimit -Hn 1024; ulimit -n 1024; exec \"$@\"", "sh"}};
        phone = &Add("phone", common);
        pc = &Add("pc", common);
        StartBoth();
        endTime = 5s;
        port = pc->Api().GetNetwork().port;
        std::signal(SIGPIPE, SIG_IGN);
    }

    // Runs it while the phone asks the PC, which is what it attacks, and looks at what it has cost.
    void Suffer(const char* name, const std::function<void()>& attack) const {
        SCOPED_TRACE(name);
        const size_t lines = Lines();
        const size_t memory = MemoryKib("VmRSS:");
        std::ofstream(ProcessFile("clear_refs")) << 5;
        Prober prober(*phone);
        attack();
        prober.End();
        const size_t peak = MemoryKib("VmHWM:");
        const size_t growth = peak - std::min(memory, peak);
        std::cout << name << ": " << prober.Count() << " requests, p99 " << prober.Slowest99().count() << " ms, "
                  << growth << " KiB, " << Lines() - lines << " lines\n";
        EXPECT_EQ(prober.Failures(), 0u);
        EXPECT_LT(prober.Slowest99(), SLOWEST);
        EXPECT_LT(growth, MAX_GROWTH_KIB);
        EXPECT_LT(Lines() - lines, MAX_LINES);
        EXPECT_EQ(pc->CountInLog("device " + Linux::Anonymous(phone->Udid()) + " is offline"), 0u);
        EXPECT_EQ(phone->CountInLog("device " + Linux::Anonymous(pc->Udid()) + " is offline"), 0u);
    }

    std::string ProcessFile(const char* name) const { return "/proc/" + std::to_string(pc->Pid()) + '/' + name; }
    size_t MemoryKib(const std::string& name) const {
        const std::string status = ReadAll(ProcessFile("status"));
        return std::stoul(status.substr(status.find(name) + name.size()));
    }
    size_t Lines() const {
        const auto log = pc->Directory() / "state";
        return Testing::Count(ReadAll(log / "device.log"), "\n") + Testing::Count(ReadAll(log / "device.log.1"), "\n");
    }

    // The credentials of a new device of an account. Its udid is greater than those of honest devices, or smaller when
    // `first` is '-'.
    LinkIdentity Enroll(char first = 'z', const std::string& account = "home") {
        const std::string udid = "hostile-" + std::to_string(++enrolled);
        const auto home = directory / ("account-" + account);
        if (!std::filesystem::exists(home)) {
            Linux::CreateAccount(home, account);
        }
        Linux::EnrollDevice(home, directory / udid, first + udid);
        return Linux::AccountIdentity(directory / udid);
    }
    // A device of the account that has a link to `other`.
    std::unique_ptr<PlayedDevice> Join(const TestDevice& other, char first = 'z') {
        auto device = std::make_unique<PlayedDevice>(Enroll(first));
        device->SetFacts({"evil", 1, 1, 1});
        device->Dial(other.Api().GetNetwork().port);
        EXPECT_TRUE(Eventually([&] { return device->HasLink(other.Udid()); }));
        return device;
    }
    std::unique_ptr<PlayedDevice> Join() { return Join(*pc); }

    // Sends to the PC as fast as that takes it, for so long; or `most` messages, as long as it takes them.
    void Flood(PlayedDevice& device, Stream stream, const std::function<std::string(size_t)>& message,
        milliseconds time = FLOOD_TIME, size_t most = 0) const {
        LinkPtr link;
        device.Do([&] { link = device.links.FindLink(pc->Udid()); });
        ASSERT_TRUE(link);
        size_t sent = 0;
        const auto end = Clock::now() + time;
        while (Clock::now() < end || (sent < most && device.HasLink(pc->Udid()))) {
            if ((most == 0 || sent < most) && link->Waiting(stream) < (size_t{1} << 20U) &&
                link->Send(stream, message(sent))) {
                ++sent;
            } else {
                std::this_thread::sleep_for(1ms);
            }
        }
        EXPECT_GT(sent, 100u);
    }
    // From now on `told` hears what comes to the device from services and for them.
    static void Hear(PlayedDevice& device, const std::function<void(const ControlMessage&)>& told) {
        device.Do([&] {
            device.onMessage = [told](Stream stream, std::string_view bytes) {
                ControlMessage message;
                if (stream == Stream::CONTROL && message.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()))) {
                    told(message);
                }
                return true;
            };
        });
    }
    bool IsLeftAlone() const { return pc->Ctl({"status"}).out.find("left alone") != std::string::npos; }
    // Connects, and waits for what comes of it.
    static void DialOnce(PlayedDevice& device, uint16_t to) {
        const size_t before = device.told.All().size();
        device.Dial(to);
        EXPECT_TRUE(device.told.Reaches(before + 1));
    }
    // Connects again and again, as `who`, which never gets a link.
    void DialInVain(const LinkIdentity& who) const {
        PlayedDevice device(who);
        Repeat(FLOOD_TIME, [&] { DialOnce(device, port); });
        EXPECT_THAT(device.told.All(), Not(Contains("up")));
    }
    // What a device sends that takes connections at `at`.
    static std::string BeaconOf(const Linux::MeetingKey& key, const std::string& run, uint16_t at) {
        std::string text = '\1' + Linux::NetworkIdOf("a device", run);
        text += {static_cast<char>(at >> 8U), static_cast<char>(at & 0xffU)};
        text.resize(64, '\0');
        return key.Seal(text);
    }
    // To all that listen; from this address.
    static void SendBeacon(const std::string& bytes, const std::string& from = "127.0.0.1") {
        const UniqueFd sender(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        const int on = 1;
        setsockopt(sender.Get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof(on));
        const auto own = *Linux::Endpoint::FromText(from, 0);
        EXPECT_EQ(bind(sender.Get(), own.Get(), own.Size()), 0);
        const auto to = *Linux::Endpoint::FromText("127.255.255.255", BEACON_PORT);
        sendto(sender.Get(), bytes.data(), bytes.size(), 0, to.Get(), to.Size());
    }

    uint16_t port = 0;
    int enrolled = 0;
};

std::string RequestOf(size_t session, const std::string& payload) {
    return Field(1, Field(1, session) + Field(10, payload));
}

std::string NamesOf(size_t count, const std::string& name) {
    std::string names;
    for (size_t i = 0; i < count; ++i) {
        names += (i == 0 ? "\"" : ",\"") + name + (count == 1 ? "" : std::to_string(i)) + '"';
    }
    return R"({"commandType":1,"keyList":[)" + names + "]}";
}

std::string AnswerOf(size_t session, const std::string& payload) {
    return Field(2, Field(1, session) + Field(2, 3) + Field(3, payload));
}

// The whole profile of a run follows.
std::string ProfileStart() {
    return Field(2, Field(1, "run") + Field(2, 1));
}

std::string ChangeOf(size_t sequence, const std::string& service, const std::string& key, const std::string& value) {
    return Field(
        3, Field(1, sequence) + Field(2, 1) + Field(3, 2) + Field(4, service) + Field(5, key) + Field(8, value));
}

// One message after the other of a profile that never ends.
std::string RecordOf(size_t i) {
    return i == 0 ? ProfileStart() : ChangeOf(i, "s", 'k' + std::to_string(i), "value");
}

std::string FactsOf(const std::string& name, uint64_t screen = 1) {
    return Field(6, Field(1, name) + Field(4, screen));
}

TEST_F(Hostile, StrangersAreHeldOffAtTheGate) {
    Suffer("half-open connections", [&] {
        std::vector<UniqueFd> open(3000);
        std::generate(open.begin(), open.end(), [&] { return Linux::ConnectTo(port); });
        std::this_thread::sleep_for(FLOOD_TIME);
    });
    Suffer("handshakes of a byte at a time", [&] {
        const std::string hello = std::string(32, 'p') + std::string("\x16\x03\x01\x02\x00", 5);
        std::vector<UniqueFd> open(200);
        std::generate(open.begin(), open.end(), [&] { return ConnectAndBlock(port); });
        for (size_t i = 0; i < 4; ++i) {
            std::for_each(open.begin(), open.end(), [&](const UniqueFd& each) { SendAll(each, hello.substr(i, 1)); });
            std::this_thread::sleep_for(1s);
        }
        EXPECT_TRUE(std::all_of(open.begin(), open.end(), IsClosed));
    });
    Suffer("connections that come and go", [&] { Repeat(FLOOD_TIME, [&] { ConnectAndBlock(port); }); });
    Suffer("rubbish", [&] {
        std::string rubbish(4096, 'r');
        Repeat(FLOOD_TIME, [&] { SendAll(ConnectAndBlock(port), rubbish = Mutated(rubbish)); });
    });
    Suffer("no meeting key", [&] {
        LinkIdentity stranger = Enroll();
        stranger.key = Linux::MeetingKey(std::string(Linux::MeetingKey::BYTES, 'k'));
        DialInVain(stranger);
    });
    Suffer("beacons of noise, and one again and again", [&] {
        const std::string once = BeaconOf(Enroll().key, "a run", port);
        for (size_t i = 0; i < 40000; ++i) {
            SendBeacon(i % 2 == 0 ? std::string(i % 200, 'n') : once);
        }
    });
}

TEST_F(Hostile, WhoKnowsTheMeetingKeyButIsNotOfTheAccountGetsNoLink) {
    const LinkIdentity member = Enroll();
    const auto credentials = Linux::LoadCredentials(directory / ("hostile-" + std::to_string(enrolled)));
    const auto dial = [&](const Linux::TlsContext::Identity& identity) {
        LinkIdentity who = member;
        who.tls = std::make_shared<const Linux::TlsContext>(identity);
        DialInVain(who);
    };
    Suffer("another authority", [&] {
        LinkIdentity other = Enroll('z', "elsewhere");
        other.key = member.key;
        DialInVain(other);
    });
    Suffer("an expired certificate", [&] {
        const Linux::AccountDirectory account(directory / "account-home");
        const auto key = Linux::KeyFromPem(credentials.key);
        const auto expired = Linux::NewDeviceCertificate(member.udid, *key, account.Certificate(), account.Key(),
            {std::time(nullptr) - 7200, std::time(nullptr) - 3600});
        dial({Linux::ToPem(*expired), credentials.key, credentials.authority});
    });
    Suffer("a certificate for another's udid that a device has signed", [&] {
        const auto key = Linux::KeyFromPem(credentials.key);
        const auto own = Linux::CertificateFromPem(credentials.certificate);
        const auto forged = Linux::NewDeviceCertificate(phone->Udid(), *key, *own, *key, Linux::ValidForDays(1));
        dial({Linux::ToPem(*forged), credentials.key, credentials.authority});
    });
    Suffer("a revoked device", [&] {
        ASSERT_EQ(pc->Ctl({"account", "revoke", directory / "account-home", member.udid}).status, 0);
        DialInVain(member);
    });
    Suffer("beacons that lead to where nobody answers", [&] {
        const UniqueFd silent(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const auto anywhere = *Linux::Endpoint::FromText("0.0.0.0", 0);
        ASSERT_EQ(bind(silent.Get(), anywhere.Get(), anywhere.Size()), 0);
        ASSERT_EQ(listen(silent.Get(), 4096), 0);
        const uint16_t nowhere = Linux::Endpoint::OfSocket(silent.Get()).Port();
        size_t sent = 0;
        size_t descriptors = 0;
        Repeat(3s, [&] {
            ++sent;
            SendBeacon(BeaconOf(member.key, std::to_string(sent), nowhere),
                "127.1." + std::to_string(sent / 250 % 250) + '.' + std::to_string(1 + sent % 250));
            std::this_thread::sleep_for(500us);
            descriptors = std::max<size_t>(
                descriptors, std::distance(std::filesystem::directory_iterator(ProcessFile("fd")), {}));
        });
        size_t reached = 0;
        for (pollfd waiting{silent.Get(), POLLIN, 0}; poll(&waiting, 1, 0) == 1; ++reached) {
            UniqueFd(accept(silent.Get(), nullptr, nullptr));
        }
        EXPECT_GT(reached, 100u);
        EXPECT_LT(descriptors, 300u);
    });
}

TEST_F(Hostile, BytesThatOthersHaveSentAreOfNoUse) {
    Relay relay(port);
    std::vector<std::string> captured;
    Suffer("a connection that is sent again", [&] {
        {
            PlayedDevice honest(Enroll());
            honest.Dial(relay.Port());
            ASSERT_TRUE(Eventually([&] { return honest.HasLink(pc->Udid()); }));
            const std::string told = Linux::Anonymous(honest.identity.udid) + ", is online";
            ASSERT_TRUE(Eventually([&] { return pc->CountInLog(told) == 1; }));
            EXPECT_TRUE(honest.Sends(pc->Udid(), Stream::CONTROL, RequestOf(1, NamesOf(1, "service.hello"))));
            EXPECT_TRUE(Eventually([&] { return relay.Captured().size() >= 5; }));
            captured = relay.Captured();
        }
        const size_t online = pc->CountInLog(" is online");
        for (int i = 0; i < 200; ++i) {
            const UniqueFd again = ConnectAndBlock(port);
            for (const std::string& segment : captured) {
                SendAll(again, segment);
            }
            EXPECT_TRUE(IsClosed(again));
        }
        EXPECT_EQ(pc->CountInLog(" is online"), online);
    });
    Suffer("40,000 mutated segments", [&] {
        for (size_t sent = 0; sent < 40000;) {
            const UniqueFd connection = ConnectAndBlock(port);
            for (const std::string& segment : captured) {
                ++sent;
                SendAll(connection, Mutated(segment));
            }
        }
    });
    Suffer("segments that are mutated on their way", [&] {
        relay.MutateOneIn(4);
        PlayedDevice honest(Enroll());
        EXPECT_TRUE(Eventually([&] {
            DialOnce(honest, relay.Port());
            return relay.CountMutated() > 20;
        }));
        // What is cut off finds its way again.
        relay.MutateOneIn(0);
        EXPECT_TRUE(Eventually([&] {
            honest.Dial(relay.Port());
            return honest.HasLink(pc->Udid());
        }));
    });
}

TEST_F(Hostile, ADeviceOfTheAccountSpeaksForItselfAlone) {
    ASSERT_EQ(phone->Ctl({"profile", "put", "volume", "8", "--service", "sound", "--type", "audio"}).status, 0);
    const auto known = [&](const std::string& device) {
        return pc->Api().Profiles().Get(device, "sound", "audio", "volume");
    };
    ASSERT_TRUE(Eventually([&] { return known("phone") == "8"; }));
    Suffer("a profile that is another's", [&] {
        const auto evil = Join();
        EXPECT_TRUE(evil->Sends(pc->Udid(), Stream::PROFILE, ProfileStart()));
        EXPECT_TRUE(evil->Sends(pc->Udid(), Stream::PROFILE, ChangeOf(1, "sound", "volume", "forged")));
        EXPECT_TRUE(Eventually([&] { return known("evil") == "forged"; }));
        EXPECT_EQ(known("phone"), "8");
        EXPECT_TRUE(evil->Sends(pc->Udid(), Stream::LINK, FactsOf("phone")));
        EXPECT_TRUE(Eventually([&] {
            return pc->Ctl({"info", "get", "phone", "x"}).err.find("several") != std::string::npos;
        }));
    });
    Suffer("answers to what others were asked", [&] {
        const auto evil = Join(*phone);
        std::atomic<uint32_t> session{0};
        Hear(*evil, [&](const ControlMessage& message) {
            session = message.has_request() ? message.request().session() : session.load();
        });
        ASSERT_TRUE(Eventually([&] { return phone->Sees("evil"); }));
        const auto asked = std::async(std::launch::async, [&] { return phone->Ask("evil", {"x"}).code; });
        ASSERT_TRUE(Eventually([&] { return session != 0; }));
        auto slow = std::async(std::launch::async, [&] { return phone->AskOne("pc", "service.slow"); });
        for (uint32_t i = 1; slow.wait_for(0s) != std::future_status::ready; i = i % 2000 + 1) {
            evil->Sends(phone->Udid(), Stream::CONTROL,
                AnswerOf(session + i, R"({"service.slow":"forged","service.hello":"forged"})"));
        }
        EXPECT_EQ(slow.get(), "slept");
    });
}

TEST_F(Hostile, FloodsOfADeviceOfTheAccountDoNotReachOthers) {
    const std::string many = NamesOf(1024, "unknown");
    const std::string slow = NamesOf(1, "service.slow");
    struct Row {
        const char* name;
        Stream stream;
        std::function<std::string(size_t)> message;
        milliseconds time = FLOOD_TIME;
        size_t most = 0;
    };
    const auto always = [](const std::string& message) {
        return [message](size_t) {
            return message;
        };
    };
    const std::vector<Row> floods{{"beats", Stream::LINK, always(Field(5, ""))},
        {"facts that change each time", Stream::LINK,
            [](size_t i) {
                return FactsOf(std::to_string(i), i % 3);
            }},
        {"notices of clones", Stream::LINK,
            [](size_t i) {
                return Field(7, Field(1, std::to_string(i)));
            }},
        {"lists of revoked devices that are wrong", Stream::LINK,
            [](size_t i) {
                return Field(8, Field(1, std::string(i % 2 == 0 ? 10 : 200000, 'd')));
            }},
        {"introductions", Stream::LINK, always(RawPeer::Hello())},
        {"requests of 1,024 names", Stream::CONTROL, [&](size_t i) { return RequestOf(i + 1, many); }, 3s,
            2000 / LENIENCE},
        {"512 requests that take long", Stream::CONTROL, [&](size_t i) { return RequestOf(i + 1, slow); }, 2s, 512},
        {"notices of being busy", Stream::CONTROL, always(Field(3, Field(1, 1)))},
        {"200,000 records", Stream::PROFILE, RecordOf, 2s, 200001},
        {"offers of a channel", Stream::CHANNEL,
            [](size_t i) {
                const std::string name = Field(2, "com.talvex.peerdesk") + Field(3, std::string(100, 'n'));
                return std::string(1, '\0') + Field(1, Field(1, i) + name + Field(4, 1));
            }},
        {"messages of channels that are not open", Stream::CHANNEL,
            always(std::string("\2\0\0\0\1", 5) + std::string(10000, 'x'))}};
    for (const Row& row : floods) {
        Suffer(row.name, [&] {
            const auto evil = Join();
            Flood(*evil, row.stream, row.message, row.time, row.most);
            EXPECT_TRUE(evil->HasLink(pc->Udid()) || IsLeftAlone());
        });
    }
    Suffer("answers that nobody has asked for", [&] {
        const auto evil = Join();
        Flood(
            *evil, Stream::CONTROL, [](size_t i) { return AnswerOf(i + 1, "{}"); }, 6s);
        EXPECT_TRUE(!evil->HasLink(pc->Udid()) && IsLeftAlone());
    });
}

TEST_F(Hostile, LinksThatBreakTheirRulesCostNoMoreThanTheyDo) {
    // Begin, Ready, too long a name; a change before the start, two beginnings, a message that was never sent.
    const std::vector<std::pair<Stream, std::string>> rubbish{{Stream::LINK, "rubbish"}, {Stream::CONTROL, "rubbish"},
        {Stream::PROFILE, "rubbish"}, {Stream::CHANNEL, "rubbish"}, {Stream::BULK, "rubbish"},
        {Stream::LINK, Field(2, Field(1, 1))}, {Stream::LINK, Field(3, Field(1, 1))},
        {Stream::LINK, FactsOf(std::string(65, 'n'))}, {Stream::PROFILE, ChangeOf(1, "service", "key", "value")},
        {Stream::PROFILE, Field(1, Field(1, "another") + Field(2, 1000))}, {Stream::PROFILE, Field(4, Field(1, 9999))}};
    for (const char first : {'z', '-'}) {
        Suffer("messages out of turn", [&] {
            const auto evil = Join(*pc, first);
            for (const auto& [stream, message] : rubbish) {
                EXPECT_TRUE(evil->Sends(pc->Udid(), stream, message));
                evil->Sends(pc->Udid(), stream, message);
                EXPECT_TRUE(Eventually([&] { return !evil->HasLink(pc->Udid()); })) << message;
                evil->Dial(port);
                EXPECT_TRUE(Eventually([&] { return evil->HasLink(pc->Udid()); }));
            }
        });
    }
    Suffer("links that come and go", [&] {
        PlayedDevice evil(Enroll());
        Repeat(2 * FLOOD_TIME, [&] {
            DialOnce(evil, port);
            evil.Do([&] { evil.links.EndLink(pc->Udid(), Linux::LinkRefusal::OTHER, "again"); });
        });
    });
    Suffer("parts of large messages before there is a link", [&] {
        const LinkIdentity who = Enroll();
        std::vector<std::unique_ptr<RawPeer>> peers;
        for (int i = 0; i < 64; ++i) {
            peers.push_back(std::make_unique<RawPeer>(who, port));
            for (const Stream stream : ALL_STREAMS) {
                peers.back()->SendInParts(stream, Linux::MaxBytes(stream), false);
            }
        }
    });
    Suffer("a peer that reads nothing", [&] {
        RawPeer evil(Enroll(), port);
        ASSERT_TRUE(evil.Join());
        EXPECT_TRUE(evil.SendFrame(2, 0, ProfileStart()));
        bool isTaken = true;
        for (uint64_t i = 1; isTaken && i < 3000000; ++i) {
            isTaken = evil.SendFrame(2, 0, ChangeOf(i, "s", "k", ""));
        }
        EXPECT_FALSE(isTaken);
    });
}

TEST_F(Hostile, SizesAreTakenUpToTheirLimitsAndNotBeyond) {
    Suffer("frames", [&] {
        const LinkIdentity who = Enroll();
        const auto isTaken = [&](uint8_t stream, uint8_t flags, const std::string& content, size_t length) {
            RawPeer peer(who, port);
            EXPECT_TRUE(peer.Next());
            peer.SendFrame(stream, flags, content, length);
            return peer.Next().has_value();
        };
        const std::string hello = RawPeer::Hello();
        const size_t most = Linux::SecureChannel::LARGE_BYTES;
        EXPECT_TRUE(isTaken(0, 0, Padded(hello, most), most));
        EXPECT_FALSE(isTaken(0, 0, Padded(hello, most + 1), most + 1));
        EXPECT_FALSE(isTaken(0, 0, "", 0));
        EXPECT_FALSE(isTaken(Linux::STREAMS, 0, hello, hello.size()));
        for (const size_t length : {size_t{64}, size_t{65}}) {
            const std::string named = RawPeer::Hello(Field(6, Field(1, std::string(length, 'n'))));
            EXPECT_EQ(isTaken(0, 0, named, named.size()), length == 64);
        }
    });
    Suffer("messages", [&] {
        const auto evil = Join();
        Linux::Told<uint32_t> answered;
        Hear(*evil, [&](const ControlMessage& message) { answered.Add(message.answer().session()); });
        uint32_t session = 0;
        const auto isTaken = [&](Stream stream, const std::string& message) {
            EXPECT_TRUE(evil->Sends(pc->Udid(), stream, message));
            evil->Sends(pc->Udid(), Stream::CONTROL, RequestOf(++session, NamesOf(1, "service.hello")));
            return Eventually([&] { return !answered.All().empty() && answered.All().back() == session; }, 5s);
        };
        EXPECT_TRUE(isTaken(Stream::LINK, Padded(FactsOf("evil"), MaxBytes(Stream::LINK))));
        EXPECT_TRUE(isTaken(Stream::PROFILE, Padded(ProfileStart(), MaxBytes(Stream::PROFILE))));
        EXPECT_TRUE(isTaken(Stream::CONTROL, Padded(AnswerOf(1, "{}"), MaxBytes(Stream::CONTROL))));
        EXPECT_TRUE(isTaken(Stream::CONTROL, RequestOf(9999, std::string(Linux::MAX_REQUEST_BYTES, '['))));
        EXPECT_TRUE(isTaken(Stream::CONTROL, AnswerOf(1, std::string(Linux::MAX_ANSWER_BYTES, '['))));
        EXPECT_TRUE(
            evil->Sends(pc->Udid(), Stream::CONTROL, RequestOf(9999, std::string(Linux::MAX_REQUEST_BYTES + 1, '['))));
        EXPECT_TRUE(Eventually([&] { return !evil->HasLink(pc->Udid()); }));
    });
    Suffer("messages that are one byte too large", [&] {
        const LinkIdentity who = Enroll();
        for (const Stream stream : ALL_STREAMS) {
            RawPeer peer(who, port);
            ASSERT_TRUE(peer.Join());
            peer.SendInParts(stream, MaxBytes(stream) + 1, true);
            while (peer.Next()) {
            }
        }
        EXPECT_TRUE(Eventually([&] { return pc->CountInLog("is offline: a message is too large") == Linux::STREAMS; }));
    });
}

TEST_F(Hostile, ADeviceEndsInTimeWhateverComes) {
    const auto evil = Join();
    std::vector<std::jthread> attacks;
    const auto attack = [&](Stream stream, const std::function<std::string(size_t)>& message) {
        attacks.emplace_back([this, stream, message, &evil] { Flood(*evil, stream, message, 4s); });
    };
    Suffer("all at once", [&] {
        attacks.emplace_back([this] { Repeat(4s, [this] { ConnectAndBlock(port); }); });
        attack(Stream::CONTROL, [](size_t i) { return RequestOf(i + 1, NamesOf(1, "service.late")); });
        attack(Stream::PROFILE, RecordOf);
        std::this_thread::sleep_for(2s);
    });
    EXPECT_EQ(devices.at("pc")->Stop(5s), 0);
}

}  // namespace
}  // namespace ZYNE::Testing
