// What the device's services and extensions leave behind: children that have detached themselves.
#pragma once

#include <sys/types.h>

#include <cstdint>

namespace ZYNE::Linux::Orphans {

// From now on processes whose parents have ended become children of this process, so that EndAll finds and ends them.
// Only for a process that is a device and nothing else. Without it the two below do nothing. Any thread.
void Adopt();

// When a process was started, in ticks of the system; 0 when it is gone.
uint64_t StartOf(pid_t pid);

// Waits for each child that ends, except `spared`, which its owner waits for. A thread of its own does that; it ends
// with that child or with the last one. Throws std::system_error when no thread can be made.
void ForgetEnded(pid_t spared);

// Ends every descendant of this process that was started at `since` or later, and waits until it has ended: each is
// asked first and killed soon after. Any thread.
void EndAll(uint64_t since);

}  // namespace ZYNE::Linux::Orphans
