#include "bench/dds_floor.h"

#include <stdexcept>
#include <thread>
#include <vector>

#include "linux/account/credentials.h"
#include "linux/account/policy.h"
#include "linux/fabric/qos.h"
#include "linux/fabric/wire.h"

namespace ZYNE::Bench {
namespace {

using namespace std::chrono_literals;
using Linux::Credentials;
using Linux::FabricOptions;
using Sample = ZYNE_Linux_Wire_ControlMessage;

// Partitions that the devices' permissions allow.
constexpr char RUN[] = "bench";

FabricOptions OptionsOf(const std::filesystem::path& credentials, const std::string& tag) {
    FabricOptions options;
    options.deviceName = RUN;
    options.credentials = credentials;
    options.peers = {"127.0.0.1"};
    options.tag = tag;
    return options;
}

std::string PartitionTo(const std::string& udid) {
    return Linux::PartitionTo(udid, RUN);
}

}  // namespace

DdsEnd::DdsEnd(const std::filesystem::path& credentials, const std::string& peerUdid, const std::string& tag)
    : domain_(OptionsOf(credentials, tag), Linux::LoadCredentials(credentials)),
      topic_(domain_.MakeControlTopic("floor")),
      reader_(dds_create_reader(domain_.Participant(), topic_.Get(),
                  Linux::ControlQos(PartitionTo(Linux::LoadCredentials(credentials).udid)).get(), nullptr),
          "reader"),
      writer_(dds_create_writer(
                  domain_.Participant(), topic_.Get(), Linux::ControlQos(PartitionTo(peerUdid)).get(), nullptr),
          "writer"),
      waitset_(dds_create_waitset(domain_.Participant()), "waitset") {
    Linux::MustDds(dds_set_status_mask(reader_.Get(), DDS_DATA_AVAILABLE_STATUS), "status");
    Linux::MustDds(dds_waitset_attach(waitset_.Get(), reader_.Get(), 0), "waitset");
    while (!IsMatched()) {
        std::this_thread::sleep_for(10ms);
    }
}

bool DdsEnd::IsMatched() const {
    dds_publication_matched_status_t written{};
    dds_subscription_matched_status_t read{};
    dds_get_publication_matched_status(writer_.Get(), &written);
    dds_get_subscription_matched_status(reader_.Get(), &read);
    return written.current_count > 0 && read.current_count > 0;
}

void DdsEnd::Send(size_t size) {
    std::vector<uint8_t> payload(size, 'x');
    Sample sample{};
    sample.payload = {static_cast<uint32_t>(size), static_cast<uint32_t>(size), payload.data(), false};
    Linux::MustDds(dds_write(writer_.Get(), &sample), "write");
}

bool DdsEnd::Receive(size_t& size) {
    while (true) {
        void* taken[1] = {nullptr};
        dds_sample_info_t info{};
        const dds_return_t count = dds_take(reader_.Get(), taken, &info, 1, 1);
        if (count > 0) {
            const bool isValid = info.valid_data;
            size = isValid ? static_cast<const Sample*>(taken[0])->payload._length : 0;
            dds_return_loan(reader_.Get(), taken, count);
            if (isValid) {
                return true;
            }
        } else if (dds_waitset_wait(waitset_.Get(), nullptr, 0, DDS_SECS(1)) == 0 && !IsMatched()) {
            return false;
        }
    }
}

void DdsEnd::RoundTrip(size_t size) {
    Send(size);
    size_t answered = 0;
    if (!Receive(answered) || answered != size) {
        throw std::runtime_error("the echo is gone");
    }
}

void DdsEnd::Echo() {
    size_t size = 0;
    while (Receive(size)) {
        Send(size);
    }
}

}  // namespace ZYNE::Bench
