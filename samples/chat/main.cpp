// Two people at two devices: what one types is printed at the other.
//
//     chat --device phone desk-pc        and at the other device:        chat --device desk-pc phone
#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>

#include "client/device.h"
#include "platform/log/printable_text.h"

namespace {

constexpr char APP[] = "org.example.chat";  // "bundleName" in manifest.json
constexpr char CHANNEL[] = "talk";          // one of its "channels"

void Print(const std::string& message) {
    std::string line;
    ZYNE::AppendPrintable(line, message);  // a peer may write what a terminal would obey
    std::cout << line << std::endl;
}

void Chat(ZYNE::Client::Device& device, const std::string& peer) {
    const auto channel =
        device.Channels().Open(APP, peer, CHANNEL, ZYNE::Client::ChannelKind::RELIABLE, std::chrono::minutes(5));
    std::array<pollfd, 2> ready{{{channel.Get(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
    std::array<char, 4096> typed{};
    while (poll(ready.data(), ready.size(), -1) > 0) {
        if (ready[0].revents != 0) {
            const auto message = ZYNE::Client::ReceiveMessage(channel.Get());
            if (!message) {
                return;  // the other has gone
            }
            Print(*message);
        } else {
            const ssize_t count = read(STDIN_FILENO, typed.data(), typed.size());
            if (count <= 0) {
                return;
            }
            ZYNE::Client::SendMessage(channel.Get(), {typed.data(), static_cast<size_t>(count) - 1});  // without '\n'
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4 || std::string_view(argv[1]) != "--device") {
        std::cerr << "usage: chat --device NAME PEER\n";
        return EXIT_FAILURE;
    }
    try {
        const auto entry = ZYNE::Client::FindDevice(argv[2]);
        if (!entry) {
            std::cerr << "no device named " << argv[2] << " is running\n";
            return EXIT_FAILURE;
        }
        ZYNE::Client::Device device(*entry);
        Chat(device, argv[3]);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {  // a DeviceError says why there is no channel
        std::cerr << "chat: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
