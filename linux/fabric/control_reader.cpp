#include "linux/fabric/control_reader.h"

#include <utility>

#include "linux/fabric/endpoint_owner.h"
#include "linux/fabric/fabric_log.h"
#include "linux/fabric/qos.h"
#include "linux/fabric/taken_samples.h"
#include "linux/fabric/wire.h"

namespace ZYNE::Linux {
namespace {

using Sample = ZYNE_Linux_Wire_ControlMessage;

// More writers than there can be devices: whoever makes new ones all the time must not fill the memory.
constexpr size_t MOST_SENDERS = 4096;

ControlMessage FromSample(const Sample& sample) {
    ControlMessage message;
    message.kind = static_cast<ControlKind>(sample.kind);
    message.session = sample.session;
    message.type = sample.type;
    message.callerString = sample.callerString;
    message.sessionName = sample.sessionName;
    std::string payload(reinterpret_cast<const char*>(sample.payload._buffer), sample.payload._length);
    if (message.kind == ControlKind::REQUEST) {
        message.service = {sample.serviceType, sample.serviceVersion, sample.serviceFlags, sample.businessType,
            sample.priority, sample.collaborationId, std::move(payload)};
    } else {
        message.payload = std::move(payload);
    }
    return message;
}

}  // namespace

ControlReader::ControlReader(const FabricDomain& domain, const std::string& partition)
    : topic_(domain.MakeControlTopic(partition)),
      reader_(dds_create_reader(domain.Participant(), topic_.Get(), ControlQos(partition).get(), nullptr),
          "no control channel") {}

std::optional<dds_guid_t> ControlReader::SenderOf(dds_instance_handle_t writer) {
    const auto known = senders_.find(writer);
    if (known != senders_.end()) {
        return known->second;
    }
    const std::optional<dds_guid_t> owner = OwnerOfWriter(reader_.Get(), writer);
    if (owner) {
        if (senders_.size() >= MOST_SENDERS) {
            senders_.clear();
        }
        senders_.emplace(writer, *owner);
    }
    return owner;
}

void ControlReader::Take(const Handler& handler) {
    TakenSamples<Sample> samples(reader_.Get());
    while (samples.Next()) {
        if (!samples.Info().valid_data) {
            continue;
        }
        if (const auto sender = SenderOf(samples.Info().publication_handle)) {
            handler(*sender, FromSample(samples.Sample()));
        } else {
            FabricPrint(LogLevel::WARN, "a message is dropped: its sender has gone before it was read");
        }
    }
}

}  // namespace ZYNE::Linux
