// Owners of what the DDS library counts by handle.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include <dds/dds.h>

namespace ZYNE::Linux {

// Throws std::runtime_error, `what` and the library's reason, when `result` is an error.
dds_entity_t MustDds(dds_return_t result, const std::string& what);

// An entity with all that was made inside it.
class DdsEntity {
public:
    DdsEntity() = default;
    // Takes over what `result` names. Throws like MustDds.
    DdsEntity(dds_entity_t result, const std::string& what) : entity_(MustDds(result, what)) {}
    DdsEntity(DdsEntity&& other) noexcept : entity_(std::exchange(other.entity_, 0)) {}
    DdsEntity& operator=(DdsEntity&& other) noexcept {
        std::swap(entity_, other.entity_);
        return *this;
    }
    ~DdsEntity() { Delete(); }

    dds_entity_t Get() const { return entity_; }
    void Delete();

private:
    dds_entity_t entity_ = 0;
};

struct QosDeleter {
    void operator()(dds_qos_t* qos) const { dds_delete_qos(qos); }
};
using QosHandle = std::unique_ptr<dds_qos_t, QosDeleter>;

QosHandle NewQos();

}  // namespace ZYNE::Linux
