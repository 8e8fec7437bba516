#include "linux/network/control/control_message.h"

#include "linux/network/control/control.pb.h"

namespace ZYNE::Linux {
namespace {

constexpr size_t MAX_ID_BYTES = 512;
constexpr size_t MAX_CALLER_BYTES = 512;
constexpr size_t MAX_SESSION_NAME_BYTES = 64;

bool IsText(const std::string& text, size_t most) {
    return text.size() <= most && text.find('\0') == std::string::npos;
}

bool IsWithinBounds(const ControlMessage& message) {
    if (message.session <= 0) {
        return false;
    }
    switch (message.kind) {
    case ControlKind::REQUEST:
        return IsText(message.service.collaborationIdStr, MAX_ID_BYTES) &&
            IsText(message.callerString, MAX_CALLER_BYTES) && IsText(message.sessionName, MAX_SESSION_NAME_BYTES) &&
            message.service.commandProp.size() <= MAX_REQUEST_BYTES;
    case ControlKind::ANSWER:
        return message.payload.size() <= MAX_ANSWER_BYTES;
    case ControlKind::BUSY:
        return true;
    }
    return false;
}

void Write(const ControlMessage& message, Wire::Request& wire) {
    const CollaborationFwk::ServiceInfo& service = message.service;
    wire.set_session(static_cast<uint32_t>(message.session));
    wire.set_service_type(service.serviceType);
    wire.set_service_version(service.serviceVersion);
    wire.set_service_flags(service.serviceFlags);
    wire.set_business_type(service.businessType);
    wire.set_priority(service.priority);
    wire.set_collaboration_id(service.collaborationIdStr);
    wire.set_caller(message.callerString);
    wire.set_session_name(message.sessionName);
    wire.set_payload(service.commandProp);
}

void Read(Wire::Request& wire, ControlMessage& message) {
    CollaborationFwk::ServiceInfo& service = message.service;
    message.kind = ControlKind::REQUEST;
    message.session = static_cast<int32_t>(wire.session());
    service.serviceType = wire.service_type();
    service.serviceVersion = wire.service_version();
    service.serviceFlags = wire.service_flags();
    service.businessType = wire.business_type();
    service.priority = wire.priority();
    service.collaborationIdStr = std::move(*wire.mutable_collaboration_id());
    message.callerString = std::move(*wire.mutable_caller());
    message.sessionName = std::move(*wire.mutable_session_name());
    service.commandProp = std::move(*wire.mutable_payload());
}

void Read(Wire::Answer& wire, ControlMessage& message) {
    message.kind = ControlKind::ANSWER;
    message.session = static_cast<int32_t>(wire.session());
    message.type = wire.type();
    message.payload = std::move(*wire.mutable_payload());
}

}  // namespace

std::optional<std::string> WriteControlMessage(const ControlMessage& message) {
    if (!IsWithinBounds(message)) {
        return std::nullopt;
    }
    Wire::ControlMessage wire;
    const auto session = static_cast<uint32_t>(message.session);
    switch (message.kind) {
    case ControlKind::REQUEST:
        Write(message, *wire.mutable_request());
        break;
    case ControlKind::ANSWER:
        wire.mutable_answer()->set_session(session);
        wire.mutable_answer()->set_type(message.type);
        wire.mutable_answer()->set_payload(message.payload);
        break;
    case ControlKind::BUSY:
        wire.mutable_busy()->set_session(session);
        break;
    }
    return wire.SerializeAsString();
}

std::optional<ControlMessage> ReadControlMessage(std::string_view bytes) {
    Wire::ControlMessage wire;
    if (!wire.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()))) {
        return std::nullopt;
    }
    ControlMessage message;
    switch (wire.message_case()) {
    case Wire::ControlMessage::kRequest:
        Read(*wire.mutable_request(), message);
        break;
    case Wire::ControlMessage::kAnswer:
        Read(*wire.mutable_answer(), message);
        break;
    case Wire::ControlMessage::kBusy:
        message.kind = ControlKind::BUSY;
        message.session = static_cast<int32_t>(wire.busy().session());
        break;
    case Wire::ControlMessage::MESSAGE_NOT_SET:
        return std::nullopt;
    }
    return IsWithinBounds(message) ? std::optional(std::move(message)) : std::nullopt;
}

}  // namespace ZYNE::Linux
