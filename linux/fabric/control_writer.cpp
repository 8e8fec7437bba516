#include "linux/fabric/control_writer.h"

#include "linux/fabric/control_message.h"
#include "linux/fabric/fabric_log.h"
#include "linux/fabric/qos.h"
#include "linux/fabric/wire.h"
#include "linux/fabric/wire_text.h"

namespace ZYNE::Linux {
namespace {

using Sample = ZYNE_Linux_Wire_ControlMessage;

constexpr std::chrono::seconds STALLED_FOR{1};

// The sample borrows `payload`.
void SetPayload(Sample& sample, std::string_view payload) {
    sample.payload._length = static_cast<uint32_t>(payload.size());
    sample.payload._maximum = sample.payload._length;
    // The library takes no pointer to constants, but does not change what it sends.
    sample.payload._buffer = reinterpret_cast<uint8_t*>(const_cast<char*>(payload.data()));
}

}  // namespace

ControlWriter::ControlWriter(const FabricDomain& domain, const std::string& partition)
    : topic_(domain.MakeControlTopic(partition)),
      writer_(dds_create_writer(domain.Participant(), topic_.Get(), ControlQos(partition).get(), nullptr),
          "no control channel") {
    MustDds(dds_set_status_mask(writer_.Get(), DDS_PUBLICATION_MATCHED_STATUS), "no control channel");
}

FabricCode ControlWriter::SendRequest(int32_t session, const std::string& callerString, const std::string& sessionName,
    const CollaborationFwk::ServiceInfo& service) const {
    Sample sample{};
    sample.kind = static_cast<uint8_t>(ControlKind::REQUEST);
    sample.session = session;
    sample.serviceType = service.serviceType;
    sample.serviceVersion = service.serviceVersion;
    sample.serviceFlags = service.serviceFlags;
    sample.businessType = service.businessType;
    sample.priority = service.priority;
    if (service.commandProp.size() > MOST_PAYLOAD_BYTES ||
        !CopyText(service.collaborationIdStr, sample.collaborationId) || !CopyText(callerString, sample.callerString) ||
        !CopyText(sessionName, sample.sessionName)) {
        return FABRIC_TOO_LARGE;
    }
    SetPayload(sample, service.commandProp);
    return Write(&sample);
}

FabricCode ControlWriter::SendMessage(int32_t session, uint32_t type, std::string_view payload) const {
    if (payload.size() > MOST_PAYLOAD_BYTES) {
        return FABRIC_TOO_LARGE;
    }
    Sample sample{};
    sample.kind = static_cast<uint8_t>(ControlKind::MESSAGE);
    sample.session = session;
    sample.type = type;
    SetPayload(sample, payload);
    return Write(&sample);
}

FabricCode ControlWriter::Write(const void* sample) const {
    const std::scoped_lock lock(mutex_);
    if (Clock::now() < stalledUntil_) {
        return FABRIC_PEER_STALLED;
    }
    const dds_return_t result = dds_write(writer_.Get(), sample);
    switch (result) {
    case DDS_RETCODE_OK:
        return FABRIC_OK;
    case DDS_RETCODE_TIMEOUT:
        stalledUntil_ = Clock::now() + STALLED_FOR;
        return FABRIC_PEER_STALLED;
    case DDS_RETCODE_BAD_PARAMETER:
    case DDS_RETCODE_ALREADY_DELETED:
        return FABRIC_PEER_OFFLINE;
    default:
        FabricPrint(LogLevel::ERROR, "a message is not sent: %{public}s", dds_strretcode(result));
        return FABRIC_TRANSPORT_FAILED;
    }
}

}  // namespace ZYNE::Linux
