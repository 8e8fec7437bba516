#include "samples/desk_board/watch.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <iostream>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "client/data_share.h"
#include "client/device.h"
#include "platform/host/picker_result.h"
#include "platform/log/printable_text.h"

namespace Sample {
namespace {

using ZYNE::DataShareObserver;

// Where a device puts what its peers publish: a row for each, whose one column is the peer's identity.
constexpr char PEERS[] = "datashare:///com.varn.collaborationfwk.infocollection";

// The peer's name where the device knows it.
std::string NameOf(const ZYNE::Client::DeviceEntry& device, const std::string& udid) {
    std::string id = ZYNE::CollaborationFwk::PickerResult::StringToAnonymous(udid);
    try {
        const auto peers = ZYNE::Client::Device(device).Info().ListPeers();
        const auto peer = std::ranges::find(peers, id, &ZYNE::Client::Peer::id);
        return peer != peers.end() ? peer->name : id;
    } catch (const ZYNE::Client::DeviceError&) {
        return id;
    }
}

// JSON that was written for people to read, on one line.
std::string OneLine(std::string text) {
    std::erase_if(text, [](char byte) { return byte == '\n' || byte == '\t'; });
    return text;
}

class PeerObserver final : public DataShareObserver {
public:
    PeerObserver(ZYNE::Client::DeviceEntry device, std::shared_ptr<ZYNE::DataShareHelper> data)
        : device_(std::move(device)), data_(std::move(data)) {}

    // A row was added: "{identity:text}". Or something is announced, such as that there is something new.
    void OnChange(const ChangeInfo& changeInfo) override {
        const std::string_view notice(static_cast<const char*>(changeInfo.data), changeInfo.size);
        const size_t colon = notice.find(':');
        if (changeInfo.changeType != ChangeType::INSERT || !notice.starts_with('{') || colon == notice.npos) {
            PrintEvent("announced", std::string(notice));
            return;
        }
        const std::string udid(notice.substr(1, colon - 1));
        PrintEvent("from " + NameOf(device_, udid), OneLine(ReadRow(udid)));
    }

private:
    std::string ReadRow(const std::string& udid) const {
        std::string text;
        const auto found = data_->Query(ZYNE::Uri(PEERS), ZYNE::DataSharePredicates(), {udid});
        int rows = 0;
        for (int row = 0; found != nullptr && found->GetRowCount(rows) == 0 && row < rows && text.empty(); ++row) {
            if (found->GoToRow(row) == 0) {
                found->GetString(0, text);  // fails in the rows of other peers
            }
        }
        return text;
    }

    const ZYNE::Client::DeviceEntry device_;
    const std::shared_ptr<ZYNE::DataShareHelper> data_;
};

// Blocked before any thread is started, so that no other takes them.
sigset_t BlockStopSignals() {
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGINT);
    sigaddset(&stop, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stop, nullptr);
    return stop;
}

}  // namespace

void PrintEvent(const std::string& what, const std::string& text) {
    const auto now = std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now());
    const std::time_t second = std::chrono::system_clock::to_time_t(now);
    std::tm parts{};
    localtime_r(&second, &parts);
    std::array<char, 16> time{};
    std::strftime(time.data(), time.size(), "%H:%M:%S.", &parts);
    std::string line = time.data();
    line += std::to_string(1000 + now.time_since_epoch().count() % 1000).substr(1) + "  ";
    ZYNE::AppendPrintable(line, what + "  " + text);
    std::cout << line + '\n' << std::flush;  // in one piece: events come on several threads
}

int WatchPeers(const ZYNE::Client::DeviceEntry& device) {
    const sigset_t stop = BlockStopSignals();
    const auto data = ZYNE::Client::OpenDataShare(device, PEERS);
    if (data == nullptr) {
        return EXIT_FAILURE;
    }
    data->RegisterObserverExt(ZYNE::Uri(PEERS), std::make_shared<PeerObserver>(device, data), true);
    std::cerr << "watching until interrupted\n";
    int signal = 0;
    sigwait(&stop, &signal);
    data->Release();
    return EXIT_SUCCESS;
}

}  // namespace Sample
