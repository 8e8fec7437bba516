// An app with a board at each desk: who sets its note has it on the boards of all devices of the account.
//
// A device knows the app by manifest.json and resources/profile/info_collection.json beside this file. People use it as
//
//     desk_board --device desk-pc set "Gone for lunch"
//     desk_board --device phone watch
//
// and the device itself runs "desk_board extension" when it wants to know the note.
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "client/data_share.h"
#include "client/device_registry.h"
#include "samples/desk_board/board.h"
#include "samples/desk_board/extension.h"
#include "samples/desk_board/watch.h"

namespace {

constexpr int WRONG_USAGE = 2;

ZYNE::Client::DeviceEntry RunningDevice(const std::string& name) {
    const auto device = ZYNE::Client::FindDevice(name);
    if (!device || !device->running) {
        throw std::runtime_error("no device named \"" + name + "\" is running");
    }
    return *device;
}

int SetNote(const ZYNE::Client::DeviceEntry& device, const std::string& note) {
    const auto data = ZYNE::Client::OpenDataShare(device, Sample::Board::URI);
    if (data == nullptr || !Sample::Board(data).Write(note)) {
        throw std::runtime_error("the note cannot be kept");
    }
    Sample::PrintEvent("set", note);
    return EXIT_SUCCESS;
}

int Main(const std::vector<std::string>& words) {
    const bool choosesDevice = words.size() > 2 && words[0] == "--device";
    if (words.size() == 1 && words[0] == "extension") {
        return Sample::RunBoardExtension();
    }
    if (choosesDevice && words.size() == 3 && words[2] == "watch") {
        return Sample::WatchPeers(RunningDevice(words[1]));
    }
    if (choosesDevice && words.size() == 4 && words[2] == "set") {
        return SetNote(RunningDevice(words[1]), words[3]);
    }
    std::cerr << "usage: desk_board --device NAME set TEXT | desk_board --device NAME watch\n";
    return WRONG_USAGE;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Main(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::exception& error) {
        std::cerr << "desk_board: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
