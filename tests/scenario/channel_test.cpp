// Channels between an app of two devices: what arrives, what ends them, what is refused, and that nobody slows others.
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <future>
#include <thread>
#include <utility>
#include <vector>

#include "client/channels.h"
#include "tests/scenario/scenario.h"

namespace ZYNE::Testing {
namespace {

using namespace std::chrono_literals;
using Client::ChannelKind;
using Client::ReceiveMessage;
using Client::SendMessage;
using Linux::UniqueFd;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

constexpr const char* APP = "org.example.test";
constexpr size_t GREATEST = Client::MAX_MESSAGE_BYTES;
const std::vector<ChannelKind> KINDS{ChannelKind::RELIABLE, ChannelKind::BULK, ChannelKind::LATEST};

// Both ends of a channel.
struct Ends {
    UniqueFd phone;
    UniqueFd pc;
};

// Reads for as long as it takes, but not for ever.
void SetPatience(int channel) {
    const timeval patience{30, 0};
    setsockopt(channel, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
}

// Whether the channel is at its end, and not just without a message.
bool ReadsEnd(int channel) {
    char byte = 0;
    return recv(channel, &byte, sizeof(byte), 0) == 0;
}

std::vector<std::string> ReceiveAll(int channel, size_t count) {
    std::vector<std::string> messages;
    while (messages.size() < count) {
        const auto message = ReceiveMessage(channel);
        if (!message) {
            break;
        }
        messages.push_back(*message);
    }
    return messages;
}

// A message that tells which it is, and whether it is whole.
std::string Numbered(size_t number, size_t bytes) {
    std::string message = std::to_string(number) + ' ';
    message.resize(std::max(bytes, message.size()), static_cast<char>('a' + number % 26));
    return message;
}

class Channels : public Scenario {
protected:
    void StartWith(const std::string& phonesManifest, const std::string& pcsManifest) {
        phone = &Add("phone", {.type = "phone"});
        pc = &Add("pc");
        Install(*phone, phonesManifest);
        Install(*pc, pcsManifest);
        StartBoth();
    }
    void StartWithApp() { StartWith(R"("channels": ["one", "two"])", R"("channels": ["one", "two"])"); }

    static UniqueFd Open(const TestDevice& device, const std::string& peer, ChannelKind kind = ChannelKind::RELIABLE,
        const std::string& name = "one", std::chrono::milliseconds time = 30s) {
        UniqueFd channel = device.Api().Channels().Open(APP, peer, name, kind, time);
        SetPatience(channel.Get());
        return channel;
    }
    Ends OpenBoth(ChannelKind kind = ChannelKind::RELIABLE, const std::string& name = "one") const {
        auto phones = std::async(std::launch::async, [&] { return Open(*phone, "pc", kind, name); });
        UniqueFd pcs = Open(*pc, "phone", kind, name);
        return {phones.get(), std::move(pcs)};
    }

private:
    static void Install(const TestDevice& device, const std::string& more) {
        const auto folder = device.Directory() / "apps" / APP;
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "manifest.json") << R"({"bundleName": ")" << APP << "\", " << more << "}";
    }
};

TEST_F(Channels, CarryMessagesOfEverySizeInOrderBothWays) {
    StartWithApp();
    for (const ChannelKind kind : KINDS) {
        const Ends ends = OpenBoth(kind);
        for (const auto& [from, to] : {std::pair(ends.phone.Get(), ends.pc.Get()), {ends.pc.Get(), ends.phone.Get()}}) {
            for (const size_t bytes : {size_t{1}, size_t{1200}, size_t{1201}, size_t{16} << 10U, GREATEST}) {
                const std::string message(bytes, static_cast<char>('a' + bytes % 26));
                ASSERT_TRUE(SendMessage(from, message));
                EXPECT_EQ(ReceiveMessage(to), message) << bytes;
            }
        }
    }
    for (const ChannelKind kind : {ChannelKind::RELIABLE, ChannelKind::BULK}) {
        const Ends ends = OpenBoth(kind);
        std::vector<std::string> sent;
        for (size_t i = 0; i < 2000; ++i) {
            sent.push_back(Numbered(i, i * 7919 % (i % 50 == 0 ? GREATEST : 300)));
        }
        auto sending = std::async(std::launch::async, [&] {
            return std::ranges::all_of(
                sent, [&](const std::string& message) { return SendMessage(ends.phone.Get(), message); });
        });
        EXPECT_TRUE(ReceiveAll(ends.pc.Get(), sent.size()) == sent);
        EXPECT_TRUE(sending.get());
    }
}

TEST_F(Channels, EndAtBothEndsWhenAnAppItsDeviceOrWhatItSaysHasGone) {
    StartWithApp();
    for (const ChannelKind kind : KINDS) {
        Ends ends = OpenBoth(kind);
        ASSERT_TRUE(SendMessage(ends.pc.Get(), "not read"));
        pollfd unread{ends.phone.Get(), POLLIN, 0};
        ASSERT_EQ(poll(&unread, 1, 30000), 1);
        ASSERT_TRUE(SendMessage(ends.phone.Get(), "last"));
        EXPECT_EQ(kind == ChannelKind::LATEST ? ReceiveMessage(ends.pc.Get()) : "last", "last");
        ends.phone.Reset();
        if (kind != ChannelKind::LATEST) {
            EXPECT_EQ(ReceiveMessage(ends.pc.Get()), "last") << "what it said before is still read";
        }
        EXPECT_TRUE(ReadsEnd(ends.pc.Get()));
        EXPECT_FALSE(SendMessage(ends.pc.Get(), "too late"));
        EXPECT_EQ(errno, EPIPE);
    }
    const Ends tooLarge = OpenBoth();
    ASSERT_TRUE(SendMessage(tooLarge.phone.Get(), std::string(GREATEST + 1, 'x')));
    EXPECT_TRUE(ReadsEnd(tooLarge.pc.Get()) && ReadsEnd(tooLarge.phone.Get()));
    EXPECT_TRUE(Eventually([&] { return phone->CountInLog("it sends a message of more than 64 KiB") == 1; }));

    const Ends ends = OpenBoth();
    const Ends latest = OpenBoth(ChannelKind::LATEST);
    pc->Kill();
    EXPECT_TRUE(ReadsEnd(ends.phone.Get()) && ReadsEnd(latest.phone.Get()));
    EXPECT_TRUE(ReadsEnd(ends.pc.Get()) && ReadsEnd(latest.pc.Get()));
    pc->Start();
    ASSERT_TRUE(Eventually([&] { return phone->Sees("pc") && pc->Sees("phone"); }));
    const Ends again = OpenBoth();
    EXPECT_TRUE(SendMessage(again.pc.Get(), "back") && ReceiveMessage(again.phone.Get()) == "back");
}

TEST_F(Channels, AreRefusedInWords) {
    StartWith(R"("channels": ["one", "here"])", R"("channels": ["one", "there"])");
    const auto expect = [&](const std::string& words, const std::string& peer, const std::string& name,
                            const std::string& app = APP) {
        EXPECT_THAT([&] { phone->Api().Channels().Open(app, peer, name, ChannelKind::RELIABLE, 50ms); },
            ThrowsMessage<Client::DeviceError>(HasSubstr(words)));
    };
    expect("no peer \"tv\" has been seen", "tv", "one");
    expect("the app \"org.example.none\" is not installed here", "pc", "one", "org.example.none");
    expect("does not declare a channel \"there\"", "pc", "there");
    expect("does not declare a channel \"here\" on \"pc\"", "pc", "here");
    expect("has not asked for a channel \"one\" on \"pc\" in time", "pc", "one");
    EXPECT_THROW(
        phone->Api().Channels().Open("org.example.none", "pc", "one", ChannelKind::BULK, 0ms), Client::NotFound);

    std::vector<Ends> open;
    while (open.size() < 32) {
        open.push_back(OpenBoth(KINDS.at(open.size() % KINDS.size())));
    }
    expect("has too many channels", "pc", "one");
    open.pop_back();
    EXPECT_TRUE(SendMessage(OpenBoth().phone.Get(), "there is room again"));
    std::filesystem::remove_all(pc->Directory() / "apps" / APP);
    pc->Stop();
    ASSERT_TRUE(Eventually([&] { return phone->MissesPeer("pc"); }));
    expect("\"pc\" is not online", "pc", "one");
    open.clear();
    pc->Start();
    ASSERT_TRUE(Eventually([&] { return phone->Sees("pc"); }));
    expect("the app \"org.example.test\" is not installed on \"pc\"", "pc", "one");
}

TEST_F(Channels, MeetInTheirOrderWhoeverIsLateAndForgetWhoHasLeft) {
    StartWithApp();
    for (const auto& [early, late] : {std::pair(phone, pc), {pc, phone}}) {
        std::vector<std::future<UniqueFd>> waiting;
        for (const char* name : {"one", "two"}) {
            waiting.push_back(std::async(std::launch::async,
                [&, name, early = early, late = late] { return Open(*early, late->Name(), ChannelKind::BULK, name); }));
        }
        // A kind of its own does not meet these.
        EXPECT_THROW(Open(*late, early->Name(), ChannelKind::LATEST, "one", 20ms), Client::DeviceError);
        const UniqueFd two = Open(*late, early->Name(), ChannelKind::BULK, "two");
        const UniqueFd one = Open(*late, early->Name(), ChannelKind::BULK, "one");
        EXPECT_TRUE(SendMessage(one.Get(), "1") && SendMessage(two.Get(), "2"));
        EXPECT_EQ(ReceiveMessage(waiting.at(0).get().Get()), "1");
        EXPECT_EQ(ReceiveMessage(waiting.at(1).get().Get()), "2");
    }
}

TEST_F(Channels, OfASlowReaderHoldItsSenderBackAndNobodyElse) {
    StartWithApp();
    for (const ChannelKind kind : {ChannelKind::RELIABLE, ChannelKind::BULK}) {
        const Ends slow = OpenBoth(kind, "one");
        const Ends fast = OpenBoth(ChannelKind::RELIABLE, "two");
        size_t sent = 0;
        // Full when the kernel takes nothing for a while: the daemons have stopped to read.
        const timeval pause{1, 0};
        setsockopt(slow.phone.Get(), SOL_SOCKET, SO_SNDTIMEO, &pause, sizeof(pause));
        while (SendMessage(slow.phone.Get(), Numbered(sent, 30000))) {
            ++sent;
        }
        EXPECT_EQ(errno, EAGAIN);
        EXPECT_LT(sent, 60U) << "the sockets of both apps, and one window";
        for (size_t i = 0; i < 1000; ++i) {
            ASSERT_TRUE(SendMessage(fast.phone.Get(), Numbered(i, 100)));
            ASSERT_EQ(ReceiveMessage(fast.pc.Get()), Numbered(i, 100));
        }
        for (size_t i = 0; i < sent; ++i) {
            ASSERT_EQ(ReceiveMessage(slow.pc.Get()), Numbered(i, 30000));
        }
        EXPECT_TRUE(SendMessage(slow.phone.Get(), "on") && ReceiveMessage(slow.pc.Get()) == "on");
    }
}

TEST_F(Channels, OfTheLatestDropWhatIsOldWhileItsReaderIsSlow) {
    StartWithApp();
    const Ends ends = OpenBoth(ChannelKind::LATEST);
    constexpr size_t MANY = 20000;
    for (size_t i = 1; i <= MANY; ++i) {
        ASSERT_TRUE(SendMessage(ends.phone.Get(), Numbered(i, 32))) << "its sender does not wait for the reader";
    }
    size_t count = 0;
    size_t last = 0;
    while (last < MANY) {
        // The last one may have been lost on its way, but not those that follow it.
        SendMessage(ends.phone.Get(), Numbered(MANY + count, 32));
        const auto message = ReceiveMessage(ends.pc.Get());
        ASSERT_TRUE(message);
        const size_t number = std::stoul(*message);
        ASSERT_GT(number, last);
        last = number;
        ++count;
    }
    EXPECT_LT(count, MANY / 2);
}

TEST_F(Channels, LetTwoPeopleChatAndForgetProgramsThatAreKilled) {
    phone = &Add("phone", {.type = "phone"});
    pc = &Add("pc");
    for (const TestDevice* device : {phone, pc}) {
        std::filesystem::create_directory_symlink(
            std::filesystem::path(CHAT).parent_path().parent_path(), device->Directory() / "apps/org.example.chat");
        ASSERT_EQ(mkfifo((directory / (device->Name() + ".in")).c_str(), 0600), 0);
    }
    StartBoth();
    const auto start = [&](const TestDevice& device, const TestDevice& peer) {
        const std::string typed = directory / (device.Name() + ".in");
        return std::make_unique<Process>(
            std::vector<std::string>{
                "/bin/sh", "-c", "exec " CHAT " --device " + device.Name() + " " + peer.Name() + " <>" + typed},
            directory / (device.Name() + ".txt"));
    };
    const auto pcs = start(*pc, *phone);
    auto phones = start(*phone, *pc);
    std::ofstream(directory / "phone.in") << "hello" << std::endl;
    EXPECT_TRUE(Eventually([&] { return ReadAll(directory / "pc.txt") == "hello\n"; }));
    phones.reset();
    EXPECT_EQ(pcs->Wait(), 0) << ReadAll(directory / "pc.txt");

    const auto isRefused = [&](const std::string& words) {
        try {
            phone->Api().Channels().Open("org.example.chat", "pc", "talk", ChannelKind::RELIABLE, 0ms);
            return false;
        } catch (const Client::DeviceError& error) {
            return std::string(error.what()).find(words) != std::string::npos;
        }
    };
    std::vector<std::unique_ptr<Process>> waiting;
    waiting.reserve(33);
    for (int i = 0; i < 33; ++i) {
        waiting.push_back(start(*phone, *pc));
    }
    const auto hasEnded = [](const auto& process) {
        return process->HasEnded();
    };
    EXPECT_TRUE(Eventually([&] { return std::ranges::any_of(waiting, hasEnded); }));
    EXPECT_EQ(std::ranges::count_if(waiting, hasEnded), 1) << "32 wait";
    EXPECT_TRUE(isRefused("has too many channels"));
    waiting.clear();
    EXPECT_TRUE(Eventually([&] { return isRefused("in time"); }));
    EXPECT_THROW(pc->Api().Channels().Open("org.example.chat", "phone", "talk", ChannelKind::RELIABLE, 100ms),
        Client::DeviceError);
}

}  // namespace
}  // namespace ZYNE::Testing
