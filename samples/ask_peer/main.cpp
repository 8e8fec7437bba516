// A program of your own: asks a device that runs here for one fact of a peer.
//
//     ask_peer phone desk-pc cpuModel
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

#include "client/device.h"
#include "platform/log/printable_text.h"

namespace {

int Ask(const std::string& name, const std::string& peer, const std::string& fact) {
    const auto entry = ZYNE::Client::FindDevice(name);
    if (!entry) {
        std::cerr << "no device named " << name << " is running\n";
        return EXIT_FAILURE;
    }
    ZYNE::Client::Device device(*entry);
    const ZYNE::Client::InfoAnswer answer = device.Info().Get(peer, {fact});
    if (answer.code != 0) {
        std::cerr << peer << " does not answer: " << answer.code << '\n';
        return EXIT_FAILURE;
    }
    std::string line;
    ZYNE::AppendPrintable(line, answer.records.front().second);  // a peer may write what a terminal would obey
    std::cout << line << '\n';
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: ask_peer DEVICE PEER FACT\n";
        return EXIT_FAILURE;
    }
    try {
        return Ask(argv[1], argv[2], argv[3]);
    } catch (const std::exception& error) {  // a DeviceError says why the device could not be asked
        std::cerr << "ask_peer: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
