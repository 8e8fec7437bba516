// What devices of an account may do on the network, as the documents of DDS Security.
//
// All that a device publishes lies in partitions that tell whose it is: "of.UDID" is what the device tells everybody,
// "to.UDID.…" what is meant for it alone. The permissions bind those names to the device's certificate.
#pragma once

#include <string>

#include "linux/account/certificate.h"

namespace ZYNE::Linux {

// Where the device `udid` publishes what everybody may read.
std::string PartitionOf(const std::string& udid);
// Where the device `udid` reads, in the run of it that `networkId` names, what others write to it.
std::string PartitionTo(const std::string& udid, const std::string& networkId);
// The partitions of all devices, as a reader's wildcard.
std::string PartitionOfAll();

// Nothing unauthenticated, everything encrypted. The same for every device of every account.
std::string GovernanceXml();

// A device may publish in its own partition and to any other device, and read what all publish and what is meant for
// it.
std::string PermissionsXml(const std::string& udid, const Validity& validity);

}  // namespace ZYNE::Linux
