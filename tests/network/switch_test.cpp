// That the network of the other tests is as bad as they say.
#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>

#include "tests/network/network_lab.h"

namespace ZYNE::Testing {
namespace {

// Two machines that send each other numbered datagrams.
class Switching : public NetworkLab {
protected:
    static constexpr size_t MANY = 200;  // fewer than a socket holds
    static constexpr milliseconds PATIENCE{300};

    struct End {
        size_t port;
        Linux::UniqueFd socket;
        sockaddr_in address;
    };

    void SetUp() override {
        NetworkLab::SetUp();
        if (!IsSkipped()) {
            one = Open("one");
            other = Open("other");
            Send(one, other);  // the machines learn each other's hardware address
            ASSERT_EQ(Receive(other).size(), MANY);
        }
    }

    End Open(const std::string& name) {
        const Machine& machine = AddMachine(name, "home", Addresses::IPV4);
        End end{machine.port, {}, {}};
        machine.network.Within([&] { end.socket = Linux::UniqueFd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)); });
        end.address.sin_family = AF_INET;
        end.address.sin_port = htons(4000);
        inet_pton(AF_INET, machine.Ipv4().c_str(), &end.address.sin_addr);
        EXPECT_EQ(bind(end.socket.Get(), reinterpret_cast<const sockaddr*>(&end.address), sizeof end.address), 0);
        return end;
    }

    static void Send(const End& from, const End& to) {
        for (size_t i = 0; i < MANY; ++i) {
            sendto(
                from.socket.Get(), &i, sizeof i, 0, reinterpret_cast<const sockaddr*>(&to.address), sizeof to.address);
        }
    }

    // The numbers of all that come, until none comes for PATIENCE.
    static std::vector<size_t> Receive(const End& end) {
        std::vector<size_t> numbers;
        pollfd polled{end.socket.Get(), POLLIN, 0};
        for (size_t number = 0; poll(&polled, 1, PATIENCE.count()) == 1; numbers.push_back(number)) {
            recv(end.socket.Get(), &number, sizeof number, 0);
        }
        return numbers;
    }

    End one{};
    End other{};
};

TEST_F(Switching, LosesRepeatsAndMixesTheShareOfFramesThatItIsToldInOneDirection) {
    Switch().SetWay(one.port, other.port, {.loss = 20});
    Send(one, other);
    const size_t rest = Receive(other).size();
    EXPECT_GT(rest, MANY * 70 / 100);
    EXPECT_LT(rest, MANY * 90 / 100);
    Send(other, one);
    EXPECT_EQ(Receive(one).size(), MANY);

    Switch().SetWay(one.port, other.port, {.duplicates = 25, .late = 10});
    Send(one, other);
    std::vector<size_t> numbers = Receive(other);
    EXPECT_GT(numbers.size(), MANY * 115 / 100);
    EXPECT_LT(numbers.size(), MANY * 135 / 100);
    EXPECT_FALSE(std::is_sorted(numbers.begin(), numbers.end()));
    std::sort(numbers.begin(), numbers.end());
    EXPECT_EQ(static_cast<size_t>(std::unique(numbers.begin(), numbers.end()) - numbers.begin()), MANY);
}

TEST_F(Switching, DelaysFramesInOrderAndCutsOneDirectionForATime) {
    Switch().SetWay(one.port, other.port, {.delay = milliseconds(50)});
    const auto sent = Clock::now();
    Send(one, other);
    const std::vector<size_t> numbers = Receive(other);
    EXPECT_GE(Clock::now() - sent - PATIENCE, milliseconds(50));
    EXPECT_LT(Clock::now() - sent - PATIENCE, milliseconds(100));
    EXPECT_EQ(numbers.size(), MANY);
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));

    const auto healed = Clock::now() + 2 * PATIENCE;
    Switch().Cut(one.port, other.port, healed);
    Send(one, other);
    Send(other, one);
    EXPECT_EQ(Receive(one).size(), MANY);
    EXPECT_EQ(Receive(other).size(), 0u);
    std::this_thread::sleep_until(healed);
    Send(one, other);
    EXPECT_EQ(Receive(other).size(), MANY);
}

}  // namespace
}  // namespace ZYNE::Testing
