#include "linux/fabric/presence.h"

#include <stdexcept>

#include "linux/fabric/qos.h"
#include "linux/fabric/taken_samples.h"
#include "linux/fabric/wire_text.h"

namespace ZYNE::Linux {
namespace {

using Sample = ZYNE_Linux_Wire_Presence;

Sample ToSample(const Announcement& device) {
    Sample sample{};
    if (!CopyText(device.udid, sample.udid) || !CopyText(device.networkId, sample.networkId) ||
        !CopyText(device.deviceName, sample.deviceName)) {
        throw std::runtime_error("the device's name is too long");
    }
    sample.deviceType = device.deviceType;
    sample.osType = device.osType;
    sample.screenStatus = SCREEN_UNKNOWN;
    return sample;
}

Announcement FromSample(const Sample& sample) {
    return {sample.udid, sample.networkId, sample.deviceName, sample.deviceType, sample.osType};
}

}  // namespace

PresenceWriter::PresenceWriter(const FabricDomain& domain, const Partitions& partitions, const Announcement& device)
    : sample_(ToSample(device)), writer_(dds_create_writer(domain.Participant(), domain.PresenceTopic(),
                                             PresenceWriterQos(partitions.Of(device.udid)).get(), nullptr),
                                     "the device cannot be announced") {}

void PresenceWriter::Announce() {
    const std::scoped_lock lock(mutex_);
    Write();
    isThere_ = true;
}

void PresenceWriter::SetScreenStatus(ScreenStatus status) {
    const std::scoped_lock lock(mutex_);
    const bool isNews = sample_.screenStatus != status;
    sample_.screenStatus = status;
    if (isNews && isThere_) {
        Write();
    }
}

void PresenceWriter::Withdraw() {
    const std::scoped_lock lock(mutex_);
    isThere_ = false;
    dds_dispose(writer_.Get(), &sample_);
}

void PresenceWriter::Write() const {
    MustDds(dds_write(writer_.Get(), &sample_), "the device cannot be announced");
}

PresenceReader::PresenceReader(const FabricDomain& domain, const Partitions& partitions)
    : reader_(dds_create_reader(
                  domain.Participant(), domain.PresenceTopic(), PresenceReaderQos(partitions.OfAll()).get(), nullptr),
          "other devices cannot be seen") {}

void PresenceReader::Take(const Handler& handler) {
    TakenSamples<Sample> samples(reader_.Get());
    while (samples.Next()) {
        // Not the instance's state: any writer of it may change that.
        handler({FromSample(samples.Sample()), ToScreenStatus(samples.Sample().screenStatus), samples.Info().valid_data,
            samples.Info().publication_handle});
    }
}

}  // namespace ZYNE::Linux
