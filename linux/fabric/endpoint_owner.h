// Tells whose the other end of a channel is.
#pragma once

#include <optional>

#include <dds/dds.h>

namespace ZYNE::Linux {

// The participant of `writer`, which `reader` reads. In account mode it has proved that it is of this account. Nothing
// when the writer is gone.
std::optional<dds_guid_t> OwnerOfWriter(dds_entity_t reader, dds_instance_handle_t writer);

// Whether `participant` reads what `writer` writes.
bool IsReadBy(dds_entity_t writer, const dds_guid_t& participant);

bool IsSame(const dds_guid_t& a, const dds_guid_t& b);

}  // namespace ZYNE::Linux
