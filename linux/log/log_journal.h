// The system's journal.
#pragma once

#include <string>
#include <string_view>

#include "linux/log/log_batch.h"

namespace ZYNE::Linux {

// Without the journal's socket its client library takes lines and drops them.
bool JournalRuns();

// One line of the device `device`, with level, domain and tag as fields of their own.
void SendToJournal(const std::string& device, const LogEntry& entry, std::string_view text);

}  // namespace ZYNE::Linux
