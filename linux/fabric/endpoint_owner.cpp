#include "linux/fabric/endpoint_owner.h"

#include <algorithm>
#include <array>
#include <memory>

namespace ZYNE::Linux {
namespace {

// More than one reader of a device's own channel is not expected.
constexpr size_t MOST_READERS = 8;

struct EndpointDeleter {
    void operator()(dds_builtintopic_endpoint_t* endpoint) const { dds_builtintopic_free_endpoint(endpoint); }
};
using Endpoint = std::unique_ptr<dds_builtintopic_endpoint_t, EndpointDeleter>;

}  // namespace

std::optional<dds_guid_t> OwnerOfWriter(dds_entity_t reader, dds_instance_handle_t writer) {
    const Endpoint endpoint(dds_get_matched_publication_data(reader, writer));
    return endpoint ? std::optional(endpoint->participant_key) : std::nullopt;
}

bool IsReadBy(dds_entity_t writer, const dds_guid_t& participant) {
    std::array<dds_instance_handle_t, MOST_READERS> readers{};
    const dds_return_t count = dds_get_matched_subscriptions(writer, readers.data(), readers.size());
    const auto end = readers.begin() + std::clamp(count, 0, static_cast<dds_return_t>(readers.size()));
    return std::any_of(readers.begin(), end, [&](dds_instance_handle_t reader) {
        const Endpoint endpoint(dds_get_matched_subscription_data(writer, reader));
        return endpoint && IsSame(endpoint->participant_key, participant);
    });
}

bool IsSame(const dds_guid_t& a, const dds_guid_t& b) {
    return std::ranges::equal(a.v, b.v);
}

}  // namespace ZYNE::Linux
