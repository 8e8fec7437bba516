// How announcements and control messages travel.
#pragma once

#include <string>

#include "linux/fabric/dds_entity.h"

namespace ZYNE::Linux {

// Reliable; whoever comes later still gets each device's last one.
QosHandle PresenceWriterQos(const std::string& partition);
QosHandle PresenceReaderQos(const std::string& partition);

// Reliable, none is left out. A writer blocks for at most four seconds when the reader does not take.
QosHandle ControlQos(const std::string& partition);

}  // namespace ZYNE::Linux
