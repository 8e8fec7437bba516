#include "linux/fabric/dds_entity.h"

#include <new>
#include <stdexcept>

namespace ZYNE::Linux {

dds_entity_t MustDds(dds_return_t result, const std::string& what) {
    if (result < 0) {
        throw std::runtime_error(what + ": " + dds_strretcode(result));
    }
    return result;
}

void DdsEntity::Delete() {
    if (entity_ > 0) {
        dds_delete(std::exchange(entity_, 0));
    }
}

QosHandle NewQos() {
    QosHandle qos(dds_create_qos());
    if (!qos) {
        throw std::bad_alloc();
    }
    return qos;
}

}  // namespace ZYNE::Linux
