// The shared data of a device, for its programs: rows that outlast a program, and notices between programs.
//
//     auto notes = ZYNE::Client::OpenDataShare("datashare:///org.example.desk/notes");
//     if (notes == nullptr) {
//         return 1;
//     }
//     ZYNE::DataShareValuesBucket row;
//     row.Put("KEYWORD", "first");
//     row.Put("VALUE", "buy milk");
//     notes->Insert(ZYNE::Uri("datashare:///org.example.desk/notes"), row);
//
// platform/datashare/data_share_helper.h says what a helper does, docs/data_share.md what rows, URIs and codes mean on
// this port. Observers are called on threads of the process and may use helpers.
#pragma once

#include <memory>
#include <string>

#include "client/device_registry.h"
#include "platform/datashare/data_share_helper.h"

namespace ZYNE::Client {

// A helper for `uri` on the device whose bus started this process; DBUS_STARTER_ADDRESS names it. Null on failure, with
// a line on standard error: there is no such bus, or nobody on the device provides `uri`. Any thread. Waits for the
// device, for two seconds at most.
std::shared_ptr<DataShareHelper> OpenDataShare(const std::string& uri);

// The same on a device that runs on this machine.
std::shared_ptr<DataShareHelper> OpenDataShare(const DeviceEntry& device, const std::string& uri);

}  // namespace ZYNE::Client
