// How announcements, control messages and profiles travel.
#pragma once

#include <string>

#include "linux/fabric/dds_entity.h"

namespace ZYNE::Linux {

// Reliable; whoever comes later still gets each device's last one.
QosHandle PresenceWriterQos(const std::string& partition);
QosHandle PresenceReaderQos(const std::string& partition);

// Reliable, none is left out. A writer blocks for at most four seconds when the reader does not take.
QosHandle ControlQos(const std::string& partition);

// Reliable; whoever comes later still gets each profile as it is then. A writer blocks for at most a tenth of a second,
// and has not sent when it had to block longer.
QosHandle ProfileWriterQos(const std::string& partition);
QosHandle ProfileReaderQos(const std::string& partition);

}  // namespace ZYNE::Linux
