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

void PresenceWriter::Announce() const {
    MustDds(dds_write(writer_.Get(), &sample_), "the device cannot be announced");
}

void PresenceWriter::Withdraw() const {
    dds_dispose(writer_.Get(), &sample_);
}

PresenceReader::PresenceReader(const FabricDomain& domain, const Partitions& partitions)
    : reader_(dds_create_reader(
                  domain.Participant(), domain.PresenceTopic(), PresenceReaderQos(partitions.OfAll()).get(), nullptr),
          "other devices cannot be seen") {}

void PresenceReader::Take(const Handler& handler) {
    TakenSamples<Sample> samples(reader_.Get());
    while (samples.Next()) {
        // Not the instance's state: any writer of it may change that.
        handler(FromSample(samples.Sample()), samples.Info().valid_data, samples.Info().publication_handle);
    }
}

}  // namespace ZYNE::Linux
