// What makes a DDS participant prove who it is, and accept nobody who does not.
#pragma once

#include <dds/dds.h>

#include "linux/account/credentials.h"

namespace ZYNE::Linux {

void SetSecurityProperties(dds_qos_t* participant, const Credentials& credentials);

}  // namespace ZYNE::Linux
